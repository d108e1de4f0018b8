#include "analysis/unfolding_statistics.h"

#include <iterator>

namespace zolt {
namespace {

// Made by script/make_t_quantiles.py.
constexpr double kTQuantiles[] = {
#include "analysis/t_quantiles.inc"
};
static_assert(std::size(kTQuantiles) == kLargestCurve);

double sumOfSquaresAboutMean(Row y) {
  double sum = 0.0;
  for (double value : y) {
    sum += value;
  }
  const double mean = sum / static_cast<double>(y.size());
  double sst = 0.0;
  for (double value : y) {
    sst += scalarPower(value - mean, 2.0);
  }
  return sst;
}

}  // namespace

Yardstick yardstickOf(Row y) {
  return {sumOfSquaresAboutMean(y), arrayMaxSkipNaN(y) - arrayMinSkipNaN(y)};
}

double rSquared(const Misfit& misfit, const Yardstick& yardstick) {
  if (misfit.firstValue == -1.0 || yardstick.sst == 0.0 || isNaNValue(misfit.sse) ||
      isNaNValue(yardstick.sst)) {
    return -1.0;
  }
  const double r = 1.0 - misfit.sse / yardstick.sst;
  return r < 0.0 ? -1.0 : r;
}

double rSquared(Row y, Row fitted) {
  if (fitted.empty()) {
    return -1.0;
  }
  Misfit misfit{fitted[0], 0.0};
  for (std::size_t i = 0; i < fitted.size(); ++i) {
    misfit.sse += scalarPower(y[i] - fitted[i], 2.0);
  }
  return rSquared(misfit, {sumOfSquaresAboutMean(y), 0.0});
}

double tQuantileTable(std::size_t degrees) { return kTQuantiles[degrees - 1]; }

double confidenceWidth(double Cm1, const Curve& curve, const Misfit& misfit) {
  if (Cm1 < 0.0 || curve.x.size() != curve.y.size() || misfit.firstValue <= -1.0) {
    return -1.0;
  }
  const std::size_t n = curve.x.size();
  return tQuantileTable(std::min<std::size_t>(n, kLargestCurve)) *
         std::sqrt(misfit.sse / (static_cast<double>(n) - 2.0));
}

}  // namespace zolt
