// Smoothing, m-value fits, the pH calibration and normalisation.
#include <gtest/gtest.h>

#include "smoothing/smoothing.h"
#include "support/exports.h"

namespace {

Vector smoothed(const Vector& y, double width) {
  Arguments a;
  a.y = y;
  a.width = width;
  return Called("emission_smooth", a).real(0);
}

// The window follows from the width: 1 point below 0.9338, then 3, from 2 on 5 and so forth, always
// odd; at the ends it shrinks to what lies on both sides.
TEST(EmissionSmooth, IsAMovingAverage) {
  const Vector bump{0, 9, 0, 0, 0, 30, 0, 0};
  const Vector three{0, 3, 3, 0, 10, 10, 10, 0};
  const Vector seven{0, 3, 9.0 / 5, 39.0 / 7, 39.0 / 7, 6, 10, 0};
  struct Row {
    double width;
    Vector y, smooth;
  };
  for (const Row& row : {Row{-4, bump, bump},
                         {0.93379, bump, bump},
                         {0.9337995337995338, bump, three},
                         {1.4, bump, three},
                         {3, bump, seven},
                         {500, bump, seven},
                         {kNaN, bump, seven},
                         {1, {4, 4, 4, 4}, {4, 4, 4, 4}},
                         {1, {3, 1}, {3, 1}},
                         {1, {2, kNaN, 6, 7}, {2, 4, 6.5, 7}},
                         {1, {1, kNaN, kNaN, kNaN, 5}, {1, 1, kNaN, 5, 5}},
                         {3, {}, {}}}) {
    EXPECT_EQ(difference(row.smooth, smoothed(row.y, row.width), 1e-14), "") << row.width;
  }
}

// The second smoother of the model picker, which no export shows by itself.
TEST(Smoothing, ParabolasPassTheSavitzkyGolayFilter) {
  const auto filtered = [](const Vector& y) {
    Vector out(y.size());
    zolt::smoothSGolay(y, out);
    return out;
  };
  for (std::size_t n : {1u, 2u, 3u, 4u, 5u, 6u, 30u}) {
    Vector parabola;
    for (std::size_t i = 0; i < n; ++i) {
      const auto t = static_cast<double>(i);
      parabola.push_back(3 - 2 * t + .5 * t * t);
    }
    EXPECT_EQ(difference(parabola, filtered(parabola), 1e-11), "") << n;
    // Holes are filled from the points around them, where enough are left.
    Vector holed = parabola;
    holed[n > 4 ? 1 : 0] = holed[n - 1] = n > 4 ? kNaN : parabola[n - 1];
    holed[0] = parabola[0];
    EXPECT_EQ(difference(parabola, filtered(holed), 1e-11), "") << n;
  }
  EXPECT_EQ(difference({-5.0 / 35, 6.0 / 35, 12.0 / 35, 17.0 / 35, 12.0 / 35, 6.0 / 35, -5.0 / 35},
                       filtered({0, 0, 0, 1, 0, 0, 0}), 1e-15),
            "");
  EXPECT_EQ(filtered(Vector(7, kNaN)), Vector(7, 0.0));
}

TEST(MValueFits, RecoverTheirOwnCurve) {
  const double standIn = 0.01;  // of the 0 in x: 1 over the ratio 100 of the extremes
  struct Row {
    const char* fit;
    double (*curve)(double);
  };
  for (const Row& row :
       {Row{"mfit1storder", [](double x) { return 2 - 3 * x; }},
        {"mfit2ndorder", [](double x) { return 2 - 3 * x + .25 * x * x; }},
        {"mfitlog", [](double x) { return 2 - 3 * std::log(x == 0 ? .01 : x); }}}) {
    Arguments a;
    a.x = Vector{0, 1, 10, 100};
    Vector fitted, drawn;
    // y lies at every second place, the factors at every third.
    for (double x : a.x.values) {
      a.y.values.insert(a.y.values.end(), {row.curve(x), kNaN});
      a.scale.values.insert(a.scale.values.end(), {x + standIn, kNaN, kNaN});
      fitted.push_back(row.curve(x) * (x + standIn));
    }
    a.y.size = {2, 4};
    a.scale.size = {3, 4};
    a.n = 6;
    const Vector grid{0, 20, 40, 60, 80, 100};
    for (double x : grid) {
      drawn.push_back(row.curve(x));
    }
    const Called site(row.fit, a);
    EXPECT_EQ(difference(fitted, site.real(0), 3e-4), "") << row.fit;
    EXPECT_EQ(difference(grid, site.real(2)), "") << row.fit;
    EXPECT_EQ(difference(drawn, site.real(3), 1e-8), "") << row.fit;
  }
}

TEST(PhEquation, GivesTheConstantFirst) {
  const auto calibrated = [](const Vector& first, const Vector& second, const Vector& pH) {
    Arguments a;
    a.scale = first;
    a.y = second;
    a.x = pH;
    return Called("pHequation", a).real(0);
  };
  const auto curve = [](const Vector& p, double x) {
    return p[0] + x * (p[1] + x * (p[2] + x * (p[3] + x * p[4])));
  };
  struct Row {
    double quartic;
    std::size_t points;
    double tolerance;  // of the coefficients, which fewer points than they are leave open
  };
  for (const Row& row : {Row{0, 20, 1e-9}, {2e-4, 20, 1e-9}, {0, 3, kInf}}) {
    const Vector c{.4, .05, -.02, .001, row.quartic};
    Vector first, second, pH, wanted, got;
    for (std::size_t i = 0; i < row.points; ++i) {
      pH.push_back(.4 * static_cast<double>(i) - 3);
      wanted.push_back(curve(c, pH.back()));
      second.push_back(50 * wanted.back());
      first.push_back(50 - second.back());
    }
    const Vector p = calibrated(first, second, pH);
    for (double at : pH) {
      got.push_back(curve(p, at));
    }
    EXPECT_EQ(difference(wanted, got, 1e-9), "");
    EXPECT_EQ(difference(c, p, row.tolerance), "");
  }
  // A point without a signal makes every residual nothing, and the cubic wins the tie.
  const Vector gap{0, 1, 1, 1, 1, 1};
  EXPECT_EQ(difference({kNaN, kNaN, kNaN, kNaN, 0}, calibrated(gap, gap, {1, 2, 3, 4, 5, 6})), "");
}

TEST(Normalisation, ScalesOnlyByAReferenceAboveZero) {
  for (const auto& [reference, factor] :
       {std::pair{4.0, .5}, {0.0, 1.0}, {-1.0, 1.0}, {kNaN, 1.0}}) {
    Arguments a;
    a.y = Vector{1, -3};
    a.reference = reference;
    a.value = 2.0;
    EXPECT_EQ(Called("dGtrend_normalization", a).real(0), (Vector{factor, -3 * factor}));
  }
}

}  // namespace
