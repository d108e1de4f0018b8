// Least-squares polynomials of low degree.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "fit/linear_algebra.h"

namespace zolt {

// Coefficients of the polynomial through (x, y), highest power first. The numerical rank is
// ignored: dependent powers give non-finite coefficients, and with too few points the last of the
// pivot order stay 0.0.
template <std::size_t Degree>
std::array<double, Degree + 1> polyFit(Row x, Row y) {
  // Each power stands before the next lower one, and is built from it.
  std::vector<double> powers((Degree + 1) * x.size(), 1.0);
  std::array<Row, Degree + 1> basis;
  basis[Degree] = Row(powers).last(x.size());
  for (std::size_t j = Degree; j-- > 0;) {
    const std::span<double> column = std::span(powers).subspan(j * x.size(), x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
      column[i] = x[i] * basis[j + 1][i];
    }
    basis[j] = column;
  }
  std::array<double, Degree + 1> coefficients{};
  fitColumns(basis, y, coefficients);
  return coefficients;
}

}  // namespace zolt
