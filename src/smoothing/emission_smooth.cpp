// Smoothing of one emission row by a moving average.
#include <algorithm>

#include "frame/curve.h"
#include "frame/scalar_kit.h"
#include "smoothing/smoothing.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

// Points in the window for a width of 1, and the width whose window would be 2 points: below it
// there is nothing to smooth.
constexpr double kPointsPerWidth = 2.141787319021468;
constexpr double kSmallestWidth = 0.9337995337995338;

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_emission_smooth(const double* y, const int32_t* ySize, double w, double* out,
                                      int32_t* outSize) noexcept {
  using namespace zolt;
  const Row row = rowView(y, ySize);
  outSize[0] = 1;
  outSize[1] = static_cast<int32_t>(row.size());
  if (kSmallestWidth > w) {
    std::copy(row.begin(), row.end(), out);
    return;
  }
  double span = scalarRound(w * kPointsPerWidth);
  if (moduloTwo(span) == 0.0) {
    span += 1.0;
  }
  smoothMoving(row, span, {out, row.size()});
}
