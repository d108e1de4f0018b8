#include "curve_tools/outlier_removal.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "curve_tools/fitted_curves.h"
#include "frame/scalar_kit.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

// A point may lie this share of the signal's standard deviation away from the fit, which scales
// with the height of the transition and not with the noise.
constexpr double kTolerance = 0.15;

// 1 for a point to keep, 0 for an outlier.
void markOutliers(Row x, Row y, ConstResultVector result, std::span<std::int32_t> mask) {
  std::fill(mask.begin(), mask.end(), 1);
  if (result[ZOLTA_RT] == -1.0 || x.size() != y.size()) {
    return;
  }
  const double limit = kTolerance * populationStdDev(y);
  // Unlike the drawn curves, the model is evaluated without a look at the thermal energy.
  std::vector<double> signal(x.size());
  signalFromResult(result, x, signal);
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (absValue(signal[i] - y[i]) > limit) {
      mask[i] = 0;
    }
  }
}

}  // namespace

void ChemDenatOutlierRemovalArrays(Row x, Row y, ConstResultVector result,
                                   std::vector<double>& xKept, std::vector<double>& yKept) {
  std::vector<std::int32_t> mask(x.size());
  markOutliers(x, y, result, mask);
  const auto outliers = static_cast<double>(std::count(mask.begin(), mask.end(), 0));
  if (!(outliers > 0.0 && std::floor(static_cast<double>(x.size()) * 0.25) >= outliers)) {
    xKept.assign(x.begin(), x.end());
    yKept.assign(y.begin(), y.end());
    return;
  }
  xKept.clear();
  yKept.clear();
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (mask[i] == 1) {
      xKept.push_back(x[i]);
      yKept.push_back(y[i]);
    }
  }
}

}  // namespace zolt

extern "C" void ZOLTA_ChemDenatOutlierRemoval(const double* x, const int32_t* xSize,
                                              const double* y, const int32_t* ySize,
                                              const double* result, int32_t* mask,
                                              int32_t* maskSize) noexcept {
  using namespace zolt;
  const Row points = rowView(x, xSize);
  maskSize[0] = 1;
  maskSize[1] = static_cast<int32_t>(points.size());
  markOutliers(points, rowView(y, ySize), resultView(result), {mask, points.size()});
}
