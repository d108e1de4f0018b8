// The few places where tests reach behind the exports: masked fits, the dense solver and the norm
// of its array, as the library has them.
#pragma once

#include <algorithm>

#include "fit/linear_algebra.h"
#include "fit/masked_fit.h"
#include "literal_solver.h"

namespace library {

using literal::Mask;

template <std::size_t Count>
literal::Fitted fitOf(const Mask& mask, const Vector& x, const Vector& y, const Vector& start,
                      long (*counter)(), long& counted) {
  zolt::HoldMask<Count> held{};
  std::array<double, Count> p{};
  std::copy(mask.begin(), mask.end(), held.begin());
  std::copy(start.begin(), start.end(), p.begin());
  zolt::FitWorkspace workspace(static_cast<int>(x.size()));
  const long before = counter();
  const auto fitted = zolt::maskedFit(held, zolt::Curve{x, y}, p, workspace);
  counted = counter() - before;
  return {Vector(fitted.p.begin(), fitted.p.end()), fitted.misfit.firstValue, fitted.misfit.sse};
}

// The fit of the model that has as many parameters as the mask. `counted` tells by how much
// `counter` grew while the solver ran.
inline literal::Fitted maskedFit(
    const Mask& mask, const Vector& x, const Vector& y, const Vector& start,
    long (*counter)() = [] { return 0L; }, long* counted = nullptr) {
  using Fit = decltype(&fitOf<3>);
  static constexpr std::pair<std::size_t, Fit> kFits[] = {{3, &fitOf<3>},   {6, &fitOf<6>},
                                                          {9, &fitOf<9>},   {7, &fitOf<7>},
                                                          {10, &fitOf<10>}, {13, &fitOf<13>}};
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
