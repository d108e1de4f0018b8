// The dense kit at its edges, and the closed form of the norm.
#include "fit/linear_algebra.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "fit/scaled_norm.h"
#include "support/bits.h"
#include "support/generated_curves.h"
#include "support/literal_solver.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
using Vector = std::vector<double>;

zolt::Matrix matrix(int rows, int columns, const Vector& values) {
  zolt::Matrix m(rows, columns);
  m.values = values;
  return m;
}

TEST(SolveLeastSquares, Edges) {
  struct Row {
    const char* what;
    int rows, columns;
    Vector a, b, x;
  };
  for (const Row& row : {
           Row{"nothing", 0, 2, {}, {}, {0, 0}},
           {"a line through three points", 3, 2, {0, 1, 2, 1, 1, 1}, {1, 3, 5}, {2, 1}},
           {"a zero column gets 0", 3, 2, {0, 0, 0, 1, 2, 2}, {1, 2, 2}, {0, 1}},
           {"of equal columns the first is kept", 3, 2, {1, 2, 2, 1, 2, 2}, {2, 4, 4}, {2, 0}},
           {"square, rows exchanged", 2, 2, {0, 2, 1, 1}, {3, 5}, {1, 3}},
           {"square and singular", 2, 2, {1, 1, 1, 1}, {1, 2}, {-kInf, kInf}},
           {"more columns than rows", 1, 2, {1, 2}, {4}, {0, 2}},
       }) {
    const auto a = matrix(row.rows, row.columns, row.a);
    const Vector x = zolt::solveLeastSquares(a, matrix(row.rows, 1, row.b)).values;
    ASSERT_EQ(x.size(), row.x.size()) << row.what;
    for (std::size_t i = 0; i < x.size(); ++i) {
      EXPECT_TRUE(x[i] == row.x[i] || std::fabs(x[i] - row.x[i]) < 1e-14)
          << row.what << " " << i << " " << wantedGot(row.x[i], x[i]);
      EXPECT_TRUE(row.x[i] != 0.0 || x[i] == 0.0) << row.what << ": a dropped column is exactly 0";
    }
  }
  // A zero matrix has full rank by its tolerance of 0, and the solution is not finite.
  const Vector x = zolt::solveLeastSquares(matrix(3, 1, {0, 0, 0}), matrix(3, 1, {1, 1, 1})).values;
  EXPECT_FALSE(std::isfinite(x[0]));
}

// Any number of right sides, and sizes across the widths that the factorisation is built for.
TEST(SolveLeastSquares, EqualsThePlainFormToTheBit) {
  Random random(5);
  for (int n = 1; n <= 20; ++n) {
    for (int m : {n + 1, n + 2, 3 * n + 5}) {
      zolt::Matrix a(m, n), b(m, 2);
      for (double& value : a.values) {
        value = random.below(6) == 0 ? 0.0 : random.between(-1, 1);
      }
      if (n > 2) {  // two columns that are nearly one
        for (int i = 0; i < m; ++i) {
          a.at(i, 2) = a.at(i, 0) * (1 + 1e-15 * random.below(3));
        }
      }
      for (double& value : b.values) {
        value = random.between(-9, 9);
      }
      const zolt::Matrix x = zolt::solveLeastSquares(a, b);
      literal::Matrix plain(m, n);
      plain.values = a.values;
      for (int side = 0; side < 2; ++side) {
        const auto from = b.values.begin() + side * m;
        const Vector wanted = literal::solveLeastSquares(plain, Vector(from, from + m));
        for (int i = 0; i < n; ++i) {
          const double got = x.at(i, side);
          EXPECT_TRUE(sameBits(wanted[static_cast<std::size_t>(i)], got))
              << m << " by " << n << " " << wantedGot(wanted[static_cast<std::size_t>(i)], got);
        }
      }
    }
  }
}

TEST(SolveLeastSquares, SolvesSquareSystems) {
  Random random(3);
  for (int n = 2; n <= 6; ++n) {
    zolt::Matrix a(n, n);
    for (double& value : a.values) {
      value = random.between(-1, 1);
    }
    a.at(0, 0) = 0;  // so that rows must be exchanged
    const zolt::Matrix x = zolt::solveLeastSquares(a, a);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        EXPECT_NEAR(x.at(i, j), i == j ? 1.0 : 0.0, 1e-12) << n << " at " << i << ", " << j;
      }
    }
  }
}

TEST(LineFit, Lines) {
  struct Row {
    Vector x, y;
    double slope, intercept;
  };
  for (const Row& row : {Row{{0, 1}, {1, 3}, 2, 1},
                         {{1, 2, 4}, {5, 3, -1}, -2, 7},
                         {{0, 1, 2, 3}, {0, 2, 2, 4}, 1.2, 0.2}}) {
    const auto line = zolt::lineFit(row.x, row.y);
    EXPECT_NEAR(line.slope, row.slope, 1e-14);
    EXPECT_NEAR(line.intercept, row.intercept, 1e-14);
  }
  const Vector x{1, 2, 4}, y{5, 3, 0};
  const auto three = zolt::lineFit3(x.data(), y.data());
  EXPECT_TRUE(sameBits(three.slope, zolt::lineFit(x, y).slope));
  const auto steep = zolt::lineFit(Vector{2, 2, 2}, Vector{1, 2, 4});
  EXPECT_FALSE(std::fabs(steep.slope) < 1e10) << digits(steep.slope);
}

// The singular values of any square matrix, by rotations of its columns until all are orthogonal.
Vector jacobiSingularValues(std::vector<Vector> columns) {
  const std::size_t n = columns.size();
  const auto dot = [](const Vector& a, const Vector& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
      sum += a[i] * b[i];
    }
    return sum;
  };
  for (int sweep = 0; sweep < 60; ++sweep) {
    for (std::size_t p = 0; p < n; ++p) {
      for (std::size_t q = p + 1; q < n; ++q) {
        const double pp = dot(columns[p], columns[p]), qq = dot(columns[q], columns[q]);
        const double pq = dot(columns[p], columns[q]);
        if (std::fabs(pq) <= 1e-17 * std::sqrt(pp * qq)) {
          continue;
        }
        const double zeta = (qq - pp) / (2 * pq);
        const double t = (zeta < 0 ? -1 : 1) / (std::fabs(zeta) + std::hypot(1.0, zeta));
        const double cosine = 1 / std::hypot(1.0, t), sine = t * cosine;
        for (std::size_t i = 0; i < n; ++i) {
          const double a = columns[p][i], b = columns[q][i];
          columns[p][i] = cosine * a - sine * b;
          columns[q][i] = sine * a + cosine * b;
        }
      }
    }
  }
  Vector values;
  for (const Vector& column : columns) {
    values.push_back(zolt::scaledNorm(column.data(), static_cast<int>(n)));
  }
  std::sort(values.begin(), values.end(), std::greater<>());
  return values;
}

TEST(MatrixNorm, ClosedFormAgreesWithAGeneralMethod) {
  Random random(11);
  for (std::size_t c = 2; c <= 12; ++c) {
    for (double size : {1e-3, 1.0, 1e4, 1e9}) {
      for (int draw = 0; draw < 10; ++draw) {
        std::vector<Vector> columns(c, Vector(c, 1.0));
        for (double& value : columns[0]) {
          value = random.below(5) == 0 ? 0.0 : size * random.between(-1, 1);
        }
        const Vector wanted = jacobiSingularValues(columns);
        const auto [first, second] = zolt::singularValues(columns[0]);
        EXPECT_NEAR(first, wanted[0], 1e-14 * wanted[0]) << c << " " << wantedGot(wanted[0], first);
        EXPECT_NEAR(second, wanted[1], 1e-14 * wanted[0]) << c;
      }
    }
  }
}

TEST(MatrixNorm, Edges) {
  struct Row {
    Vector first;
    double norm;
  };
  for (const Row& row : {Row{{-4}, 4},
                         {{kNaN}, kNaN},
                         {{1, kNaN}, 0},
                         {{kNaN, kInf, 2}, 0},
                         {{1, 1}, 2},
                         {{1, 1, 1}, 3},
                         {{0, 0}, std::sqrt(2.0)},
                         {{3e200, 4e200}, 5e200},
                         {{0, 0, 1e300}, 1e300}}) {
    const double got = zolt::matrixNorm2(row.first);
    EXPECT_TRUE(std::isnan(row.norm) ? std::isnan(got)
                                     : std::fabs(got - row.norm) <= 1e-15 * row.norm)
        << row.first.size() << " elements " << wantedGot(row.norm, got);
  }
  EXPECT_FALSE(std::isfinite(zolt::matrixNorm2(Vector{1, kInf})));
}

}  // namespace
