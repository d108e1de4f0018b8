#include "frame/linear_grid.h"

#include "frame/array_records.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// 2^1023: above this magnitude the difference of two ends of opposite sign can overflow.
constexpr double kHalfRange = 8.988465674311579e307;

}  // namespace

void linearGrid(double a, double b, std::span<double> out) {
  const std::size_t n = out.size();
  if (n == 0) {
    return;
  }
  out[n - 1] = b;
  if (n == 1) {
    return;
  }
  out[0] = a;
  const auto intervals = static_cast<double>(n - 1);
  const bool wouldOverflow =
      (a < 0.0) != (b < 0.0) && (absValue(a) > kHalfRange || absValue(b) > kHalfRange);
  const double step = (b - a) / intervals;
  for (std::size_t k = 1; k + 1 < n; ++k) {
    const auto position = static_cast<double>(k);
    out[k] = wouldOverflow ? a + (b / intervals) * position - (a / intervals) * position
                           : a + position * step;
  }
}

std::span<double> linearGrid(double a, double b, std::int32_t n, emxArray_real_T* out) {
  const std::span<double> grid = resizeRow(out, n);
  linearGrid(a, b, grid);
  return grid;
}

}  // namespace zolt
