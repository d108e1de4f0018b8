#include "analysis/four_state/four_state_seeds.h"

namespace zolt {
namespace {

constexpr FitGroup kBaselinesFree{fit4State_all, fit4State_weight2Held, fit4State_weight1Held,
                                  fit4State_weightsHeld};
constexpr FitGroup kBaselinesHeld{fit4State_baselinesHeld, fit4State_weight2BaselinesHeld,
                                  fit4State_weight1BaselinesHeld, fit4State_weightsBaselinesHeld};
constexpr FitGroup kNativeHeld{fit4State_nativeHeld, fit4State_weight2NativeHeld,
                               fit4State_weight1NativeHeld, fit4State_weightsNativeHeld};
constexpr FitGroup kDenaturedHeld{fit4State_denaturedHeld, fit4State_weight2DenaturedHeld,
                                  fit4State_weight1DenaturedHeld, fit4State_weightsDenaturedHeld};

using enum Estimate;
constexpr auto& A = kFourStateStartA;
constexpr auto& E = kFourStateStartE;

bool inUnitRange(double weight) { return weight >= 0.0 && weight <= 1.0; }

Candidate<3> fitGroupMember(const FourStateMask& fit, const FourStateSeeder& group,
                            const Setting& setting, const BaselinePair& known,
                            const WeightPair& weights) {
  const Curve& curve = setting.curve;
  const auto start = startVector<3>(
      setting, group.dG, weights,
      seedBaselines(curve, setting.estimates, group.estimate, pairsRead(group.pairs, known)));
  return settled<3>(setting, fitCurve<3>(setting, fit, start));
}

}  // namespace

constexpr FitGroup kBaselinesHeldGroup = kBaselinesHeld;

constexpr std::array<FourStateSeeder, 4> kFourStateGeneral{{
    {A, ThreePoint, GivenPairs::None, kBaselinesFree},
    {A, ThreePoint, GivenPairs::None, kBaselinesHeld},
    {A, End, GivenPairs::None, kBaselinesHeld},
    {E, Window, GivenPairs::None, kBaselinesHeld},
}};
constexpr std::array<FourStateSeeder, 4> kFourStateNativeGiven{{
    {A, ThreePoint, GivenPairs::Native, kNativeHeld, &kBaselinesFree},
    {A, ThreePoint, GivenPairs::Native, kBaselinesHeld},
    {A, End, GivenPairs::Native, kBaselinesHeld},
    {E, Window, GivenPairs::Native, kBaselinesHeld},
}};
constexpr std::array<FourStateSeeder, 4> kFourStateDenaturedGiven{{
    {A, ThreePoint, GivenPairs::Denatured, kDenaturedHeld, &kBaselinesFree},
    {A, ThreePoint, GivenPairs::Denatured, kBaselinesHeld},
    {A, End, GivenPairs::Denatured, kBaselinesHeld},
    {E, Window, GivenPairs::Denatured, kBaselinesHeld},
}};
constexpr FourStateSeeder kFourStateBothGiven{A, End, GivenPairs::Both, kBaselinesHeld};

WeightPair generalWeights(const WeightPair& weights) {
  return weights[0] + weights[1] > 1.0 ? kEvenWeights : weights;
}

// The sum is tested on the weights as they came in, not on their replacements.
WeightPair givenBaselineWeights(const WeightPair& weights) {
  if (weights[0] + weights[1] > 1.0) {
    return kEvenWeights;
  }
  return {inUnitRange(weights[0]) ? weights[0] : kEvenWeights[0],
          inUnitRange(weights[1]) ? weights[1] : kEvenWeights[1]};
}

Candidate<3> runSeeder(const FourStateSeeder& group, std::size_t member, const Setting& setting,
                       const BaselinePair& known, const WeightPair& weights) {
  const BaselinePair given = pairsRead(group.pairs, known);
  const bool paired = isGiven(given.native) || isGiven(given.denatured);
  const FitGroup& fits = paired || group.unpairedFits == nullptr ? group.fits : *group.unpairedFits;
  return fitGroupMember(fits[member], group, setting, known, weights);
}

// With the denatured pair alone the native baseline is held, and with the native pair alone the
// denatured one: the crossing is meant.
Candidate<3> runDenaturedFreeSide(const Setting& setting, const BaselinePair& known,
                                  const WeightPair& weights) {
  const bool native = isGiven(known.native);
  const FitGroup& fits = isGiven(known.denatured) ? (native ? kBaselinesHeld : kNativeHeld)
                                                  : (native ? kDenaturedHeld : kBaselinesFree);
  return fitGroupMember(fits[0], kFourStateDenaturedGiven[0], setting, known, weights);
}

}  // namespace zolt
