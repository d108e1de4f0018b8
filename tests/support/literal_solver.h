// The solver in its plain form, against which the library's fast one is held bit for bit.
//
// Nothing is left out here. The free parameters are the first elements of a square array filled up
// with 1.0, every element of which is an unknown: each trial factors a matrix of n + c * c rows and
// c * c columns, stored by columns, and every value of the model is made afresh from its equation.
#pragma once

#include <cstdint>
#include <vector>

namespace literal {

using Vector = std::vector<double>;

// The model is told by the length of its parameter vector: 7, 10 and 13 for one, two and three
// transitions, 3, 6 and 9 for as many peaks.
struct Fitted {
  Vector p;
  double firstValue;
  double sse;
  int iterations = 0;
  int trials = 0;  // steps tried, one or more an iteration
};
Fitted maskedFit(const std::vector<std::uint8_t>& mask, const Vector& x, const Vector& y,
                 const Vector& start);

// A matrix stored by columns.
struct Matrix {
  int rows;
  int columns;
  Vector values;

  Matrix(int m, int n, double value = 0.0)
      : rows(m),
        columns(n),
        values(static_cast<std::size_t>(m) * static_cast<std::size_t>(n), value) {}
  double& at(int i, int j) { return values[static_cast<std::size_t>(i + j * rows)]; }
  double at(int i, int j) const { return values[static_cast<std::size_t>(i + j * rows)]; }
};

// The basic least-squares solution by pivoted QR of a matrix with more rows than columns.
Vector solveLeastSquares(Matrix a, Vector b);

}  // namespace literal
