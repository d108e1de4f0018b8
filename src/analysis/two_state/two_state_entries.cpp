// The two lighter two-state entries: the midpoint fit, and the fit on the caller's baselines.

#include "analysis/entry_checks.h"
#include "analysis/internal_forms.h"
#include "analysis/light_entries.h"
#include "analysis/two_state/two_state_seeds.h"

namespace zolt {
namespace {

constexpr TwoStateMask kMidpointFits[] = {fit2State_slopesHeld, fit2State_baselinesHeld};

Candidate<1> seedMidpointFit(const Setting& setting) {
  return midpointChain<1>(setting, {kOrdinaryStart}, {}, kMidpointFits);
}

}  // namespace

void midpointTwoState(const Curve& curve, double temperature, ResultVector result) {
  if (lengthsUnusable(curve, kFewestMidpointPoints)) {
    return writeFailure(1, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (refuses(curve, temperature, 1, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeLightSetting(curve, temperature, workspace);
  packageMidpoint<1>(setting, seedMidpointFit(setting), result);
}

void userBaselinesTwoState(const Curve& curve, const BaselinePair& baselines, double temperature,
                           ResultVector result) {
  if (lengthsUnusable(curve, kFewestPoints)) {
    return writeFailure(1, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (refuses(curve, temperature, 1, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeLightSetting(curve, temperature, workspace);
  packageUserBaselines<1>(setting, runSeeder(seedBothBaselines, setting, baselines),
                          twoStateInternal, temperature, result);
}

}  // namespace zolt

extern "C" void ZOLTA_2state_chalf(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, double temperature,
                                   double* result) noexcept {
  zolt::midpointTwoState(zolt::curveView(x, xSize, y, ySize), temperature,
                         zolt::resultView(result));
}

extern "C" void ZOLTA_2state_user_set_baselines(const double* x, const int32_t* xSize,
                                                const double* y, const int32_t* ySize,
                                                const double* baselines, double temperature,
                                                double* result) noexcept {
  zolt::userBaselinesTwoState(zolt::curveView(x, xSize, y, ySize), zolt::userPairs(baselines),
                              temperature, zolt::resultView(result));
}
