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

// K/(1 + K) is rounded before the weight multiplies it, unlike in the check of the ends (design.md:
// weighted fractions).
template <int Transitions>
void fractionOf(const Parameters<Transitions>& p, Row x, std::span<double> out) {
  using Order = ParameterOrder<Transitions>;
  const auto weights = weightsOf<Transitions>(p.data());
  for (std::size_t i = 0; i < x.size(); ++i) {
    double fraction = 0.0;
    for (int t = 0; t < Transitions; ++t) {
      const double K = equilibriumConstant(x[i], p[Order::dG(t)], p[Order::Cm(t)], p[Order::RT]);
      const double term = weights[static_cast<std::size_t>(t)] * (K / (1.0 + K));
      fraction = t == 0 ? term : fraction + term;
    }
    out[i] = fraction;
  }
}

// A vector without a fit has no positive thermal energy, and its curve is 0 everywhere.
void evaluate(Evaluator evaluator, ConstResultVector result, Row x, std::span<double> out) {
  if (result[ZOLTA_RT] > 0.0) {
    evaluator(result, x, out);
  } else {
    std::fill(out.begin(), out.end(), 0.0);
  }
}

struct Ends {
  double first, last;
};

// The range to draw, in the direction of x; without any x it shrinks to 0.
Ends endsOf(Row x) { return x.empty() ? Ends{0.0, 0.0} : Ends{x.front(), x.back()}; }

void drawCurve(Evaluator evaluator, Row x, ConstResultVector result, int32_t n,
               emxArray_real_T* xFit, emxArray_real_T* yFit) {
  const auto [first, last] = endsOf(x);
  const Row grid = linearGrid(first, last, n, xFit);
  evaluate(evaluator, result, grid, resizeRow(yFit, n));
}

}  // namespace

void signalFromResult(ConstResultVector result, Row x, std::span<double> out) {
  withTransitions(transitionsOf(result), [&](auto transitions) {
    unfoldingCurve<transitions>(parametersOf<transitions>(result), x, out);
  });
}

void fractionFromResult(ConstResultVector result, Row x, std::span<double> out) {
  withTransitions(transitionsOf(result), [&](auto transitions) {
    fractionOf<transitions>(parametersOf<transitions>(result), x, out);
  });
}

}  // namespace zolt

extern "C" void ZOLTA_ChemDenatFluorescenceFitCurve(const double* x, const int32_t* xSize,
                                                    const double* result, int32_t n,
                                                    emxArray_real_T* xFit,
                                                    emxArray_real_T* yFit) noexcept {
  using namespace zolt;
  drawCurve(signalFromResult, rowView(x, xSize), resultView(result), n, xFit, yFit);
}

extern "C" void ZOLTA_ChemDenatFDFitCurve(const double* x, const int32_t* xSize,
                                          const double* result, int32_t n, emxArray_real_T* xFit,
                                          emxArray_real_T* yFit) noexcept {
  using namespace zolt;
  drawCurve(fractionFromResult, rowView(x, xSize), resultView(result), n, xFit, yFit);
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
  evaluate(fractionFromResult, resultView(result), grid, fraction);
  std::copy_n(grid.begin(), n, kept.begin());
  for (std::size_t i = 0; i + 1 < points; ++i) {
    slopes[i] = (fraction[i] - fraction[i + 1]) / (grid[i] - grid[i + 1]);
  }
}
