// What the midpoint entries and the user-baseline entries of the three models share.
#pragma once

#include "analysis/candidates.h"
#include "analysis/internal_forms.h"

namespace zolt {

// R-squared from which a midpoint fit is accepted, and from which a fit on the caller's baselines,
// or the full analysis behind it, stands.
inline constexpr double kMidpointRSquared = 0.5;
inline constexpr double kUserBaselinesRSquared = 0.9;

// Both slopes of a midpoint fit start at this part of the last x.
inline constexpr double kMidpointSlope = 1e-5;

// The caller's four doubles: aN, bN, aU, bU.
inline BaselinePair userPairs(const double* baselines) {
  return {{baselines[0], baselines[1]}, {baselines[2], baselines[3]}};
}

// The smaller models' entries, to which the larger ones hand down short curves.
void midpointTwoState(const Curve& curve, double temperature, ResultVector result);
void midpointThreeState(const Curve& curve, double temperature, ResultVector result);
void userBaselinesTwoState(const Curve& curve, const BaselinePair& baselines, double temperature,
                           ResultVector result);
void userBaselinesThreeState(const Curve& curve, const BaselinePair& baselines, double temperature,
                             ResultVector result);

// Walks a chain of fits from one start that knows no more than the ends of the curve, and takes the
// first plausible outcome of sufficient R-squared; the last one is taken as it is.
template <int Transitions, std::size_t Fits>
Candidate<Transitions> midpointChain(
    const Setting& setting, const std::array<double, Transitions>& dG,
    const std::array<double, Transitions - 1>& weights,
    const HoldMask<ParameterOrder<Transitions>::count> (&fits)[Fits]) {
  const Curve& curve = setting.curve;
  // Both slopes scale with the last x; they are no slopes of the data.
  const double slope = curve.lastX() * kMidpointSlope;
  const auto start =
      startVector<Transitions>(setting, dG, weights, {{curve.y[0], slope}, {curve.lastY(), slope}});
  Candidate<Transitions> candidate{};
  for (std::size_t k = 0; k < Fits; ++k) {
    candidate = fitCurve<Transitions>(setting, fits[k], start);
    const double r = rSquaredOf<Transitions>(setting, candidate);
    // An R-squared that is no number fails a single transition and passes several.
    const bool describes = Transitions == 1 ? r >= kMidpointRSquared : !(r < kMidpointRSquared);
    if (describes && plausibleStrict<Transitions>(candidate.p, curve.x)) {
      break;
    }
  }
  const bool moved = orderTransitions<Transitions>(candidate.p);
  if (!plausibleStrict<Transitions>(candidate.p, curve.x)) {
    return failed<Transitions>(setting);
  }
  return moved ? candidateOf<Transitions>(curve, candidate.p) : candidate;
}

// Packages the outcome of a midpoint fit with the code of its acceptance or rejection.
template <int Transitions>
void packageMidpoint(const Setting& setting, const Candidate<Transitions>& candidate,
                     ResultVector result) {
  if (rSquaredOf<Transitions>(setting, candidate) < kMidpointRSquared) {
    return writeFailure(Transitions, ZOLTA_CODE_MIDPOINT_REJECTED, result);
  }
  packageCandidate<Transitions>(setting.curve, candidate, setting.yardstick,
                                ZOLTA_CODE_MIDPOINT_FIT, result);
}

// Packages a fit on the caller's baselines when it describes the curve; otherwise the full analysis
// decides, which ignores them, and its vector stands if it describes the curve.
template <int Transitions>
void packageUserBaselines(const Setting& setting, const Candidate<Transitions>& candidate,
                          void (*fullAnalysis)(const Curve&, double, ResultVector),
                          double temperature, ResultVector result) {
  const Curve& curve = setting.curve;
  if (rSquaredOf<Transitions>(setting, candidate) >= kUserBaselinesRSquared) {
    return packageCandidate<Transitions>(curve, candidate, setting.yardstick,
                                         ZOLTA_CODE_BOTH_BASELINES, result);
  }
  fullAnalysis(curve, temperature, result);
  const auto full = candidateOf<Transitions>(curve, parametersOf<Transitions>(result));
  if (!(rSquaredOf<Transitions>(setting, full) >= kUserBaselinesRSquared)) {
    writeFailure(Transitions, ZOLTA_CODE_NO_ACCEPTABLE_FIT, result);
  }
}

}  // namespace zolt
