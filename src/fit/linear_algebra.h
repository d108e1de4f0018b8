// Dense linear algebra on small matrices stored by columns, and straight lines.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "frame/curve.h"

namespace zolt {

// A matrix stored by columns: element (i, j) stands at values[i + j * rows].
struct Matrix {
  int rows = 0;
  int columns = 0;
  std::vector<double> values;

  Matrix(int m, int n)
      : rows(m), columns(n), values(static_cast<std::size_t>(m) * static_cast<std::size_t>(n)) {}
  double& at(int i, int j) { return values[static_cast<std::size_t>(i + j * rows)]; }
  double at(int i, int j) const { return values[static_cast<std::size_t>(i + j * rows)]; }
  bool empty() const { return values.empty(); }
};

// The x with A x = b in the least-squares sense, `A.columns` by `b.columns`: the basic solution by
// pivoted QR, or LU when A is square, which tests for no singularity.
Matrix solveLeastSquares(const Matrix& a, const Matrix& b);

// LU with partial pivoting in place; jpvt[i] is the row exchanged with row i. A pivot of 0 leaves
// its column as it is.
void luPivot(Matrix& a, std::vector<int>& jpvt);

// The least-squares coefficients of `basis` columns (each as long as y), the numerical rank being
// ignored: back-substitution runs over min(points, columns).
void fitColumns(std::span<const Row> basis, Row y, std::span<double> coefficients);

struct Line {
  double slope;
  double intercept;
};

// The straight line through all points. Equal x give huge or non-finite coefficients.
Line lineFit(Row x, Row y);

// The same for exactly three points.
Line lineFit3(const double* x, const double* y);

// The 2-norm of the square array whose first column is `first` and whose other elements are all 1.0
// (design.md: array norm with ones): 0.0 when it holds a NaN, the magnitude of a single element.
double matrixNorm2(std::span<const double> first);

}  // namespace zolt
