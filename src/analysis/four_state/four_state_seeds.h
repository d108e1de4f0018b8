// The starts of the four-state analysis: seeders of the whole curve and the join of thirds, all in
// groups of four that share a seed and differ only in the weights they hold.
#pragma once

#include <optional>

#include "analysis/candidates.h"

namespace zolt {

using FourStateMask = HoldMask<ParameterOrder<3>::count>;

// Free energies in cal/mol from which the fits start: A for baselines estimated from few points,
// E for lines over the ends.
inline constexpr std::array<double, 3> kFourStateStartA{4000.0, 8000.0, 12000.0};
inline constexpr std::array<double, 3> kFourStateStartE{10000.0, 10000.0, 10000.0};

// The weights of the first two transitions.
using WeightPair = std::array<double, 2>;
inline constexpr WeightPair kEvenWeights{0.35, 0.3};

// The members of a group, by the weights they hold: none, the second, the first, both.
inline constexpr std::size_t kMembers = 4;
using FitGroup = std::array<FourStateMask, kMembers>;

// One group of seeders. The unpaired fits are those of a group whose fit depends on its pair being
// given.
struct FourStateSeeder {
  const std::array<double, 3>& dG;
  Estimate estimate;
  GivenPairs pairs;
  const FitGroup& fits;
  const FitGroup* unpairedFits = nullptr;
};

// The groups of the families, by column divided by four. The join groups of the general family are
// not made here.
extern const std::array<FourStateSeeder, 4> kFourStateGeneral;
extern const std::array<FourStateSeeder, 4> kFourStateNativeGiven;
extern const std::array<FourStateSeeder, 4> kFourStateDenaturedGiven;
extern const FourStateSeeder kFourStateBothGiven;

// The weights with which the general family, and the given-baseline families, start.
WeightPair generalWeights(const WeightPair& weights);
WeightPair givenBaselineWeights(const WeightPair& weights);

// The candidate of one member of a group.
Candidate<3> runSeeder(const FourStateSeeder& group, std::size_t member, const Setting& setting,
                       const BaselinePair& known, const WeightPair& weights);

// The first member of the first denatured-given group, which alone looks at both pairs.
Candidate<3> runDenaturedFreeSide(const Setting& setting, const BaselinePair& known,
                                  const WeightPair& weights);

// Where a curve is split into thirds. Left part: points 1 to leftEnd. Middle part: middleStart to
// middleEnd. Right part: rightStart to the last point. Neighbours overlap, and a point in each part
// stands for the midpoint of a part whose fit is not usable. `given` tells a split between given
// midpoints from the one at fixed parts of the curve.
struct ThirdsSplit {
  int leftEnd;
  int middleStart;
  int middleEnd;
  int rightStart;
  std::array<int, 3> middles;
  bool given;

  bool operator==(const ThirdsSplit&) const = default;
};

using MidpointTriple = std::array<double, 3>;
ThirdsSplit splitInThirds(const Curve& curve, const std::optional<MidpointTriple>& midpoints);

// Fits each third of the curve as a two-state transition and joins them, one candidate for each
// member.
std::array<Candidate<3>, kMembers> thirdsFit(const Setting& setting, const ThirdsSplit& split);

// The fits of the joined starts.
extern const FitGroup kBaselinesHeldGroup;

}  // namespace zolt
