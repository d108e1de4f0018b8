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
Parameters<Transitions> midpointChain(
    const Setting& setting, const std::array<double, Transitions>& dG,
    const std::array<double, Transitions - 1>& weights,
    const HoldMask<ParameterOrder<Transitions>::count> (&fits)[Fits]) {
  const Curve& curve = setting.curve;
  // Both slopes scale with the last x; they are no slopes of the data.
  const double slope = curve.lastX() * kMidpointSlope;
  const auto start =
      startVector<Transitions>(setting, dG, weights, {{curve.y[0], slope}, {curve.lastY(), slope}});
  Parameters<Transitions> p = start;
  for (std::size_t k = 0; k < Fits; ++k) {
    p = maskedFit(fits[k], curve, start, setting.workspace);
    if (k + 1 == Fits || !plausibleStrict<Transitions>(p, curve.x)) {
      continue;
    }
    const double r = rSquaredOfParameters<Transitions>(curve, p, setting.yardstick);
    // An R-squared that is no number fails a single transition and passes several.
    if (Transitions == 1 ? r >= kMidpointRSquared : !(r < kMidpointRSquared)) {
      break;
    }
  }
  orderTransitions<Transitions>(p);
  return plausibleStrict<Transitions>(p, curve.x) ? p : failedCandidate<Transitions>();
}

// Packages the outcome of a midpoint fit with the code of its acceptance or rejection.
template <int Transitions>
void packageMidpoint(const Setting& setting, const Parameters<Transitions>& p,
                     ResultVector result) {
  const double r = rSquaredOfParameters<Transitions>(setting.curve, p, setting.yardstick);
  if (r < kMidpointRSquared) {
    return writeFailure(Transitions, kMidpointRejected, result);
  }
  package<Transitions>(setting.curve, p, kMidpointFit, result);
}

// Packages a fit on the caller's baselines when it describes the curve; otherwise the full analysis
// decides, which ignores them, and its vector stands if it describes the curve.
template <int Transitions>
void packageUserBaselines(const Setting& setting, const Parameters<Transitions>& p,
                          void (*fullAnalysis)(const Curve&, double, ResultVector),
                          double temperature, ResultVector result) {
  const auto describes = [&setting](const Parameters<Transitions>& candidate) {
    return rSquaredOfParameters<Transitions>(setting.curve, candidate, setting.yardstick) >=
           kUserBaselinesRSquared;
  };
  if (describes(p)) {
    return package<Transitions>(setting.curve, p, kBothBaselines, result);
  }
  fullAnalysis(setting.curve, temperature, result);
  if (!describes(parametersOf<Transitions>(result))) {
    writeFailure(Transitions, kNoAcceptableFit, result);
  }
}

}  // namespace zolt
