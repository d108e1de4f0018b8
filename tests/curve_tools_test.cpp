// Fitted curves, spike and outlier marks, and the choice of the number of states.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "curve_tools/outlier_removal.h"
#include "support/records.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using Vector = std::vector<double>;
using Mask = std::vector<std::int32_t>;

// aN, bN, aU, bU, dG1, Cm1, dG2, Cm2, w1, dG3, Cm3, w2, RT
Vector resultOf(Vector elements) {
  elements.resize(ZOLTA_RESULT_LENGTH);
  return elements;
}
const Vector kTwo = resultOf({1, .1, 5, -.2, 3000, 3, 0, 0, 0, 0, 0, 0, 592});
const Vector kThree = resultOf({1, .1, 5, -.2, 3000, 2, 6000, 4, .3, 0, 0, 0, 592});
const Vector kFour = resultOf({1, .1, 5, -.2, 2000, 1, 6000, 3, .3, 9000, 5, .25, 592});

using Export = decltype(&ZOLTA_ChemDenatFDFitCurve);

struct Drawn {
  Vector x, y;
};
Drawn draw(Export fitCurve, const Vector& x, const Vector& result, int n) {
  RealRecord xFit, yFit;
  fitCurve(x.data(), RowSize(x.size()), result.data(), n, &xFit, &yFit);
  return {xFit.row(), yFit.row()};
}

TEST(FittedCurves, GridFollowsTheEndsOfX) {
  struct Row {
    Export fitCurve;
    int n;
    Vector x, grid;
  };
  const Export signal = ZOLTA_ChemDenatFluorescenceFitCurve;
  const Export slope = ZOLTA_ChemDenatFirstDerivativeFitCurve;
  for (const Row& row :
       {Row{signal, 0, {0, 6}, {}}, Row{signal, -2, {0, 6}, {}}, Row{signal, 1, {0, 6}, {6}},
        Row{signal, 2, {0, 9, 6}, {0, 6}}, Row{signal, 4, {6, 0}, {6, 4, 2, 0}},
        Row{signal, 2, {}, {0, 0}}, Row{slope, 0, {0, 6}, {}}, Row{slope, -2, {0, 6}, {}},
        Row{slope, 1, {0, 6}, {0}}, Row{slope, 3, {0, 6}, {0, 2, 4}},
        Row{slope, 2, {6, 0}, {6, 3}}}) {
    const Drawn drawn = draw(row.fitCurve, row.x, kTwo, row.n);
    EXPECT_EQ(drawn.x, row.grid) << row.n;
    EXPECT_EQ(drawn.y.size(), row.grid.size()) << row.n;
  }
}

TEST(FittedCurves, ValuesOfEveryModel) {
  const auto fraction = [](double dG, double Cm, double x) {
    const double K = std::exp(-dG * (1 - x / Cm) / 592);
    return K / (1 + K);
  };
  const Vector x{0, 7};
  for (int i = 0; i <= 7; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const double f2 = fraction(3000, 3, i);
    const double f3 = .3 * fraction(3000, 2, i) + .7 * fraction(6000, 4, i);
    const double f4 =
        .3 * fraction(2000, 1, i) + .25 * fraction(6000, 3, i) + .45 * fraction(9000, 5, i);
    for (const auto& [result, f] : {std::pair{kTwo, f2}, {kThree, f3}, {kFour, f4}}) {
      EXPECT_NEAR(draw(ZOLTA_ChemDenatFDFitCurve, x, result, 8).y[at], f, 1e-14);
      EXPECT_NEAR(draw(ZOLTA_ChemDenatFluorescenceFitCurve, x, result, 8).y[at],
                  (1 - f) * (1 + .1 * i) + f * (5 - .2 * i), 1e-13);
    }
    const double next = fraction(3000, 3, i + .5);
    EXPECT_NEAR(draw(ZOLTA_ChemDenatFirstDerivativeFitCurve, x, kTwo, 14).y[2 * at % 14],
                i < 7 ? (next - f2) / .5 : (fraction(3000, 3, .5) - fraction(3000, 3, 0)) / .5,
                1e-13);
  }
  EXPECT_EQ(draw(ZOLTA_ChemDenatFDFitCurve, {0, 6}, kTwo, 3).y[1], 0.5);
}

TEST(FittedCurves, NoModelIsAFlatLineOfZeros) {
  for (double RT : {-1.0, 0.0, kNaN}) {
    Vector result = kTwo;
    result[ZOLTA_RT] = RT;
    for (Export fitCurve : {ZOLTA_ChemDenatFluorescenceFitCurve, ZOLTA_ChemDenatFDFitCurve,
                            ZOLTA_ChemDenatFirstDerivativeFitCurve}) {
      EXPECT_EQ(draw(fitCurve, {0, 6}, result, 3).y, Vector(3, 0.0));
    }
  }
}

TEST(Spikes, Marks) {
  struct Row {
    Vector lifted;  // the signal plus 1
    Mask mask;
  };
  for (const Row& row :
       {Row{{1, 1, 6, 1, 1}, {1, 1, 0, 1, 1}}, Row{{1, 2, 4}, {1, 0, 1}},
        Row{{1, 9, 1, 1, 1}, {1, 0, 1, 1, 1}}, Row{{1, 1, 1, 2}, {1, 1, 1, 0}},
        Row{{1, 1, 5, 5, 1, 1}, {1, 1, 1, 1, 1, 1}}, Row{{1, 5, 5, 1, 1}, {0, 1, 1, 1, 1}},
        Row{{5, 6, 5}, {1, 1, 1}}, Row{{-3, -3.5, -3}, {1, 0, 1}}, Row{{1, kNaN, 9}, {1, 1, 1}},
        Row{{1, 2}, {0, 1}}, Row{{5, 4}, {0, 1}}, Row{{5, 4.5}, {1, 1}}, Row{{7}, {1}},
        Row{{}, {}}}) {
    Vector y = row.lifted;
    for (double& value : y) {
      value -= 1.0;
    }
    Mask mask(y.size(), -5);
    RowSize maskSize(99);
    ZOLTA_ChemDenatKillSpikes(y.data(), RowSize(y.size()), mask.data(), maskSize.pair);
    EXPECT_EQ(mask, row.mask) << testing::PrintToString(row.lifted);
    EXPECT_EQ(maskSize.pair[1], static_cast<int>(y.size()));
  }
}

// A fit that is 0 everywhere, so that a reading is its own distance from the fit.
const Vector kZeroFit = resultOf({0, 0, 0, 0, 3000, 3, 0, 0, 0, 0, 0, 0, 592});

TEST(Outliers, ReportedWithoutLimitButRemovedUpToAQuarter) {
  struct Row {
    std::size_t points, far;
    bool failed;
    std::size_t marked, left;
  };
  for (const Row& row : {Row{12, 3, false, 3, 9}, Row{12, 4, false, 4, 12}, Row{3, 1, false, 1, 3},
                         Row{12, 0, false, 0, 12}, Row{12, 3, true, 0, 12}, Row{5, 5, false, 5, 5},
                         Row{400, 100, false, 100, 300}}) {
    Vector x(row.points), y(row.points, 0.0), result = kZeroFit;
    std::iota(x.begin(), x.end(), 0.0);
    std::fill_n(y.begin() + (row.points > 5 ? 2 : 0), row.far, 1.0);
    result[ZOLTA_RT] = row.failed ? -1 : 592;
    Mask mask(row.points, -5);
    RowSize maskSize(99);
    ZOLTA_ChemDenatOutlierRemoval(x.data(), RowSize(row.points), y.data(), RowSize(row.points),
                                  result.data(), mask.data(), maskSize.pair);
    const auto marked = static_cast<std::size_t>(std::count(mask.begin(), mask.end(), 0));
    EXPECT_EQ(marked, row.marked) << row.points;
    EXPECT_EQ(maskSize.pair[1], static_cast<int>(row.points));
    Vector xKept, yKept;
    zolt::ChemDenatOutlierRemovalArrays(x, y, zolt::resultView(result.data()), xKept, yKept);
    EXPECT_EQ(xKept.size(), row.left) << row.points;
    EXPECT_EQ(yKept.size(), row.left);
    if (row.left == 9) {
      EXPECT_EQ(xKept, (Vector{0, 1, 5, 6, 7, 8, 9, 10, 11}));
    }
  }
}

TEST(Outliers, DifferentLengthsMarkNothing) {
  const Vector x{0, 1, 2, 3}, y{5, 0, 0};
  Mask mask(4, -5);
  RowSize maskSize(99);
  ZOLTA_ChemDenatOutlierRemoval(x.data(), RowSize(4), y.data(), RowSize(3), kZeroFit.data(),
                                mask.data(), maskSize.pair);
  EXPECT_EQ(mask, Mask(4, 1));
}

int pick(const Vector& y) { return ZOLTA_ChemDenatModelPicker(y.data(), RowSize(y.size())); }

Vector sigmoids(std::size_t n, int count) {
  Vector y(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double x = static_cast<double>(i) / static_cast<double>(n - 1);
    for (int t = 1; t <= count; ++t) {
      y[i] += 1 / (1 + std::exp(-60 * (x - t / (count + 1.0))));
    }
  }
  return y;
}

TEST(ModelPicker, CountsCleanTransitions) {
  for (std::size_t n : {std::size_t{48}, std::size_t{96}, std::size_t{256}, std::size_t{257}}) {
    for (int transitions : {1, 2, 3}) {
      EXPECT_EQ(pick(sigmoids(n, transitions)), transitions + 1) << n;
    }
  }
  // Missing points are filled from their neighbours.
  Vector holes = sigmoids(96, 2);
  holes[10] = holes[50] = holes[51] = kNaN;
  EXPECT_EQ(pick(holes), 3);
}

TEST(ModelPicker, DegenerateSignalsAreOneTransition) {
  for (const Vector& y : {Vector{}, Vector{1, 2}, Vector(385, 1.0), Vector(48, 7.0),
                          Vector(48, kNaN), Vector(3, 0.0), sigmoids(385, 3)}) {
    EXPECT_EQ(pick(y), 2) << y.size();
  }
}

}  // namespace
