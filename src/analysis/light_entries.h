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
