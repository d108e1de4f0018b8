// Series of curves: primary fits, one dG per label with its trend, and the curves of the trend.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "support/records.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using Vector = std::vector<double>;
using Mask = std::vector<std::int32_t>;

constexpr int kPoints = 30;
constexpr double kRT = (25 + 273.15) * 1.9872;

// The reference's slopes are those of its ends, not quite the curve's own, which moves dG by about
// 1 % even without noise.
constexpr double kTolerance = 60;

// Adds an exact two-state curve; dG and Cm as given.
void addCurve(Vector& x, Vector& y, double dG, double Cm) {
  for (int i = 0; i < kPoints; ++i) {
    const double at = 7.0 * i / (kPoints - 1);
    const double K = std::exp(-dG * (1 - at / Cm) / kRT);
    x.push_back(at);
    y.push_back(((10 + .2 * at) + (60 - at) * K) / (1 + K));
  }
}

struct Fitted {
  Vector results;
  Mask mask;

  double at(std::size_t curve, int element) const {
    return results[ZOLTA_RESULT_LENGTH * curve + static_cast<std::size_t>(element)];
  }
};

using AutomaticFit = decltype(&ZOLTA_dGtrend_primaryFit);
using UserFit = decltype(&ZOLTA_dGtrend_user_primaryFit);

Fitted fit(AutomaticFit primaryFit, Vector x, Vector y, const Vector& labels, int states = 2,
           int n = kPoints) {
  RealRecord xs(x), ys(y), results;
  IntRecord mask;
  primaryFit(n, &xs, &ys, labels.data(), RowSize(labels.size()), states, 25, &results, &mask);
  return {results.row(), mask.row()};
}
Fitted fit(UserFit primaryFit, Vector x, Vector y, const Vector& labels, const Mask& userMask) {
  RealRecord xs(x), ys(y), results;
  primaryFit(kPoints, &xs, &ys, labels.data(), RowSize(labels.size()), userMask.data(),
             RowSize(userMask.size()), 2, 25, &results);
  return {results.row(), {}};
}

TEST(PrimaryFit, RefitsEveryCurveFromOneReference) {
  Vector x, y;
  const Vector labels{1, 1, 2, 4}, dG{6000, 6000, 6600, 7500}, Cm{3, 3, 3.3, 3.75};
  for (std::size_t c = 0; c < labels.size(); ++c) {
    addCurve(x, y, dG[c], Cm[c]);
  }
  for (AutomaticFit form : {ZOLTA_dGtrend_primaryFit, ZOLTA_dGagg_primaryFit}) {
    const Fitted fitted = fit(form, x, y, labels);
    ASSERT_EQ(fitted.results.size(), 4u * ZOLTA_RESULT_LENGTH);
    // The steep part of a curve counts as spikes; the ends stay.
    ASSERT_EQ(fitted.mask.size(), 4u * kPoints);
    EXPECT_EQ(fitted.mask.front(), 1);
    for (std::size_t c = 0; c < labels.size(); ++c) {
      EXPECT_NEAR(fitted.at(c, ZOLTA_DG1), dG[c], 2 * kTolerance) << c;
      EXPECT_NEAR(fitted.at(c, ZOLTA_CM1), Cm[c], 0.02) << c;
      EXPECT_EQ(fitted.at(c, ZOLTA_FIT_CODE), 2);
      EXPECT_EQ(fitted.at(c, ZOLTA_DENATURED_SLOPE), fitted.at(0, ZOLTA_DENATURED_SLOPE));
    }
  }
}

TEST(PrimaryFit, TrendFormsForceTheMValuesOntoALine) {
  Vector x, y;
  const Vector labels{1, 2, 8};
  for (double dG : {6000.0, 7000.0, 5500.0}) {
    addCurve(x, y, dG, 3);
  }
  const Mask all(x.size(), 1);
  const Fitted agg = fit(ZOLTA_dGagg_user_primaryFit, x, y, labels, all);
  const Fitted trend = fit(ZOLTA_dGtrend_user_primaryFit, x, y, labels, all);
  Vector m;
  for (std::size_t c = 0; c < 3; ++c) {
    m.push_back(trend.at(c, ZOLTA_DG1) / trend.at(c, ZOLTA_CM1));
    EXPECT_EQ(trend.at(c, ZOLTA_CM1), agg.at(c, ZOLTA_CM1));
    EXPECT_EQ(trend.at(c, ZOLTA_R_SQUARED), agg.at(c, ZOLTA_R_SQUARED));
  }
  EXPECT_NEAR((m[2] - m[0]) / 3, m[1] - m[0], 1e-6);
  EXPECT_GT(std::fabs(agg.at(1, ZOLTA_DG1) - trend.at(1, ZOLTA_DG1)), 100);
}

TEST(PrimaryFit, ExcludedAndMarkedPoints) {
  Vector x, y;
  addCurve(x, y, 6000, 3);
  addCurve(x, y, 6000, 3);
  Vector spoilt = y;
  spoilt[5] = spoilt[kPoints + 25] = 400;
  Mask userMask(x.size(), 1);
  userMask[5] = 0;
  userMask[kPoints + 25] = 2;
  const Fitted user = fit(ZOLTA_dGagg_user_primaryFit, x, spoilt, {1, 2}, userMask);
  const Fitted automatic = fit(ZOLTA_dGagg_primaryFit, x, spoilt, {1, 2});
  for (std::size_t c : {0u, 1u}) {
    EXPECT_NEAR(user.at(c, ZOLTA_DG1), 6000, kTolerance);
    EXPECT_NEAR(automatic.at(c, ZOLTA_DG1), 6000, kTolerance);
  }
  EXPECT_EQ(automatic.mask[5], 0);
  EXPECT_EQ(automatic.mask[4], 1);
  EXPECT_EQ(automatic.mask[kPoints + 25], 0);
}

TEST(PrimaryFit, FailureShapes) {
  Vector x, y;
  addCurve(x, y, 6000, 3);
  const Vector good = y;
  x.insert(x.end(), x.begin(), x.begin() + kPoints);
  y.insert(y.end(), kPoints, 10.0);
  const auto form = ZOLTA_dGagg_primaryFit;

  // A curve that cannot be fitted has the failure shape of its model; the others go on.
  const Fitted oneBad = fit(form, x, y, {1, 2});
  EXPECT_NEAR(oneBad.at(0, ZOLTA_DG1), 6000, kTolerance);
  EXPECT_EQ(oneBad.at(1, ZOLTA_DG1), -1);
  EXPECT_EQ(oneBad.at(1, ZOLTA_RT), -1);

  // Without a reference every vector is 0 but for the thermal energy.
  Vector none(2 * ZOLTA_RESULT_LENGTH, 0.0);
  none[ZOLTA_RT] = none[ZOLTA_RESULT_LENGTH + ZOLTA_RT] = -1;
  const Vector flat(2 * kPoints, 10.0), below(2 * kPoints, -3.0);
  for (const Vector& hopeless : {flat, below, Vector(2 * kPoints, kNaN)}) {
    const Fitted failed = fit(form, x, hopeless, {1, 2});
    EXPECT_EQ(failed.results, none);
    EXPECT_EQ(failed.mask, Mask(2 * kPoints, 1));
  }
  // So it is when the counts of curves and labels differ.
  EXPECT_EQ(fit(form, x, y, {1, 2, 3}).results, none);
  EXPECT_EQ(fit(form, x, good, {1, 2}).results, none);
  for (int n : {0, -7, 1000}) {
    EXPECT_TRUE(fit(form, x, y, {}, 2, n).results.empty()) << n;
    EXPECT_TRUE(fit(form, x, y, {}, 2, n).mask.empty()) << n;
  }
  // Points that a short row lacks count as missing.
  x.resize(2 * kPoints - 10);
  y.resize(2 * kPoints - 10);
  EXPECT_NEAR(fit(form, x, y, {1, 2}).at(0, ZOLTA_DG1), 6000, kTolerance);
}

TEST(PrimaryFit, LabelsAreTriedFromTheLargestUntilOneFits) {
  Vector x, y;
  for (int c = 0; c < 4; ++c) {
    addCurve(x, y, 6000, 3);
  }
  // The label of the first curve has no signal above 0 and the largest is flat. The next is twice
  // as high, which the slope of all fits shows.
  std::fill_n(y.begin(), kPoints, -1.0);
  std::fill_n(y.begin() + kPoints, kPoints, 10.0);
  std::transform(y.begin() + 2 * kPoints, y.begin() + 3 * kPoints, y.begin() + 2 * kPoints,
                 [](double value) { return 2 * value; });
  const Fitted fitted = fit(ZOLTA_dGagg_primaryFit, x, y, {1, 4, 3, 2});
  EXPECT_EQ(fitted.at(0, ZOLTA_RT), -1);
  EXPECT_EQ(fitted.at(1, ZOLTA_RT), -1);
  EXPECT_NEAR(fitted.at(2, ZOLTA_DG1), 6000, kTolerance);
  EXPECT_NEAR(fitted.at(2, ZOLTA_DENATURED_SLOPE), -2, .2);
  EXPECT_EQ(fitted.at(3, ZOLTA_DENATURED_SLOPE), fitted.at(2, ZOLTA_DENATURED_SLOPE));
}

struct Calculated {
  Vector labels, dG, error;
  Mask used;
  Vector trend;
};
using Calculation = decltype(&ZOLTA_dGtrend_calc);

// A series with the given dG and stored errors; a dG of -1 is a failed curve.
Calculated calculate(Calculation form, const Vector& labels, const Vector& dG, const Vector& errors,
                     const Mask& include) {
  Vector vectors(ZOLTA_RESULT_LENGTH * dG.size());
  for (std::size_t c = 0; c < dG.size(); ++c) {
    double* v = &vectors[ZOLTA_RESULT_LENGTH * c];
    v[ZOLTA_DG1] = dG[c];
    v[ZOLTA_DG1_WIDTH] = errors[c];
    v[ZOLTA_RT] = dG[c] > 0 ? 592 : -1;
  }
  RealRecord results(vectors), labelsOut, dGOut, errorOut;
  IntRecord used;
  Vector trend(4, -7);
  form(labels.data(), RowSize(labels.size()), &results, include.data(), RowSize(include.size()), 1,
       &labelsOut, &dGOut, &errorOut, &used, trend.data());
  return {labelsOut.row(), dGOut.row(), errorOut.row(), used.row(), trend};
}

void expectRow(const Vector& got, const Vector& wanted) {
  ASSERT_EQ(got.size(), wanted.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (std::isnan(wanted[i])) {
      EXPECT_TRUE(std::isnan(got[i])) << i;
    } else {
      EXPECT_NEAR(got[i], wanted[i], 1e-8) << i;
    }
  }
}

TEST(Calculation, Table) {
  const auto trend = ZOLTA_dGtrend_calc;
  const auto agg = ZOLTA_dGagg_calc;
  const double e = std::exp(1.0);
  struct Row {
    const char* what;
    Calculation form;
    Vector labels, dG, errors;
    Mask include;
    Vector labelsOut, dGOut, errorOut;
    Mask used;
    Vector trend;
  };
  // clang-format off
  const Row rows[] = {
      {"a change beyond 300 counts", agg, {1, 2}, {4000, 4301}, {10, 20}, {1, 1},
       {1, 2}, {4000, 4301}, {10, 20}, {1, 1}, {301, 3699, 0, 2}},
      {"299 does not", agg, {1, 2}, {4000, 4299}, {10, 20}, {1, 1},
       {1, 2}, {4000, 4299}, {10, 20}, {1, 1}, {0, 4149.5, 0, 2}},
      {"the errors of both ends", agg, {1, 2}, {4000, 4399}, {200, 200}, {1, 1},
       {1, 2}, {4000, 4399}, {200, 200}, {1, 1}, {0, 4199.5, 0, 2}},
      {"against the logarithm", trend, {e, 1}, {5000, 4000}, {10, 20}, {1, 1},
       {1, e}, {4000, 5000}, {20, 10}, {1, 1}, {1000, 4000, 1, 2}},
      {"the intercept stays", trend, {1, e}, {4000, 4100}, {10, 20}, {1, 1},
       {1, e}, {4000, 4100}, {10, 20}, {1, 1}, {0, 4000, 1, 2}},
      {"scatter of replicates", trend, {1, e, 1}, {4000, 6000, 4200}, {1, 2, 3}, {1, 1, 1},
       {1, e}, {4100, 6000}, {std::sqrt(20000.0), 2}, {1, 1}, {1900, 4100, 1, 2}},
      {"mean of stored errors", agg, {1, 2, 1}, {4000, 6000, 4200}, {1, 2, 3}, {1, 1, 1},
       {1, 2}, {4100, 6000}, {2, 2}, {1, 1}, {1900, 2200, 0, 2}},
      {"failed curves", trend, {1, e, e}, {4000, -1, -1}, {9, 0, 0}, {1, 1, 1},
       {1, e}, {4000, 0}, {9, 0}, {1, 1}, {0, 4000, -1, 2}},
      {"an unused label", trend, {1, e, e * e}, {4000, 9, 6000}, {1, 1, 1}, {1, 0, 1},
       {1, e, e * e}, {4000, 5000, 6000}, {1, 0, 1}, {1, 0, 1}, {1000, 4000, 1, 3}},
      {"an unused first label", agg, {1, 2, 3}, {4000, 5000, 6000}, {1, 1, 1}, {0, 1, 1},
       {1, 2, 3}, {0, 5000, 6000}, {0, 1, 1}, {0, 1, 1}, {1000, 2, 0, 2}},
      {"an unused second label", agg, {1, 2, 3}, {4000, 5000, 6000}, {1, 1, 1}, {1, 0, 1},
       {1, 2, 3}, {4000, 0, 6000}, {1, 0, 1}, {1, 0, 1}, {1000, 1, 0, 2}},
      {"neither of the first two", agg, {1, 2, 3}, {4000, 5000, 6000}, {1, 1, 1}, {0, 0, 1},
       {1, 2, 3}, {0, 0, 6000}, {0, 0, 1}, {0, 0, 1}, {0, 2, 0, 2}},
      {"one label", agg, {5}, {4000}, {1}, {1}, {5}, {4000}, {1}, {1}, {0, 5, 0, 2}},
      {"a label of 0 shifts the list", trend, {0, 1, e}, {4000, 5000, 7000}, {1, 2, 3}, {1, 1, 1},
       {0, 1, e}, {5000, 7000, 0}, {2, 3, 0}, {1, 1, 1}, {2000, 5000, 1, 3}},
      {"flags are added", agg, {1, 2, 3}, {4000, 5000, 6000}, {1, 1, 1}, {2, 1, 1},
       {1, 2, 3}, {5000, 6000, 0}, {1, 1, 0}, {1, 1, 1}, {1000, 3000, 0, 2}},
      {"nothing included", trend, {2, 1, 2, 3}, {4000, 4000, 1, 1}, {1, 1, 1, 1}, {0, 0, 2, 0},
       {1, 2, 2, 3}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 4}},
      {"no fit at all", agg, {2, 1, 1}, {-1, -1, -1}, {0, 0, 0}, {1, 1, 1},
       {1, 2, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0, 2}},
      {"counts differ", agg, {2, 1}, {4000}, {1}, {1},
       {1, 2}, {0, 0}, {0, 0}, {0, 0}, {0, 0, 0, 2}},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Calculated got = calculate(row.form, row.labels, row.dG, row.errors, row.include);
    expectRow(got.labels, row.labelsOut);
    expectRow(got.dG, row.dGOut);
    expectRow(got.error, row.errorOut);
    EXPECT_EQ(got.used, row.used);
    expectRow(got.trend, row.trend);
  }
}

Vector curveOf(decltype(&ZOLTA_dGtrend_fd) drawFraction, const Vector& labels, const Vector& trend,
               int n) {
  RealRecord x, y;
  drawFraction(labels.data(), RowSize(labels.size()), trend.data(), n, 25, &x, &y);
  EXPECT_EQ(x.row().size(), y.row().size());
  return y.row();
}

TEST(SeriesCurves, LinesAndFractions) {
  const Vector labels{8, 2, kNaN, 4};
  const auto K = [](double dG) { return std::exp(-dG / kRT); };
  const auto D = [](double slope, double label) { return 800 + slope * std::log(label); };
  const double rise = std::exp((D(500, 5) - D(500, 2)) / kRT) - 1;
  const double fall = std::exp((D(-500, 2) - D(-500, 5)) / kRT) - 1;
  struct Row {
    decltype(&ZOLTA_dGtrend_fd) fraction;
    double slope, first, middle;
  };
  for (const Row& row :
       {Row{ZOLTA_dGtrend_fd, 500, K(D(500, 2)) / (1 + K(D(500, 2))),
            K(D(500, 5)) / (1 + K(D(500, 5)))},
        Row{ZOLTA_dGtrend_fd, 0, K(800) / (1 + K(800)), K(800) / (1 + K(800))},
        Row{ZOLTA_dGtrend_fragg, 500, 0, rise / (1 + K(D(500, 5)) + rise)},
        Row{ZOLTA_dGtrend_fragg, -500, 0, fall / (1 / K(D(-500, 5)) + 1 + fall)},
        Row{ZOLTA_dGtrend_fragg, 0, 0, 0}, Row{ZOLTA_dGtrend_fragg, kNaN, 0, 0},
        Row{ZOLTA_dGtrend_fraggfd, -500, 0, fall / (1 + fall)},
        Row{ZOLTA_dGtrend_fraggfd, 500, 0, 0}, Row{ZOLTA_dGtrend_fraggfd, kNaN, 0, 0}}) {
    const Vector y = curveOf(row.fraction, labels, {row.slope, 800}, 3);
    ASSERT_EQ(y.size(), 3u);
    EXPECT_NEAR(y[0], row.first, 1e-14) << row.slope;
    EXPECT_NEAR(y[1], row.middle, 1e-14) << row.slope;
    EXPECT_EQ(curveOf(row.fraction, {3}, {row.slope, 800}, 3), Vector{1});
    EXPECT_EQ(curveOf(row.fraction, labels, {row.slope, 800}, 0), Vector{1});
  }
  struct LineRow {
    decltype(&ZOLTA_dGtrend_trend) line;
    double middle;
  };
  for (const LineRow& row :
       {LineRow{ZOLTA_dGtrend_trend, D(500, 5)}, LineRow{ZOLTA_dGagg_trend, 800 + 500.0 * 5}}) {
    RealRecord x, y;
    const Vector trend{500, 800};
    row.line(labels.data(), RowSize(4), trend.data(), 3, &x, &y);
    EXPECT_EQ(x.row(), (Vector{2, 5, 8}));
    EXPECT_NEAR(y.row()[1], row.middle, 1e-11);
  }
}

TEST(SeriesCurves, Normalisation) {
  for (const auto& [reference, value, factor] :
       {std::array{4.0, 2.0, .5}, {0.0, 2.0, 1.0}, {-1.0, 2.0, 1.0}, {kNaN, 2.0, 1.0}}) {
    const Vector y{1, -3};
    Vector out(2);
    RowSize outSize(99);
    ZOLTA_dGtrend_normalization(y.data(), RowSize(2), reference, value, out.data(), outSize.pair);
    EXPECT_EQ(out, (Vector{factor, -3 * factor})) << reference;
    EXPECT_EQ(outSize.pair[1], 2);
  }
}

}  // namespace
