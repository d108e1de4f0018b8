#include "fit/linear_algebra.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "fit/pivoted_qr.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// Elements up to this have squares, and sums of a few squares, in range.
constexpr double kSquaresOverflow = 1e150;

Matrix solveSquare(Matrix a, Matrix b) {
  const int n = a.rows;
  std::vector<int> jpvt;
  luPivot(a, jpvt);
  for (int c = 0; c < b.columns; ++c) {
    for (int i = 0; i < n; ++i) {
      std::swap(b.at(i, c), b.at(jpvt[static_cast<std::size_t>(i)], c));
    }
    for (int k = 0; k < n; ++k) {
      if (b.at(k, c) != 0.0) {
        for (int i = k + 1; i < n; ++i) {
          b.at(i, c) -= b.at(k, c) * a.at(i, k);
        }
      }
    }
    for (int k = n - 1; k >= 0; --k) {
      if (b.at(k, c) != 0.0) {
        b.at(k, c) /= a.at(k, k);
        for (int i = 0; i < k; ++i) {
          b.at(i, c) -= b.at(k, c) * a.at(i, k);
        }
      }
    }
  }
  return b;
}

// A factored matrix with its right sides behind its columns.
struct Factored {
  std::vector<double> storage;
  RowMatrix rows;
  std::vector<int> jpvt;

  Factored(int m, int n, int rightSides)
      : storage(static_cast<std::size_t>(m) * static_cast<std::size_t>(rowStride(n + rightSides))),
        rows{storage.data(), m, n, rowStride(n + rightSides)},
        jpvt(static_cast<std::size_t>(n)) {}

  void factor() {
    std::vector<double> scratch(static_cast<std::size_t>(qrScratchSize(rows.rows, rows.columns)));
    qrPivot(rows, jpvt.data(), scratch.data());
  }
};

}  // namespace

void luPivot(Matrix& a, std::vector<int>& jpvt) {
  const int n = a.rows;
  jpvt.resize(static_cast<std::size_t>(n));
  for (int j = 0; j < n; ++j) {
    int pivot = j;
    for (int i = j + 1; i < n; ++i) {
      if (std::fabs(a.at(i, j)) > std::fabs(a.at(pivot, j))) {
        pivot = i;
      }
    }
    jpvt[static_cast<std::size_t>(j)] = pivot;
    if (a.at(pivot, j) == 0.0) {
      continue;
    }
    for (int k = 0; pivot != j && k < n; ++k) {
      std::swap(a.at(j, k), a.at(pivot, k));
    }
    for (int i = j + 1; i < n; ++i) {
      a.at(i, j) /= a.at(j, j);
    }
    for (int k = j + 1; k < n; ++k) {
      for (int i = j + 1; i < n; ++i) {
        a.at(i, k) -= a.at(i, j) * a.at(j, k);
      }
    }
  }
}

Matrix solveLeastSquares(const Matrix& a, const Matrix& b) {
  if (a.empty() || b.empty()) {
    return Matrix(a.columns, b.columns);
  }
  if (a.rows == a.columns) {
    return solveSquare(a, b);
  }
  Factored system(a.rows, a.columns, b.columns);
  for (int i = 0; i < a.rows; ++i) {
    double* row = system.rows.row(i);
    for (int j = 0; j < a.columns; ++j) {
      row[j] = a.at(i, j);
    }
    for (int j = 0; j < b.columns; ++j) {
      row[a.columns + j] = b.at(i, j);
    }
  }
  system.factor();
  const int rank = qrRank(system.rows, system.jpvt.data(), std::max(a.rows, a.columns));
  Matrix x(a.columns, b.columns);
  for (int j = 0; j < b.columns; ++j) {
    backSubstitute(system.rows, system.jpvt.data(), rank, a.columns + j, &x.at(0, j));
  }
  return x;
}

void fitColumns(std::span<const Row> basis, Row y, std::span<double> coefficients) {
  const int m = static_cast<int>(y.size());
  const int n = static_cast<int>(basis.size());
  Factored system(m, n, 1);
  for (int i = 0; i < m; ++i) {
    double* row = system.rows.row(i);
    for (int j = 0; j < n; ++j) {
      row[j] = basis[static_cast<std::size_t>(j)][static_cast<std::size_t>(i)];
    }
    row[n] = y[static_cast<std::size_t>(i)];
  }
  system.factor();
  backSubstitute(system.rows, system.jpvt.data(), std::min(m, n), n, coefficients.data());
}

Line lineFit(Row x, Row y) {
  const std::vector<double> ones(x.size(), 1.0);
  const std::array<Row, 2> basis{x, ones};
  std::array<double, 2> coefficients{};
  fitColumns(basis, y, coefficients);
  return {coefficients[0], coefficients[1]};
}

Line lineFit3(const double* x, const double* y) { return lineFit(Row(x, 3), Row(y, 3)); }

double matrixNorm2(std::span<const double> first) {
  if (first.size() == 1) {
    return std::fabs(first[0]);
  }
  if (std::any_of(first.begin(), first.end(), isNaNValue)) {
    return storedNaN;
  }
  // In the basis of the normalised vector of ones and of the deviation from the mean, the array is
  // [p q; r 0], its equal columns being joined into one; the singular values of a 2 by 2 matrix
  // have a closed form.
  // A power of two keeps the squares of huge elements in range and changes no bits of others.
  const bool huge = std::any_of(first.begin(), first.end(),
                                [](double value) { return std::fabs(value) > kSquaresOverflow; });
  const double scale = huge ? 0x1p-600 : 1.0;
  const auto c = static_cast<double>(first.size());
  double sum = 0.0;
  for (double value : first) {
    sum += value * scale;
  }
  const double mean = sum / c;
  double squares = 0.0;
  for (double value : first) {
    const double deviation = value * scale - mean;
    squares += deviation * deviation;
  }
  const double p = std::sqrt(c) * mean;
  const double q = std::sqrt(c * (c - 1.0)) * scale;
  const double r = std::sqrt(squares);
  const double towards = scalarHypot(p, q + r);
  const double apart = scalarHypot(p, q - r);
  return 0.5 * (apart + towards) / scale;
}

}  // namespace zolt
