// ZOLTI_fit: one curve with a known number of transitions.
#include "inference/fit_record.h"

extern "C" std::int32_t ZOLTI_fit(const ZOLTI_Curve* curve, std::int32_t transitions,
                                  const ZOLTI_Options* options, ZOLTI_Fit* fit, double* residual,
                                  double* leverage) noexcept {
  using namespace zolt::inference;
  if (fit == nullptr || curve == nullptr) {
    return ZOLTI_BAD_ARGUMENT;
  }
  Setup setup;
  int status = ZOLTI_BAD_ARGUMENT;
  if (transitions >= 1 && transitions <= kMostTransitions) {
    status = prepare(curve, options, setup);
  }
  if (status == ZOLTI_FITTED) {
    status = enoughFor(setup, transitions);
  }
  fillReadings(*curve, setup, nullptr, residual, leverage);
  if (status != ZOLTI_FITTED) {
    clear(*fit, status);
    fit->readings = setup.readings.n;
    fit->missing = setup.readings.missing;
    return status;
  }
  Shape single;
  if (transitions > 1) {
    single = leastSquares(*curve, setup, 1, Analysis::light, nullptr).shape;
  }
  const Solution solution =
      leastSquares(*curve, setup, transitions, Analysis::full, transitions > 1 ? &single : nullptr);
  if (!solution.found) {
    clear(*fit, ZOLTI_NOT_CONVERGED);
    return fit->status;
  }
  Uncertainty uncertainty;
  assess(setup, solution, uncertainty);
  status = fillFit(setup, solution, uncertainty, *fit);
  fillReadings(*curve, setup, &uncertainty, residual, leverage);
  return status;
}
