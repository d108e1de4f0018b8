// The factorisation that decides pivots by sums of squares against the one that decides by norms:
// it either gives the same bits or says that it cannot tell, and it can tell nearly always.
#include "fit/pivoted_qr.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/generated_curves.h"
#include "support/values.h"

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

// A damped system: a Jacobian with the residuals behind it, the damping below.
struct System {
  int points, free, stride = zolt::rowStride(free + 1);
  std::vector<double> rows =
      std::vector<double>(static_cast<std::size_t>((points + free + zolt::kPaddingRows) * stride));

  double& at(int k, int j) { return rows[static_cast<std::size_t>(k * stride + j)]; }
  void fill(Random& random) {
    for (int k = 0; k < points; ++k) {
      for (int j = 0; j <= free; ++j) {
        at(k, j) = random.between(-1, 1);
      }
    }
  }
  // Column `to` becomes column `from` times `factor`.
  void copy(int from, int to, double factor) {
    for (int k = 0; k < points; ++k) {
      at(k, to) = factor * at(k, from);
    }
  }
  void setDamping(double lambda) {
    for (int j = 0; j < free; ++j) {
      double squares = 0;
      for (int k = 0; k < points; ++k) {
        squares += at(k, j) * at(k, j);
      }
      at(points + j, j) = std::sqrt(lambda * squares);
    }
  }
};

// The columns that the fast factorisation did; its rank, pivots and rows are compared on the way.
int factorBothWays(System system, const std::string& where) {
  const int m = system.points + system.free;
  const int n = system.free;
  std::vector<double> squares(zolt::kWidestRow);
  for (int j = 0; j < n; ++j) {
    for (int k = 0; k < m; ++k) {
      squares[static_cast<std::size_t>(j)] += system.at(k, j) * system.at(k, j);
    }
  }
  System exact = system, fast = system;
  std::vector<double> scratch(
      static_cast<std::size_t>(std::max(zolt::fastScratchSize(m), zolt::qrScratchSize(m, n))));
  std::vector<int> exactPivots(static_cast<std::size_t>(n)), pivots(exactPivots);
  const zolt::RowMatrix a{system.rows.data(), m, n, system.stride};
  const zolt::RowMatrix r{exact.rows.data(), m, n, system.stride};
  zolt::qrPivot(r, exactPivots.data(), scratch.data());
  const int done =
      zolt::factorBySquares(a, fast.rows.data(), squares.data(), pivots.data(), scratch.data());
  EXPECT_TRUE(done == 0 || done == n || zolt::qrRank(r, exactPivots.data(), m) <= done) << where;
  for (int i = 0; i < done; ++i) {
    EXPECT_EQ(exactPivots[static_cast<std::size_t>(i)], pivots[static_cast<std::size_t>(i)])
        << where << " step " << i;
    for (int j = i; j <= done; ++j) {
      const int column = j < done ? pivots[static_cast<std::size_t>(j)] : n;
      EXPECT_TRUE(sameBits(exact.at(i, column), fast.at(i, column)))
          << where << " R(" << i << ", " << j << ") "
          << "wanted " << digits(exact.at(i, column)) << " got " << digits(fast.at(i, column));
    }
  }
  return done;
}

TEST(FactorBySquares, GivesTheBitsOfTheExactRule) {
  Random random(7);
  int told = 0;
  constexpr int kSystems = 4000;
  for (int draw = 0; draw < kSystems; ++draw) {
    System system{1 + random.below(40), 1 + random.below(12)};
    system.fill(random);
    const int a = random.below(system.free), b = random.below(system.free);
    switch (draw % 5) {
      case 1:  // nearly dependent, so that sums must be renewed
        system.copy(a, b, 1);
        for (int k = 0; k < system.points; ++k) {
          system.at(k, b) += std::pow(10, -1 - random.below(6)) * random.between(-1, 1);
        }
        break;
      case 2:
        system.copy(a, b, 0);
        break;
      case 3:  // scales far apart, near the ends of the range too
        system.copy(a, b, std::pow(10, 20 * random.below(16) - 150));
        break;
      default:
        break;
    }
    system.setDamping(std::pow(10, 2 - random.below(18)));
    told += factorBothWays(system, "draw " + std::to_string(draw)) > 0;
  }
  EXPECT_GT(told, kSystems * 9 / 10);
}

// The bound is 4 epsilon (rows + 16) of both sums: well inside nothing is decided, well outside
// everything is, and each as the exact rule does.
TEST(FactorBySquares, TellsColumnsApartBeyondTheBound) {
  Random random(3);
  for (int points : {5, 30, 200}) {
    const double bound = 4 * kEpsilon * (points + 3 + 16);
    struct Row {
      const char* what;
      double apart;  // in bounds
      bool told;
    };
    for (const Row& row : {Row{"equal", 0, false}, Row{"within the bound", 0.5, false},
                           Row{"just within", 0.7, false}, Row{"just beyond", 1.5, true},
                           Row{"beyond", 4, true}, Row{"the second leads", -1.5, true}}) {
      System system{points, 3};
      system.fill(random);
      // The same elements the other way round, so that the sums differ by twice apart times bound
      // of one; the bound is of both.
      for (int k = 0; k < points; ++k) {
        system.at(k, 1) = (1 - row.apart * bound) * system.at(points - 1 - k, 0);
        system.at(k, 2) *= 0.01;
      }
      const int done = factorBothWays(system, row.what);
      EXPECT_EQ(done > 0, row.told) << row.what << ", " << points << " points";
    }
  }
}

// What is left of the second column is just above or below the part that can be trusted.
TEST(FactorBySquares, RenewsSumsOnBothSidesOfTheThreshold) {
  const double threshold = std::sqrt(std::sqrt(kEpsilon));
  for (double factor : {0.9, 1 - 1e-4, 1 - 1e-7, 1.0, 1 + 1e-7, 1 + 1e-4, 1.1}) {
    System system{12, 3};
    Random random(9);
    system.fill(random);
    for (int k = 0; k < system.points; ++k) {  // multiples of one vector, and a little besides
      system.at(k, 0) = 2;
      system.at(k, 1) = 1 + (k == 11 ? factor * threshold * std::sqrt(12.0) : 0);
      system.at(k, 2) = 0.1 * random.between(-1, 1);
    }
    factorBothWays(system, "factor " + digits(factor));
  }
}

// A column that vanishes ends the rank only beside a first one that is large beside its rounding.
TEST(FactorBySquares, LeavesVanishedColumnsBesideASmallOneToTheExactRule) {
  for (const auto& [first, told] : {std::pair(1e-60, true), {1e-85, false}}) {
    System system{12, 3};
    Random random(4);
    system.fill(random);
    for (int k = 0; k < system.points; ++k) {
      for (int column = 0; column < 3; ++column) {
        system.at(k, column) *= column == 0 ? first : 1e-150;
      }
    }
    EXPECT_EQ(factorBothWays(system, digits(first)) > 0, told) << first;
  }
}

TEST(FactorBySquares, LeavesWhatIsNotFiniteToTheExactRule) {
  const double inf = std::numeric_limits<double>::infinity();
  for (double value : {inf, -inf, std::nan(""), 1e200}) {
    for (int column = 0; column <= 3; ++column) {
      for (int row : {0, 7, 19}) {
        Random random(2);
        System system{20, 3};
        system.fill(random);
        system.setDamping(0.1);
        system.at(row, column) = value;
        const int done = factorBothWays(system, digits(value));
        EXPECT_TRUE(done == 0 || std::isfinite(value)) << value << " in column " << column;
      }
    }
  }
}

}  // namespace
