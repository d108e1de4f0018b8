#include "analysis/unfolding_statistics.h"

namespace zolt {
namespace {

// Squares by the library's power, which takes a NaN for 0.
double sumOfSquaresAboutMean(Row y) {
  return sumAboutMean(y, [](double deviation) { return scalarPower(deviation, 2.0); });
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

}  // namespace zolt
