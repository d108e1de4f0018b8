// Series of curves: primary fits, one dG per label with its trend, and the curves of the trend.
#include <gtest/gtest.h>

#include "support/exports.h"

namespace {

constexpr int kPoints = 30;
constexpr double kRT = (25 + 273.15) * 1.9872;

// The reference's slopes are those of its ends, not quite the curve's own, which moves dG by about
// 1 % even without noise.
constexpr double kTolerance = 60;

// Adds an exact two-state curve on the baselines aN, bN, aU, bU.
void addCurve(Vector& x, Vector& y, double dG, double Cm,
              const Vector& baselines = {10, .2, 60, -1}) {
  for (int i = 0; i < kPoints; ++i) {
    const double at = 7.0 * i / (kPoints - 1);
    const double K = std::exp(-dG * (1 - at / Cm) / kRT);
    x.push_back(at);
    y.push_back(((baselines[0] + baselines[1] * at) + (baselines[2] + baselines[3] * at) * K) /
                (1 + K));
  }
}

struct Fitted {
  Vector results;
  Whole mask;

  double at(std::size_t curve, int element) const {
    return results[ZOLTA_RESULT_LENGTH * curve + static_cast<std::size_t>(element)];
  }
};

Fitted fit(const std::string& form, const Vector& x, const Vector& y, const Vector& labels,
           const Whole& userMask = {}, int n = kPoints) {
  Arguments a;
  a.seriesX = x;
  a.seriesY = y;
  a.labels = labels;
  a.userMask = userMask;
  a.pointsPerCurve = n;
  const Called site(form + "_primaryFit", a);
  return {site.real(0), site.count() > 1 ? site.whole(1) : Whole{}};
}

TEST(PrimaryFit, RefitsEveryCurveFromOneReference) {
  Vector x, y;
  const Vector labels{1, 1, 2, 4}, dG{6000, 6000, 6600, 7500}, Cm{3, 3, 3.3, 3.75};
  for (std::size_t c = 0; c < labels.size(); ++c) {
    addCurve(x, y, dG[c], Cm[c]);
  }
  for (const char* form : {"dGtrend", "dGagg"}) {
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
  const Whole all(x.size(), 1);
  const Fitted agg = fit("dGagg_user", x, y, labels, all);
  const Fitted trend = fit("dGtrend_user", x, y, labels, all);
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
  Whole userMask(x.size(), 1);
  userMask[5] = 0;
  userMask[kPoints + 25] = 2;
  const Fitted user = fit("dGagg_user", x, spoilt, {1, 2}, userMask);
  const Fitted automatic = fit("dGagg", x, spoilt, {1, 2});
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
  const char* const form = "dGagg";

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
    EXPECT_EQ(failed.mask, Whole(2 * kPoints, 1));
  }
  // So it is when the counts of curves and labels differ.
  EXPECT_EQ(fit(form, x, y, {1, 2, 3}).results, none);
  EXPECT_EQ(fit(form, x, good, {1, 2}).results, none);
  for (int n : {0, -7, 1000}) {
    EXPECT_TRUE(fit(form, x, y, {}, {}, n).results.empty()) << n;
    EXPECT_TRUE(fit(form, x, y, {}, {}, n).mask.empty()) << n;
  }
  // Points that a short row lacks count as missing.
  x.resize(2 * kPoints - 10);
  y.resize(2 * kPoints - 10);
  EXPECT_NEAR(fit(form, x, y, {1, 2}).at(0, ZOLTA_DG1), 6000, kTolerance);
}

// A refit whose m-value is below 100 is no fit. A last x that is no number is no bound: the solver
// leaves such a curve at the reference, which then stands.
TEST(PrimaryFit, RefitsAreJudgedByTheirMValue) {
  for (const auto& [m, fits] : {std::pair{130.0, true}, {75.0, false}}) {
    Vector x, y;
    const Vector flat{10, 0, 60, 0};
    addCurve(x, y, 6000, 3, flat);
    addCurve(x, y, m * 3, 3, flat);
    const Fitted fitted = fit("dGagg_user", x, y, {1, 2}, Whole(x.size(), 1));
    EXPECT_EQ(fitted.at(1, ZOLTA_RT) > 0, fits) << m << " " << fitted.at(1, ZOLTA_DG1);
    x.back() = kNaN;
    const Fitted open = fit("dGagg_user", x, y, {1, 2}, Whole(x.size(), 1));
    EXPECT_NEAR(open.at(1, ZOLTA_DG1), 6000, kTolerance) << m;
  }
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
  const Fitted fitted = fit("dGagg", x, y, {1, 4, 3, 2});
  EXPECT_EQ(fitted.at(0, ZOLTA_RT), -1);
  EXPECT_EQ(fitted.at(1, ZOLTA_RT), -1);
  EXPECT_NEAR(fitted.at(2, ZOLTA_DG1), 6000, kTolerance);
  EXPECT_NEAR(fitted.at(2, ZOLTA_DENATURED_SLOPE), -2, .2);
  EXPECT_EQ(fitted.at(3, ZOLTA_DENATURED_SLOPE), fitted.at(2, ZOLTA_DENATURED_SLOPE));
}

// Outliers of the refit are left out of a second one, up to a quarter of the curve's points.
TEST(PrimaryFit, OutliersAreLeftOutUpToAQuarter) {
  constexpr int n = 32;
  for (int outliers : {1, 8, 9}) {
    Vector x, y;
    Whole wanted(2 * n, 1);
    for (int i = 0; i < 2 * n; ++i) {
      const double at = 8.0 * (i % n) / (n - 1);
      const double K = std::exp(-3500 * (1 - at / 5) / kRT);
      // Too small a step for a spike, too large for a part of the curve's deviation.
      const bool off = i >= n && i < n + outliers;
      x.push_back(at);
      y.push_back((100 + 150 * K) / (1 + K) + (off ? (i % 2 == 0 ? 9 : -9) : 0));
      wanted[static_cast<std::size_t>(i)] = off && outliers <= 8 ? 0 : 1;
    }
    const Fitted fitted = fit("dGagg", x, y, {1, 2}, {}, n);
    EXPECT_EQ(fitted.mask, wanted) << outliers;
    const double effect = fitted.at(1, ZOLTA_DG1) - fitted.at(0, ZOLTA_DG1);
    EXPECT_EQ(std::fabs(effect) < 25, outliers <= 8) << outliers << " " << effect;
  }
}

// A refit that is worse than its curve's mean has -1 in place of an R-squared a little below 0.
TEST(PrimaryFit, RSquaredIsNeverBetweenMinusOneAndZero) {
  struct Row {
    double nativeSlope, denaturedSlope;   // of the reference
    double Cm, height, slope, intercept;  // of a curve that those slopes do not suit
  };
  for (const Row& row : {Row{0.843859, -1.01238, 2.3158, -4.9069, 0.462382, 16.1494},
                         {-0.681062, 0.664995, 2.0085, 4.11398, -0.619066, 37.2802},
                         {1.66894, -0.360405, 5.4555, 4.77638, -0.729026, 17.6635}}) {
    Vector x, y;
    addCurve(x, y, 6000, 3, {10, row.nativeSlope, 60, row.denaturedSlope});
    addCurve(x, y, 6000, row.Cm, {row.intercept, row.slope, row.intercept + row.height, row.slope});
    const Fitted fitted = fit("dGagg_user", x, y, {1, 2}, Whole(x.size(), 1));
    EXPECT_GT(fitted.at(1, ZOLTA_RT), 0) << row.Cm;
    EXPECT_EQ(fitted.at(1, ZOLTA_R_SQUARED), -1) << row.Cm;
  }
}

struct Calculated {
  Vector labels, dG, error;
  Whole used;
  Vector trend;
};

// A series with the given dG and stored errors; a dG of -1 is a failed curve.
Calculated calculate(const char* form, const Vector& labels, const Vector& dG, const Vector& errors,
                     const Whole& include) {
  Arguments a;
  a.labels = labels;
  a.include = include;
  for (std::size_t c = 0; c < dG.size(); ++c) {
    Vector r(ZOLTA_RESULT_LENGTH);
    r[ZOLTA_DG1] = dG[c];
    r[ZOLTA_DG1_WIDTH] = errors[c];
    r[ZOLTA_RT] = dG[c] > 0 ? 592 : -1;
    a.seriesResults.insert(a.seriesResults.end(), r.begin(), r.end());
  }
  const Called site(form, a);
  return {site.real(0), site.real(1), site.real(2), site.whole(3), site.real(4)};
}

TEST(Calculation, Table) {
  const char* const trend = "dGtrend_calc";
  const char* const agg = "dGagg_calc";
  const double e = std::exp(1.0);
  struct Row {
    const char* what;
    const char* form;
    Vector labels, dG, errors;
    Whole include;
    Vector labelsOut, dGOut, errorOut;
    Whole used;
    Vector trend;
  };
  // clang-format off
  const Row rows[] = {
      {"a change beyond 300 counts", agg, {1, 2}, {4000, 4301}, {10, 20}, {1, 1},
       {1, 2}, {4000, 4301}, {10, 20}, {1, 1}, {301, 3699, 0, 2}},
      {"300.1 does", agg, {1, 4}, {4000, 4300.1}, {10, 20}, {1, 1},
       {1, 4}, {4000, 4300.1}, {10, 20}, {1, 1}, {100.1 - 0.2 / 3, 3900 - 0.1 / 3, 0, 2}},
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
    EXPECT_EQ(difference(row.labelsOut, got.labels, 1e-8), "");
    EXPECT_EQ(difference(row.dGOut, got.dG, 1e-8), "");
    EXPECT_EQ(difference(row.errorOut, got.error, 1e-8), "");
    EXPECT_EQ(got.used, row.used);
    EXPECT_EQ(difference(row.trend, got.trend, 1e-8), "");
  }
}

TEST(Calculation, AChangeAsLargeAsTheErrorsCounts) {
  const Vector labels{1, 2, 3}, dG{4000, 5100, 5900};
  const Vector line = calculate("dGagg_calc", labels, dG, {0, 0, 0}, {1, 1, 1}).trend;
  const double change = (line[1] + line[0] * 3) - (line[1] + line[0] * 1);
  for (const auto& [error, slope] :
       {std::pair{change, line[0]}, {std::nextafter(change, kInf), 0.0}}) {
    const Vector trend = calculate("dGagg_calc", labels, dG, {0, 7, error}, {1, 1, 1}).trend;
    EXPECT_EQ(trend[0], slope) << digits(error);
  }
}

TEST(SeriesCurves, LinesAndFractions) {
  const Vector labels{8, 2, kNaN, 4};
  const auto K = [](double dG) { return std::exp(-dG / kRT); };
  const auto D = [](double slope, double label) { return 800 + slope * std::log(label); };
  const double rise = std::exp((D(500, 5) - D(500, 2)) / kRT) - 1;
  const double slight = std::expm1((D(0.5, 5) - D(0.5, 2)) / kRT);
  const double fall = std::exp((D(-500, 2) - D(-500, 5)) / kRT) - 1;
  struct Row {
    const char* curve;
    double slope, first, middle;  // at the smallest label, 2, and halfway to the largest, 8
  };
  for (const Row& row :
       {Row{"dGtrend_trend", 500, D(500, 2), D(500, 5)},
        {"dGagg_trend", 500, 1800, 3300},
        {"dGtrend_fd", 500, K(D(500, 2)) / (1 + K(D(500, 2))), K(D(500, 5)) / (1 + K(D(500, 5)))},
        {"dGtrend_fd", 0, K(800) / (1 + K(800)), K(800) / (1 + K(800))},
        {"dGtrend_fragg", 500, 0, rise / (1 + K(D(500, 5)) + rise)},
        {"dGtrend_fragg", -500, 0, fall / (1 / K(D(-500, 5)) + 1 + fall)},
        {"dGtrend_fragg", 0.5, 0, slight / (1 + K(D(0.5, 5)) + slight)},
        {"dGtrend_fragg", 0, 0, 0},
        {"dGtrend_fragg", kNaN, 0, 0},
        {"dGtrend_fraggfd", -500, 0, fall / (1 + fall)},
        {"dGtrend_fraggfd", 500, 0, 0},
        {"dGtrend_fraggfd", kNaN, 0, 0}}) {
    const auto draw = [&row](const Vector& given, int n) {
      Arguments a;
      a.labels = given;
      a.trend = {row.slope, 800, 0, 0};
      a.n = n;
      const Called site(row.curve, a);
      return std::pair(site.real(0), site.real(1));
    };
    const auto [x, y] = draw(labels, 3);
    EXPECT_EQ(x, (Vector{2, 5, 8})) << row.curve;
    EXPECT_EQ(difference({row.first, row.middle}, {y[0], y[1]}, 1e-11), "") << row.curve;
    EXPECT_EQ(draw({3}, 3).second, Vector{1}) << row.curve;
    EXPECT_EQ(draw(labels, 0).second, Vector{1}) << row.curve;
  }
}

}  // namespace
