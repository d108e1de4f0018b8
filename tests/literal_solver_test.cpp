// The library's fits against the plain solver, bit for bit: every mask of the three unfolding
// models and the three sums of peaks, on ordinary and on hostile problems.
#include "support/literal_solver.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/generated_curves.h"
#include "support/library_fits.h"

namespace {

// A mask written as its digits, the first parameter on the left, with a 1 where one is held.
literal::Mask maskOf(const std::string& heldDigits) {
  literal::Mask mask;
  for (char digit : heldDigits) {
    mask.push_back(digit == '1');
  }
  return mask;
}

// The masks of all fits: of each model, what is held of the transitions (dG and Cm), of the weights
// and of the baselines (intercept and slope, native first) in all ways, and RT, which always is.
std::vector<literal::Mask> allMasks() {
  std::vector<literal::Mask> masks;
  for (const char* baselines : {"0000", "0101", "0011", "1100", "1111"}) {
    for (const char* midpoint : {"00", "01"}) {
      masks.push_back(maskOf(midpoint + std::string(baselines) + "1"));
    }
    for (const char* weights : {"0", "1"}) {
      masks.push_back(maskOf(std::string("0000") + weights + baselines + "1"));
    }
    for (const char* weights : {"00", "01", "10", "11"}) {
      masks.push_back(maskOf(std::string("000000") + weights + baselines + "1"));
    }
  }
  for (const char* peaks : {"000", "000000", "000000000"}) {
    masks.push_back(maskOf(peaks));
  }
  return masks;
}

struct Problem {
  Vector x, y, start;
};

// A curve and the parameters near it, for an unfolding model.
Problem unfoldingProblem(int transitions, const CurveRecipe& recipe, std::uint64_t seed) {
  CurveRecipe shape = recipe;
  shape.transitions = transitions;
  const GeneratedCurve curve = generateCurve(shape, seed);
  Problem problem{curve.x, curve.y, {}};
  for (std::size_t t = 0; t < curve.midpoints.size(); ++t) {
    problem.start.push_back(curve.energies[t]);
    problem.start.push_back(curve.midpoints[t]);
  }
  problem.start.insert(problem.start.end(), curve.weights.begin(), curve.weights.end() - 1);
  problem.start.insert(problem.start.end(), curve.baselines, curve.baselines + 4);
  problem.start.push_back((25 + 273.15) * 1.9872);
  return problem;
}

// The slope of such a curve, and peaks over it.
Problem peakProblem(int peaks, const CurveRecipe& recipe, std::uint64_t seed) {
  const Problem curve = unfoldingProblem(peaks, recipe, seed);
  Problem problem;
  for (std::size_t i = 0; i + 1 < curve.x.size(); ++i) {
    problem.x.push_back((curve.x[i] + curve.x[i + 1]) / 2);
    problem.y.push_back((curve.y[i] - curve.y[i + 1]) / (curve.x[i] - curve.x[i + 1]));
  }
  for (int k = 0; k < peaks; ++k) {
    const double peak[] = {20, curve.start[static_cast<std::size_t>(2 * k + 1)], 0.5};
    problem.start.insert(problem.start.end(), peak, peak + 3);
  }
  return problem;
}

// What makes a problem hard: how the curve is made, how far the start lies from the truth, and what
// is then spoilt. The first kinds are ordinary.
struct Hardship {
  const char* what;
  void (*spoil)(Problem&, Random&);
  double noise = 0, spread = 0.1;
  int points = 0;  // 15 to 44 where nothing is told
};

double& anyOf(Vector& row, Random& random) {
  return row[static_cast<std::size_t>(random.below(static_cast<int>(row.size())))];
}
void nothing(Problem&, Random&) {}
template <int Power>
void scaleSignal(Problem& problem, Random&) {
  for (double& value : problem.y) {
    value *= std::pow(10.0, Power);
  }
}

// clang-format off
constexpr Hardship kHardships[] = {
    {"clean", nothing},
    {"noisy", nothing, 0.02},
    {"far start", nothing, 0, 0.5},
    {"exact fit", nothing, 0, 0},
    {"two points", nothing, 0, 0.1, 2},
    {"five points", nothing, 0, 0.1, 5},
    {"zero parameter", [](Problem& p, Random& random) { anyOf(p.start, random) = 0.0; }},
    {"negative zeros", [](Problem& p, Random& random) { anyOf(p.start, random) = anyOf(p.start, random) = -0.0; }},
    {"huge parameter", [](Problem& p, Random& random) { anyOf(p.start, random) *= random.below(2) == 0 ? 1e150 : -1e300; }},
    {"zero beside huge", [](Problem& p, Random&) { p.start[0] = 0.0; p.start[2] = 3e160; }},
    {"infinite parameter", [](Problem& p, Random& random) { anyOf(p.start, random) = random.below(2) == 0 ? kInf : -kInf; }},
    {"NaN parameter", [](Problem& p, Random& random) { anyOf(p.start, random) = kNaN; }},
    {"NaN signal", [](Problem& p, Random& random) { anyOf(p.y, random) = kNaN; }},
    {"infinite signal", [](Problem& p, Random& random) { anyOf(p.y, random) = kInf; }},
    {"tiny signal", scaleSignal<-300>},
    {"huge signal", scaleSignal<200>},
    // Baselines of 0 make a model 0 everywhere, and peaks far off are out of sight.
    {"zero Jacobian", [](Problem& p, Random&) { std::fill(p.start.end() - (p.start.size() > 4 ? 5 : 3), p.start.end() - 1, 0.0); }},
    {"peaks out of sight", [](Problem& p, Random&) { for (std::size_t k = 1; k < p.start.size(); k += 3) p.start[k] = 1e4; }},
    {"equal x", [](Problem& p, Random&) { p.x[1] = p.x[0]; }},
    {"descending x", [](Problem& p, Random&) { std::reverse(p.x.begin(), p.x.end()); }},
};
// clang-format on

Problem makeProblem(int parameters, const Hardship& hardship, std::uint64_t seed) {
  const bool peaks = parameters % 3 == 0;
  const int terms = peaks ? parameters / 3 : (parameters - 4) / 3;
  Random random(seed);
  CurveRecipe recipe{.points = hardship.points, .noise = hardship.noise, .slopes = 0.01};
  recipe.falling = random.below(2) == 1;
  if (recipe.points == 0) {
    recipe.points = 15 + random.below(30);
  }
  Problem problem =
      peaks ? peakProblem(terms, recipe, seed) : unfoldingProblem(terms, recipe, seed);
  // RT, the last of an unfolding model, is always known.
  for (int i = 0; i < parameters - (peaks ? 0 : 1); ++i) {
    problem.start[static_cast<std::size_t>(i)] *=
        random.between(1 - hardship.spread, 1 + hardship.spread);
  }
  hardship.spoil(problem, random);
  return problem;
}

// The norm of an increment as the library has it, once the sweep agrees to working accuracy.
double agreedNorm(const Vector& firstColumn) {
  const double wanted = literal::arrayNorm(firstColumn), got = library::arrayNorm(firstColumn);
  EXPECT_EQ(difference({wanted}, {got}, 4e-15 * wanted), "") << firstColumn.size() << " elements";
  return got;
}

TEST(LiteralSolver, EqualsTheLibraryToTheBit) {
  constexpr std::uint64_t kSeeds = 2;
  int moved = 0, fits = 0;
  for (const literal::Mask& mask : allMasks()) {
    for (const Hardship& hardship : kHardships) {
      for (std::uint64_t seed = 0; seed < kSeeds; ++seed, ++fits) {
        const auto [x, y, start] = makeProblem(static_cast<int>(mask.size()), hardship,
                                               1000 * seed + static_cast<std::uint64_t>(fits));
        const auto got = library::maskedFit(mask, x, y, start);
        const auto wanted = literal::maskedFit(mask, x, y, start, agreedNorm);
        SCOPED_TRACE(testing::PrintToString(mask) + ", " + hardship.what + ", seed " +
                     std::to_string(seed));
        EXPECT_EQ(difference(wanted.p, got.p), "");
        EXPECT_EQ(difference({wanted.firstValue, wanted.sse}, {got.firstValue, got.sse}), "");
        for (std::size_t i = 0; i < mask.size(); ++i) {
          EXPECT_TRUE(mask[i] == 0 || sameBits(start[i], got.p[i])) << "held " << i << " moved";
        }
        moved += wanted.p != start;
      }
    }
  }
  // Most of the problems are solved, not merely refused.
  EXPECT_GT(moved, fits / 2);
}

// Sizes across the widths that the factorisation is built for, with zeros and two columns that are
// nearly one.
TEST(LiteralSolver, FactorsMatricesToTheBit) {
  Random random(5);
  for (int n = 1; n <= 20; ++n) {
    for (int m : {n + 1, n + 2, 3 * n + 5}) {
      literal::Matrix a(m, n);
      Vector b(static_cast<std::size_t>(m));
      for (double& value : a.values) {
        value = random.below(6) == 0 ? 0.0 : random.between(-1, 1);
      }
      for (int i = 0; i < m && n > 2; ++i) {
        a.at(i, 2) = a.at(i, 0) * (1 + 1e-15 * random.below(3));
      }
      for (double& value : b) {
        value = random.between(-9, 9);
      }
      EXPECT_EQ(difference(literal::solveLeastSquares(a, b), library::solveLeastSquares(a, b)), "")
          << m << " by " << n;
    }
  }
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
           {"a zero matrix has full rank", 3, 1, {0, 0, 0}, {1, 1, 1}, {kInf}},
           {"square, rows exchanged", 2, 2, {0, 2, 1, 1}, {3, 5}, {1, 3}},
           {"square and singular", 2, 2, {1, 1, 1, 1}, {1, 2}, {-kInf, kInf}},
           {"more columns than rows", 1, 2, {1, 2}, {4}, {0, 2}},
       }) {
    literal::Matrix a(row.rows, row.columns);
    a.values = row.a;
    const Vector x = library::solveLeastSquares(a, row.b);
    EXPECT_EQ(difference(row.x, x, 1e-14), "") << row.what;
    for (std::size_t i = 0; i < x.size(); ++i) {
      EXPECT_EQ(x[i] == 0.0, row.x[i] == 0.0) << row.what << ": a dropped column is exactly 0";
    }
  }
}

TEST(ArrayNorm, AgreesWithASweepOfRotations) {
  Random random(11);
  for (std::size_t c = 1; c <= 12; ++c) {
    for (double size : {1e-3, 1.0, 1e4, 1e9, 1e155}) {
      Vector column(c);
      for (int draw = 0; draw < 10; ++draw) {
        for (double& value : column) {
          value = random.below(5) == 0 ? 0.0 : size * random.between(-1, 1);
        }
        agreedNorm(column);
      }
    }
  }
  struct Row {
    Vector column;
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
                         {{0, 0, 1e300}, 1e300},
                         {{1, kInf}, kNaN}}) {
    const double got = library::arrayNorm(row.column);
    EXPECT_EQ(difference({row.norm}, {got}, 1e-15 * row.norm), "") << row.column.size();
  }
}

}  // namespace
