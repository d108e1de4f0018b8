// The two lighter three-state entries: the midpoint fit, and the fit on the caller's baselines.

#include "analysis/entry_checks.h"
#include "analysis/light_entries.h"
#include "analysis/three_state/three_state_seeds.h"

namespace zolt {
namespace {

constexpr ThreeStateMask kMidpointFits[] = {fit3State_slopesHeld, fit3State_baselinesHeld,
                                            fit3State_weightSlopesHeld,
                                            fit3State_weightBaselinesHeld};

Candidate<2> midpointChain3(const Setting& setting) {
  return midpointChain<2>(setting, kThreeStateStartA, {0.5}, kMidpointFits);
}

Candidate<2> givenBaselines3(const Setting& setting, const BaselinePair& baselines) {
  return runSeeder(kBothGivenSeeder, setting, baselines);
}

}  // namespace

void midpointThreeState(const Curve& curve, double temperature, ResultVector result) {
  if (lengthsUnusable(curve, kFewestMidpointPoints)) {
    return writeFailure(2, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (curve.points() < kFewestThreeStateMidpointPoints) {
    return midpointTwoState(curve, temperature, result);
  }
  if (refuses(curve, temperature, 2, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeLightSetting(curve, temperature, workspace);
  packageMidpoint<2>(setting, midpointChain3(setting), result);
}

// The first tests of this entry answer in the two-state failure shape.
void userBaselinesThreeState(const Curve& curve, const BaselinePair& baselines, double temperature,
                             ResultVector result) {
  if (lengthsUnusable(curve, kFewestPoints)) {
    return writeFailure(1, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (curve.points() < kFewestThreeStatePoints) {
    return userBaselinesTwoState(curve, baselines, temperature, result);
  }
  if (refuses(curve, temperature, 1, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeLightSetting(curve, temperature, workspace);
  packageUserBaselines<2>(setting, givenBaselines3(setting, baselines), threeStateInternal,
                          temperature, result);
}

}  // namespace zolt

extern "C" void ZOLTA_3state_chalf(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, double temperature,
                                   double* result) noexcept {
  zolt::midpointThreeState(zolt::curveView(x, xSize, y, ySize), temperature,
                           zolt::resultView(result));
}

extern "C" void ZOLTA_3state_user_set_baselines(const double* x, const int32_t* xSize,
                                                const double* y, const int32_t* ySize,
                                                const double* baselines, double temperature,
                                                double* result) noexcept {
  zolt::userBaselinesThreeState(zolt::curveView(x, xSize, y, ySize), zolt::userPairs(baselines),
                                temperature, zolt::resultView(result));
}
