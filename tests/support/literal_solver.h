// The solver in its plain form, against which the library's fast one is held bit for bit.
//
// Nothing is left out here. The free parameters are the first elements of a square array filled up
// with 1.0, every element of which is an unknown: each trial factors a matrix of n + c * c rows and
// c * c columns, stored by columns, and every value of the model is made afresh from its equation.
#pragma once

#include <functional>

#include "values.h"

namespace literal {

using Mask = std::vector<std::uint8_t>;  // 1 for a parameter that is held

// The greatest singular value of the square array whose first column is given and whose other
// elements are 1.0, by rotations of its columns until all are orthogonal.
double arrayNorm(const Vector& firstColumn);

// The model is told by the length of its parameter vector: 7, 10 and 13 for one, two and three
// transitions, 3, 6 and 9 for as many peaks.
struct Fitted {
  Vector p;
  double firstValue;
  double sse;
  int iterations = 0;
  int trials = 0;  // steps tried, one or more an iteration
};

// `normOfZero` is asked for the norm where a parameter of exactly 0 takes its increment from it:
// there alone the last bit of a norm comes into the result, and any method of working accuracy may
// give it.
Fitted maskedFit(const Mask& mask, const Vector& x, const Vector& y, const Vector& start,
                 const std::function<double(const Vector&)>& normOfZero = arrayNorm);

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
