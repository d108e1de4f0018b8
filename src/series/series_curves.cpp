// What the trend of a series implies over the range of its labels: dG itself, and fractions that
// follow from dG at zero denaturant.
#include <algorithm>
#include <cstdint>

#include "elementary/exponential.h"
#include "elementary/logarithm.h"
#include "frame/array_records.h"
#include "frame/curve.h"
#include "frame/linear_grid.h"
#include "frame/result_vector.h"
#include "frame/scalar_kit.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

// The line through dG, and its value D0 at the first grid point, whatever label that is.
struct Trend {
  double slope, intercept, D0;

  double againstLogarithm(double label) const { return intercept + slope * logarithm(label); }
};

// Draws a curve, given as a function of the trend and a label, from the smallest to the largest
// label. Fewer than two labels, or no point, give a single point of 1.0.
template <class Value>
void drawSeries(const double* labelData, const int32_t* labelsSize, const double* line, int32_t n,
                emxArray_real_T* xOut, emxArray_real_T* yOut, Value value) {
  const Row labels = rowView(labelData, labelsSize);
  if (labels.size() < 2 || n < 1) {
    resizeRow(xOut, 1)[0] = 1.0;
    resizeRow(yOut, 1)[0] = 1.0;
    return;
  }
  const Row grid = linearGrid(arrayMinSkipNaN(labels), arrayMaxSkipNaN(labels), n, xOut);
  Trend trend{line[0], line[1], 0.0};
  trend.D0 = trend.againstLogarithm(grid[0]);
  std::transform(grid.begin(), grid.end(), resizeRow(yOut, n).begin(),
                 [&](double label) { return value(trend, label); });
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_dGtrend_trend(const double* labels, const int32_t* labelsSize,
                                    const double* trend, int32_t n, emxArray_real_T* xOut,
                                    emxArray_real_T* yOut) noexcept {
  using namespace zolt;
  drawSeries(labels, labelsSize, trend, n, xOut, yOut,
             [](const Trend& line, double label) { return line.againstLogarithm(label); });
}

extern "C" void ZOLTA_dGagg_trend(const double* labels, const int32_t* labelsSize,
                                  const double* trend, int32_t n, emxArray_real_T* xOut,
                                  emxArray_real_T* yOut) noexcept {
  using namespace zolt;
  drawSeries(labels, labelsSize, trend, n, xOut, yOut,
             [](const Trend& line, double label) { return line.intercept + line.slope * label; });
}

// The fraction denatured. A flat trend needs no logarithm, so it holds on any grid.
extern "C" void ZOLTA_dGtrend_fd(const double* labels, const int32_t* labelsSize,
                                 const double* trend, int32_t n, double temperature,
                                 emxArray_real_T* xOut, emxArray_real_T* yOut) noexcept {
  using namespace zolt;
  drawSeries(labels, labelsSize, trend, n, xOut, yOut,
             [RT = thermalEnergy(temperature)](const Trend& line, double label) {
               const double D = line.slope == 0.0 ? line.intercept : line.againstLogarithm(label);
               const double K = exponential(-D / RT);
               return K / (1.0 + K);
             });
}

// The share of a third population beside the native and the denatured one. Its weight
// A = exp(|D - D0|/RT) - 1 is the growth of the stability change since the first label; the native
// state has weight 1 under a rising trend, the denatured one under a falling trend.
extern "C" void ZOLTA_dGtrend_fragg(const double* labels, const int32_t* labelsSize,
                                    const double* trend, int32_t n, double temperature,
                                    emxArray_real_T* xOut, emxArray_real_T* yOut) noexcept {
  using namespace zolt;
  drawSeries(labels, labelsSize, trend, n, xOut, yOut,
             [RT = thermalEnergy(temperature)](const Trend& line, double label) {
               const double D = line.againstLogarithm(label);
               if (line.slope > 0.0) {
                 const double growth = exponential((D - line.D0) / RT);
                 return (growth - 1.0) / (exponential(-D / RT) + growth);
               }
               if (line.slope < 0.0) {
                 const double growth = exponential(-(D - line.D0) / RT);
                 return (growth - 1.0) / (exponential(D / RT) + growth);
               }
               return 0.0;
             });
}

// The same population against the denatured weight alone, which only a falling trend has.
extern "C" void ZOLTA_dGtrend_fraggfd(const double* labels, const int32_t* labelsSize,
                                      const double* trend, int32_t n, double temperature,
                                      emxArray_real_T* xOut, emxArray_real_T* yOut) noexcept {
  using namespace zolt;
  drawSeries(labels, labelsSize, trend, n, xOut, yOut,
             [RT = thermalEnergy(temperature)](const Trend& line, double label) {
               const double growth = exponential(-(line.againstLogarithm(label) - line.D0) / RT);
               return line.slope < 0.0 ? (growth - 1.0) / growth : 0.0;
             });
}

// Rescales a row so that `reference` becomes `value`.
extern "C" void ZOLTA_dGtrend_normalization(const double* y, const int32_t* ySize, double reference,
                                            double value, double* out, int32_t* outSize) noexcept {
  const zolt::Row row = zolt::rowView(y, ySize);
  const double factor = reference > 0.0 ? value / reference : 1.0;
  std::transform(row.begin(), row.end(), out, [factor](double v) { return v * factor; });
  outSize[0] = 1;
  outSize[1] = static_cast<int32_t>(row.size());
}
