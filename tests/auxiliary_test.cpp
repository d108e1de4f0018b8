// Smoothers, emission smoothing, m-value fits and the pH calibration.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "smoothing/smoothing.h"
#include "support/records.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using Vector = std::vector<double>;

void expectRow(const Vector& got, const Vector& wanted, double tolerance) {
  ASSERT_EQ(got.size(), wanted.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (std::isnan(wanted[i])) {
      EXPECT_TRUE(std::isnan(got[i])) << i;
    } else {
      EXPECT_NEAR(got[i], wanted[i], tolerance) << i;
    }
  }
}

TEST(Smoothing, MovingAverage) {
  struct Row {
    Vector y;
    double span;
    Vector smooth;
  };
  for (const Row& row :
       {Row{{4, 4, 4, 4, 4, 4}, 5, {4, 4, 4, 4, 4, 4}}, Row{{3, 1, 7}, 2, {3, 1, 7}},
        Row{{3, 1}, 20, {3, 1}}, Row{{1, 4, 7, 13}, 4, {1, 4, 8, 13}},
        Row{{0, 3, 9, 0, 0, 6}, 5, {0, 4, 2.4, 3.6, 2, 6}},
        Row{{1, 0, 0, 0, 9, 0, 0, 0, 0, 2},
            20,
            {1, 1.0 / 3, 2, 10.0 / 7, 10.0 / 9, 11.0 / 9, 11.0 / 7, 0.4, 2.0 / 3, 2}},
        Row{{1, 2, 6}, kNaN, {1, 3, 6}}, Row{{2, kNaN, 6, 7}, 3, {2, 4, 6.5, 7}},
        Row{{1, kNaN, kNaN, kNaN, 5}, 3, {1, 1, kNaN, 5, 5}}, Row{{}, 5, {}}}) {
    Vector smooth(row.y.size());
    zolt::smoothMoving(row.y, row.span, smooth);
    expectRow(smooth, row.smooth, 1e-14);
  }
}

TEST(Smoothing, ParabolasPassTheSavitzkyGolayFilter) {
  for (std::size_t n : {1u, 2u, 3u, 4u, 5u, 6u, 30u}) {
    Vector parabola(n), smooth(n);
    for (std::size_t i = 0; i < n; ++i) {
      const auto t = static_cast<double>(i);
      parabola[i] = 3 - 2 * t + .5 * t * t;
    }
    zolt::smoothSGolay(parabola, smooth);
    expectRow(smooth, parabola, 1e-11);
    if (n < 5) {
      continue;
    }
    // A hole is filled from the points around it.
    Vector holed = parabola;
    holed[1] = holed[n - 1] = kNaN;
    zolt::smoothSGolay(holed, smooth);
    expectRow(smooth, parabola, 1e-11);
  }
}

TEST(Smoothing, SavitzkyGolayWeightsAndMissingRows) {
  Vector smooth(7);
  zolt::smoothSGolay(Vector{0, 0, 0, 1, 0, 0, 0}, smooth);
  expectRow(smooth, {-5.0 / 35, 6.0 / 35, 12.0 / 35, 17.0 / 35, 12.0 / 35, 6.0 / 35, -5.0 / 35},
            1e-15);
  zolt::smoothSGolay(Vector(7, kNaN), smooth);
  expectRow(smooth, Vector(7, 0.0), 0.0);
}

TEST(EmissionSmooth, WindowFollowsTheWidth) {
  const Vector y{0, 9, 0, 0, 0, 30, 0, 0};
  const Vector three{0, 3, 3, 0, 10, 10, 10, 0};
  const Vector seven{0, 3, 9.0 / 5, 39.0 / 7, 39.0 / 7, 6, 10, 0};
  struct Row {
    double width;
    Vector out;
  };
  for (const Row& row :
       {Row{-4, y}, Row{0.93379, y}, Row{0.9337995337995338, three}, Row{1.0, three},
        Row{1.4, three}, Row{3.0, seven}, Row{500, seven}, Row{kNaN, seven}}) {
    Vector out(y.size());
    RowSize outSize(99);
    ZOLTA_emission_smooth(y.data(), RowSize(y.size()), row.width, out.data(), outSize.pair);
    expectRow(out, row.out, 1e-14);
    EXPECT_EQ(outSize.pair[1], 8) << row.width;
  }
  RowSize outSize(99);
  ZOLTA_emission_smooth(y.data(), RowSize(0), 3.0, nullptr, outSize.pair);
  EXPECT_EQ(outSize.pair[1], 0);
}

using MFit = decltype(&ZOLTA_mfit1storder);

TEST(MValueFits, RecoverTheirOwnCurve) {
  const double standIn = 0.01;  // of the 0 in x: 1 over the ratio 100 of the extremes
  struct Row {
    MFit fit;
    double (*curve)(double);
  };
  for (const Row& row :
       {Row{ZOLTA_mfit1storder, [](double x) { return 2 - 3 * x; }},
        Row{ZOLTA_mfit2ndorder, [](double x) { return 2 - 3 * x + .25 * x * x; }},
        Row{ZOLTA_mfitlog, [](double x) { return 2 - 3 * std::log(x == 0 ? .01 : x); }}}) {
    const Vector x{0, 1, 10, 100};
    Vector y, strided, scale;
    for (double value : x) {
      y.push_back(row.curve(value));
      strided.insert(strided.end(), {row.curve(value), kNaN});
      scale.insert(scale.end(), {value + standIn, kNaN, kNaN});
    }
    const std::int32_t yStrides[2] = {2, 4};
    const std::int32_t scaleStrides[2] = {3, 4};
    Vector fitted(4);
    RowSize fittedSize(99);
    RealRecord xGrid, yGrid;
    row.fit(x.data(), RowSize(4), strided.data(), yStrides, scale.data(), scaleStrides, 6,
            fitted.data(), fittedSize.pair, &xGrid, &yGrid);
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(fitted[i], y[i] * (x[i] + standIn), 1e-9 * std::fabs(y[i] * x[i]) + 1e-9);
    }
    EXPECT_EQ(fittedSize.pair[1], 4);
    EXPECT_EQ(xGrid.row(), (Vector{0, 20, 40, 60, 80, 100}));
    for (std::size_t k = 0; k < 6; ++k) {
      EXPECT_NEAR(yGrid.row()[k], row.curve(20.0 * static_cast<double>(k)), 1e-8);
    }
  }
}

TEST(MValueFits, Shapes) {
  const Vector x{0, 1, 2}, y{1, 5, 6};
  for (MFit fit : {ZOLTA_mfit1storder, ZOLTA_mfit2ndorder, ZOLTA_mfitlog}) {
    struct Row {
      std::size_t points;
      int nGrid;
      Vector xGrid;
    };
    for (const Row& row : {Row{3, 0, {}}, Row{3, -1, {}}, Row{3, 1, {2}}, Row{0, 2, {0, 0}}}) {
      Vector fitted(3);
      RowSize fittedSize(99);
      RealRecord xGrid, yGrid;
      const RowSize size(row.points);
      fit(x.data(), size, y.data(), size, y.data(), size, row.nGrid, fitted.data(), fittedSize.pair,
          &xGrid, &yGrid);
      EXPECT_EQ(fittedSize.pair[1], static_cast<int>(row.points));
      EXPECT_EQ(xGrid.row(), row.xGrid);
      EXPECT_EQ(yGrid.row().size(), row.xGrid.size());
      if (row.points == 0) {
        EXPECT_EQ(yGrid.row(), row.xGrid);
      }
    }
  }
}

TEST(PhEquation, GivesTheConstantFirst) {
  struct Row {
    double quartic;
    std::size_t points;
    bool fewer;  // than the quartic needs: only its curve is told
  };
  for (const Row& row : {Row{0.0, 20, false}, Row{2e-4, 20, false}, Row{0.0, 3, true}}) {
    Vector a, b, pH;
    const Vector c{.4, .05, -.02, .001, row.quartic};
    const auto curve = [](const auto& p, double x) {
      return p[0] + x * (p[1] + x * (p[2] + x * (p[3] + x * p[4])));
    };
    for (std::size_t i = 0; i < row.points; ++i) {
      pH.push_back(.4 * static_cast<double>(i) - 3);
      b.push_back(50 * curve(c, pH.back()));
      a.push_back(50 - b.back());
    }
    Vector out(5, -1);
    const RowSize size(row.points);
    ZOLTA_pHequation(a.data(), size, b.data(), size, pH.data(), size, out.data());
    for (std::size_t i = 0; i < row.points; ++i) {
      EXPECT_NEAR(curve(out, pH[i]), curve(c, pH[i]), 1e-9);
    }
    if (!row.fewer) {
      expectRow(out, c, 1e-9);
    }
  }
  // A point without a signal makes every residual nothing, and the cubic wins the tie.
  Vector zero{0, 1, 1, 1, 1, 1}, pH{1, 2, 3, 4, 5, 6}, out(5, -1);
  ZOLTA_pHequation(zero.data(), RowSize(6), zero.data(), RowSize(6), pH.data(), RowSize(6),
                   out.data());
  expectRow(out, {kNaN, kNaN, kNaN, kNaN, 0.0}, 0.0);
}

}  // namespace
