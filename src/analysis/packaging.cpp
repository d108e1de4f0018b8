#include "analysis/packaging.h"

#include <iterator>

namespace zolt {
namespace {

// Made by script/make_t_quantiles.py.
constexpr double kTQuantiles[] = {
#include "analysis/t_quantiles.inc"
};
static_assert(std::size(kTQuantiles) == kLargestCurve);

}  // namespace

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
