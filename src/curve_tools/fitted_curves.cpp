// Fitted curves on an even grid over the caller's range of x.
#include "curve_tools/fitted_curves.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "frame/array_records.h"
#include "frame/linear_grid.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

using Evaluator = void (*)(ConstResultVector, Row, std::span<double>);

// One evaluator for each number of transitions.
struct Evaluators {
  Evaluator one, two, three;
};

constexpr Evaluators kSignal{twoStateCurveFromResult, threeStateCurveFromResult,
                             fourStateCurveFromResult};
constexpr Evaluators kFraction{fractionFromResult<1>, fractionFromResult<2>, fractionFromResult<3>};

// A vector without a fit has no positive thermal energy, and its curve is 0 everywhere.
void evaluate(const Evaluators& evaluators, ConstResultVector result, Row x,
              std::span<double> out) {
  if (!(result[ZOLTA_RT] > 0.0)) {
    std::fill(out.begin(), out.end(), 0.0);
    return;
  }
  const int transitions = transitionsOf(result);
  const Evaluator evaluator = transitions == 1   ? evaluators.one
                              : transitions == 2 ? evaluators.two
                                                 : evaluators.three;
  evaluator(result, x, out);
}

struct Ends {
  double first, last;
};

// The range to draw, in the direction of x; without any x it shrinks to 0.
Ends endsOf(Row x) { return x.empty() ? Ends{0.0, 0.0} : Ends{x.front(), x.back()}; }

void drawCurve(const Evaluators& evaluators, Row x, ConstResultVector result, int32_t n,
               emxArray_real_T* xFit, emxArray_real_T* yFit) {
  const auto [first, last] = endsOf(x);
  const Row grid = linearGrid(first, last, n, xFit);
  evaluate(evaluators, result, grid, resizeRow(yFit, n));
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_ChemDenatFluorescenceFitCurve(const double* x, const int32_t* xSize,
                                                    const double* result, int32_t n,
                                                    emxArray_real_T* xFit,
                                                    emxArray_real_T* yFit) noexcept {
  using namespace zolt;
  drawCurve(kSignal, rowView(x, xSize), resultView(result), n, xFit, yFit);
}

extern "C" void ZOLTA_ChemDenatFDFitCurve(const double* x, const int32_t* xSize,
                                          const double* result, int32_t n, emxArray_real_T* xFit,
                                          emxArray_real_T* yFit) noexcept {
  using namespace zolt;
  drawCurve(kFraction, rowView(x, xSize), resultView(result), n, xFit, yFit);
}

// Each slope stands at the left end of its interval, so the grid has one point more than wanted
// and its last one is dropped.
extern "C" void ZOLTA_ChemDenatFirstDerivativeFitCurve(const double* x, const int32_t* xSize,
                                                       const double* result, int32_t n,
                                                       emxArray_real_T* xFit,
                                                       emxArray_real_T* yFit) noexcept {
  using namespace zolt;
  const std::span<double> kept = resizeRow(xFit, n);
  const std::span<double> slopes = resizeRow(yFit, n);
  if (n <= 0) {
    return;
  }
  const auto points = static_cast<std::size_t>(n < std::numeric_limits<int32_t>::max() ? n + 1 : n);
  std::vector<double> grid(points);
  std::vector<double> fraction(points);
  const auto [first, last] = endsOf(rowView(x, xSize));
  linearGrid(first, last, grid);
  evaluate(kFraction, resultView(result), grid, fraction);
  std::copy_n(grid.begin(), n, kept.begin());
  for (std::size_t i = 0; i + 1 < points; ++i) {
    slopes[i] = (fraction[i] - fraction[i + 1]) / (grid[i] - grid[i + 1]);
  }
}
