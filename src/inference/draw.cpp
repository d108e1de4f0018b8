// ZOLTI_draw: the fitted curve, its baselines, fraction and confidence band at any concentration.
#include <algorithm>
#include <cmath>

#include "inference/distributions.h"
#include "inference/uncertainty.h"

namespace zolt::inference {
namespace {

// A fit at one concentration.
struct CurvePoint {
  double signal, native, denatured, fraction, derivative, freeEnergy;
  SmallVector<ZOLTI_PARAMETERS> slopes;  // of the signal, by the parameters of the covariance
};

CurvePoint pointAt(const ZOLTI_Fit& fit, double x) {
  CurvePoint point{};
  point.native = fit.baseline[0] + fit.baseline[1] * x;
  point.denatured = fit.baseline[2] + fit.baseline[3] * x;
  point.slopes.setZero(ZOLTI_PARAMETERS);
  const double height = point.denatured - point.native;
  std::array<double, kMostTransitions> F{};
  for (int t = 0; t < fit.transitions; ++t) {
    F[t] = 1.0 / (1.0 + std::exp(-fit.m[t] * (x - fit.Cm[t]) / fit.RT));
    const double steep = fit.weight[t] * F[t] * (1.0 - F[t]) / fit.RT;
    point.fraction += fit.weight[t] * F[t];
    point.derivative += fit.m[t] * steep;
    point.slopes[placeOfCm(t)] = -height * fit.m[t] * steep;
    point.slopes[placeOfM(t)] = height * (x - fit.Cm[t]) * steep;
  }
  const double last = fit.transitions == 3 ? F[2] : 0.0;
  if (fit.transitions > 1) {
    point.slopes[placeOfWeight(0)] = height * (F[0] - last);
    point.slopes[placeOfWeight(1)] = height * (F[1] - last);
  }
  point.slopes[0] = 1.0 - point.fraction;
  point.slopes[1] = x * (1.0 - point.fraction);
  point.slopes[2] = point.fraction;
  point.slopes[3] = x * point.fraction;
  point.signal = point.native * (1.0 - point.fraction) + point.denatured * point.fraction;
  point.freeEnergy = fit.m[0] * (fit.Cm[0] - x);
  return point;
}

}  // namespace
}  // namespace zolt::inference

extern "C" std::int32_t ZOLTI_draw(const ZOLTI_Fit* fit, const double* x, std::int32_t n,
                                   double level, double* out) noexcept {
  using namespace zolt::inference;
  if (fit == nullptr || (n > 0 && (x == nullptr || out == nullptr)) ||
      !(level > 0.0 && level < 1.0)) {
    return ZOLTI_BAD_ARGUMENT;
  }
  if (fit->status != ZOLTI_FITTED && fit->status != ZOLTI_NO_TRANSITION) {
    return fit->status;
  }
  if (fit->transitions < 1 || fit->transitions > kMostTransitions || !(fit->degrees > 0.0)) {
    return ZOLTI_BAD_ARGUMENT;
  }
  const auto count = static_cast<std::size_t>(std::max(n, 0));
  const double quantile =
      fit->sd_known != 0 ? normalQuantile(level) : studentQuantile(level, fit->degrees);
  const Eigen::Map<const Eigen::Matrix<double, ZOLTI_PARAMETERS, ZOLTI_PARAMETERS>> covariance(
      fit->covariance);
  const bool known = covariance.diagonal().maxCoeff() > 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    const CurvePoint point = pointAt(*fit, x[i]);
    const double variance = point.slopes.dot(covariance.lazyProduct(point.slopes));
    const double half = quantile * std::sqrt(std::max(variance, 0.0));
    const double row[] = {point.signal,     point.native,        point.denatured, point.fraction,
                          point.derivative, known ? half : -1.0, point.freeEnergy};
    for (std::size_t j = 0; j < std::size(row); ++j) {
      out[j * count + i] = row[j];
    }
  }
  return ZOLTI_FITTED;
}
