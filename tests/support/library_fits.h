// The few places where tests reach behind the exports: masked fits, the dense solver and the norm
// of its array, as the library has them.
#pragma once

#include <algorithm>

#include "fit/linear_algebra.h"
#include "fit/masked_fit.h"
#include "literal_solver.h"

namespace library {

using literal::Mask;

template <class Model>
literal::Fitted fitOf(const Mask& mask, const Vector& x, const Vector& y, const Vector& start,
                      long (*counter)(), long& counted) {
  zolt::HoldMask<Model::kParameters> held{};
  std::array<double, Model::kParameters> p{};
  std::copy(mask.begin(), mask.end(), held.begin());
  std::copy(start.begin(), start.end(), p.begin());
  zolt::FitWorkspace workspace(static_cast<int>(x.size()));
  const long before = counter();
  const auto fitted = zolt::maskedFit<Model>(held, zolt::Curve{x, y}, p, workspace);
  counted = counter() - before;
  return {Vector(fitted.p.begin(), fitted.p.end()), fitted.misfit.firstValue, fitted.misfit.sse};
}

// The fit of the model that has as many parameters as the mask. `counted` tells by how much
// `counter` grew while the solver ran.
inline literal::Fitted maskedFit(
    const Mask& mask, const Vector& x, const Vector& y, const Vector& start,
    long (*counter)() = [] { return 0L; }, long* counted = nullptr) {
  using namespace zolt;
  using Fit = decltype(&fitOf<GaussianModel<1>>);
  static constexpr std::pair<std::size_t, Fit> kFits[] = {
      {3, &fitOf<GaussianModel<1>>},   {6, &fitOf<GaussianModel<2>>},
      {9, &fitOf<GaussianModel<3>>},   {7, &fitOf<UnfoldingModel<1>>},
      {10, &fitOf<UnfoldingModel<2>>}, {13, &fitOf<UnfoldingModel<3>>}};
  const auto* fit = std::find_if(std::begin(kFits), std::end(kFits),
                                 [&](const auto& row) { return row.first == mask.size(); });
  long unasked = 0;
  return fit->second(mask, x, y, start, counter, counted ? *counted : unasked);
}

// The least-squares solution of a matrix stored by columns.
inline Vector solveLeastSquares(const literal::Matrix& a, const Vector& b) {
  zolt::Matrix left(a.rows, a.columns), right(static_cast<int>(b.size()), 1);
  left.values = a.values;
  right.values = b;
  return zolt::solveLeastSquares(left, right).values;
}

inline double arrayNorm(const Vector& firstColumn) { return zolt::matrixNorm2(firstColumn); }

}  // namespace library
