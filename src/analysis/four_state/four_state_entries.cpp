// The two lighter four-state entries: the midpoint fit, and the fit on the caller's baselines.

#include "analysis/entry_checks.h"
#include "analysis/four_state/four_state_seeds.h"
#include "analysis/light_entries.h"

namespace zolt {
namespace {

constexpr FourStateMask kMidpointFits[] = {
    fit4State_slopesHeld,           fit4State_baselinesHeld,       fit4State_weight1SlopesHeld,
    fit4State_weight1BaselinesHeld, fit4State_weight2SlopesHeld,   fit4State_weight2BaselinesHeld,
    fit4State_weightsSlopesHeld,    fit4State_weightsBaselinesHeld};

void midpointFourState(const Curve& curve, double temperature, ResultVector result) {
  if (lengthsUnusable(curve, kFewestMidpointPoints)) {
    return writeFailure(3, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (curve.points() < kFewestFourStateMidpointPoints) {
    return midpointThreeState(curve, temperature, result);
  }
  if (refuses(curve, temperature, 3, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeLightSetting(curve, temperature, workspace);
  packageMidpoint<3>(
      setting, midpointChain<3>(setting, kFourStateStartA, kEvenWeights, kMidpointFits), result);
}

// The start on the caller's baselines. For a denatured pair that is not given, slope and intercept
// stand in each other's place, and the two replacements of exact zeros put a signal where a
// midpoint belongs and a slope where an intercept does: all three are meant.
Parameters<3> userBaselinesStart(const Setting& setting, const BaselinePair& baselines) {
  using Order = ParameterOrder<3>;
  const Curve& curve = setting.curve;
  const Baseline native =
      isGiven(baselines.native) ? baselines.native : Baseline{curve.y[0], kFlatSlope};
  const Baseline denatured =
      isGiven(baselines.denatured) ? baselines.denatured : Baseline{kFlatSlope, curve.lastY()};
  auto start = startVector<3>(setting, kFourStateStartA, kEvenWeights, {native, denatured});
  if (start[Order::Cm(2)] == 0.0) {
    start[Order::Cm(2)] = curve.y[0];
  }
  if (start[Order::aN] == 0.0) {
    start[Order::aN] = kFlatSlope;
  }
  return start;
}

// The first tests of this entry answer in the two-state failure shape.
void userBaselinesFourState(const Curve& curve, const BaselinePair& baselines, double temperature,
                            ResultVector result) {
  if (lengthsUnusable(curve, kFewestPoints)) {
    return writeFailure(1, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (curve.points() < kFewestFourStatePoints) {
    return userBaselinesThreeState(curve, baselines, temperature, result);
  }
  if (refuses(curve, temperature, 1, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeLightSetting(curve, temperature, workspace);
  const auto fitted =
      fitCurve<3>(setting, fit4State_baselinesHeld, userBaselinesStart(setting, baselines));
  packageUserBaselines<3>(setting, settled<3>(setting, fitted), fourStateInternal, temperature,
                          result);
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_4state_chalf(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, double temperature,
                                   double* result) noexcept {
  zolt::midpointFourState(zolt::curveView(x, xSize, y, ySize), temperature,
                          zolt::resultView(result));
}

extern "C" void ZOLTA_4state_user_set_baselines(const double* x, const int32_t* xSize,
                                                const double* y, const int32_t* ySize,
                                                const double* baselines, double temperature,
                                                double* result) noexcept {
  zolt::userBaselinesFourState(zolt::curveView(x, xSize, y, ySize), zolt::userPairs(baselines),
                               temperature, zolt::resultView(result));
}
