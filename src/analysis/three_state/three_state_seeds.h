// The starts of the three-state analysis: seeders of the whole curve, and the join of two halves.
#pragma once

#include <optional>

#include "analysis/candidates.h"

namespace zolt {

using ThreeStateMask = HoldMask<ParameterOrder<2>::count>;

// Free energies in cal/mol from which the fits start: A for baselines estimated from few points,
// E for lines over the ends.
inline constexpr std::array<double, 2> kThreeStateStartA{4000.0, 8000.0};
inline constexpr std::array<double, 2> kThreeStateStartE{10000.0, 10000.0};

// What a seeder does with a weight that it is given: nothing, hold it as it is, or hold it when it
// lies clear of 0 and 1 and else leave the weight free.
enum class WeightRule { Free, Held, Guarded };

// One seeder. The `unpaired` fits are those of a seeder whose fit depends on its pair being given.
struct ThreeStateSeeder {
  const std::array<double, 2>& dG;
  Estimate estimate;
  GivenPairs pairs;
  WeightRule weightRule;
  const ThreeStateMask& fit;
  const ThreeStateMask& weightFit;
  const ThreeStateMask* unpairedFit = nullptr;
  const ThreeStateMask* unpairedWeightFit = nullptr;
};

inline constexpr double kNoWeight = -1.0;

// Column B0: the fit on both known baselines, each else the end values.
extern const ThreeStateSeeder kBothGivenSeeder;

// The candidates of the families, by column. The join columns 4 to 6 of the general family are not
// made here.
extern const std::array<const ThreeStateSeeder*, 11> kThreeStateGeneral;
extern const std::array<const ThreeStateSeeder*, 8> kThreeStateNativeGiven;
extern const std::array<const ThreeStateSeeder*, 8> kThreeStateDenaturedGiven;
extern const std::array<const ThreeStateSeeder*, 2> kThreeStateBothGiven;

Candidate<2> runSeeder(const ThreeStateSeeder& seeder, const Setting& setting,
                       const BaselinePair& known = {}, double weight = kNoWeight);

// Where a curve is split into halves. Left part: points 1 to leftEnd. Right part: rightStart to the
// last point. They overlap at the split, and the two middles stand for the midpoints of parts whose
// fit is not usable. `hinted` tells a split between two midpoints from the one in the middle.
struct HalvesSplit {
  int leftEnd;
  int rightStart;
  int leftMiddle;
  int rightMiddle;
  bool hinted;

  bool operator==(const HalvesSplit&) const = default;
};

using MidpointPair = std::array<double, 2>;
HalvesSplit splitInHalves(const Curve& curve, const std::optional<MidpointPair>& midpoints);

// Fits each half of the curve as a two-state transition and joins them.
Candidate<2> halvesFit(const Setting& setting, const HalvesSplit& split);

}  // namespace zolt
