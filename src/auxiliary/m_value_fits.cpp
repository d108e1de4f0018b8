// Simple curves through m-values: a line, a parabola, and a line in the logarithm of x. Each gives
// the fitted values at the points, times a factor a point, and the curve itself on an even grid.
#include <algorithm>
#include <vector>

#include "auxiliary/polynomial_fit.h"
#include "auxiliary/strided_copy.h"
#include "elementary/logarithm.h"
#include "fit/linear_algebra.h"
#include "frame/array_records.h"
#include "frame/curve.h"
#include "frame/linear_grid.h"
#include "frame/scalar_kit.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

struct StraightLine {
  static auto through(Row x, Row y) {
    return [line = lineFit(x, y)](double at) { return line.intercept + line.slope * at; };
  }
};

struct Parabola {
  static auto through(Row x, Row y) {
    return [p = polyFit<2>(x, y)](double at) { return (p[2] + p[1] * at) + p[0] * (at * at); };
  }
};

// Beyond this ratio of the largest to the smallest concentration, the stand-in for 0 lies below
// the smallest one by that ratio; otherwise by this factor.
constexpr double kDecade = 10.0;

// A concentration of 0 has no logarithm. Its stand-in continues the series below the smallest
// value that is not 0.
double standInForZero(Row x) {
  const double top = arrayMaxSkipNaN(x);
  double low = top;
  for (double value : x) {
    if (value < low && value != 0.0) {
      low = value;
    }
  }
  return top / low > kDecade ? low / (top / low) : low / kDecade;
}

struct LogarithmicLine {
  static auto through(Row x, Row y) {
    const auto logarithmAt = [standIn = standInForZero(x)](double at) {
      return logarithm(at != 0.0 ? at : standIn);
    };
    std::vector<double> logs(x.size());
    std::transform(x.begin(), x.end(), logs.begin(), logarithmAt);
    return [line = lineFit(logs, y), logarithmAt](double at) {
      return line.intercept + line.slope * logarithmAt(at);
    };
  }
};

template <class Basis>
void fitMValues(const double* xData, const int32_t* xSize, const double* yData,
                const int32_t* ySize, const double* scaleData, const int32_t* scaleSize,
                int32_t nGrid, double* fitted, int32_t* fittedSize, emxArray_real_T* xGrid,
                emxArray_real_T* yGrid) {
  const Row x = rowView(xData, xSize);
  fittedSize[0] = 1;
  fittedSize[1] = static_cast<int32_t>(x.size());
  if (x.empty()) {
    zeroRow(xGrid, nGrid);
    zeroRow(yGrid, nGrid);
    return;
  }
  const std::vector<double> y = stridedCopy(yData, ySize, x.size());
  const std::vector<double> scale = stridedCopy(scaleData, scaleSize, x.size());
  const auto curve = Basis::through(x, y);
  for (std::size_t i = 0; i < x.size(); ++i) {
    fitted[i] = scale[i] * curve(x[i]);
  }
  const Row grid = linearGrid(arrayMinSkipNaN(x), arrayMaxSkipNaN(x), nGrid, xGrid);
  std::transform(grid.begin(), grid.end(), resizeRow(yGrid, nGrid).begin(), curve);
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_mfit1storder(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, const double* scale,
                                   const int32_t* scaleSize, int32_t nGrid, double* fitted,
                                   int32_t* fittedSize, emxArray_real_T* xGrid,
                                   emxArray_real_T* yGrid) noexcept {
  zolt::fitMValues<zolt::StraightLine>(x, xSize, y, ySize, scale, scaleSize, nGrid, fitted,
                                       fittedSize, xGrid, yGrid);
}

extern "C" void ZOLTA_mfit2ndorder(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, const double* scale,
                                   const int32_t* scaleSize, int32_t nGrid, double* fitted,
                                   int32_t* fittedSize, emxArray_real_T* xGrid,
                                   emxArray_real_T* yGrid) noexcept {
  zolt::fitMValues<zolt::Parabola>(x, xSize, y, ySize, scale, scaleSize, nGrid, fitted, fittedSize,
                                   xGrid, yGrid);
}

extern "C" void ZOLTA_mfitlog(const double* x, const int32_t* xSize, const double* y,
                              const int32_t* ySize, const double* scale, const int32_t* scaleSize,
                              int32_t nGrid, double* fitted, int32_t* fittedSize,
                              emxArray_real_T* xGrid, emxArray_real_T* yGrid) noexcept {
  zolt::fitMValues<zolt::LogarithmicLine>(x, xSize, y, ySize, scale, scaleSize, nGrid, fitted,
                                          fittedSize, xGrid, yGrid);
}
