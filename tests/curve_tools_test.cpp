// Fitted curves, spike and outlier marks, and the choice of the number of states.
#include <gtest/gtest.h>

#include <numeric>

#include "smoothing/smoothing.h"
#include "support/exports.h"

namespace {

// aN, bN, aU, bU, dG1, Cm1, dG2, Cm2, w1, dG3, Cm3, w2, RT
Vector resultOf(Vector elements) {
  elements.resize(ZOLTA_RESULT_LENGTH);
  return elements;
}
const Vector kTwo = resultOf({1, .1, 5, -.2, 3000, 3, 0, 0, 0, 0, 0, 0, 592});
const Vector kThree = resultOf({1, .1, 5, -.2, 3000, 2, 6000, 4, .3, 0, 0, 0, 592});
const Vector kFour = resultOf({1, .1, 5, -.2, 2000, 1, 6000, 3, .3, 9000, 5, .25, 592});

struct Drawn {
  Vector x, y;
};
Drawn draw(const char* what, const Vector& x, const Vector& result, int n) {
  Arguments a;
  a.x = x;
  a.result = result;
  a.n = n;
  const Called site("ChemDenat" + std::string(what) + "FitCurve", a);
  return {site.real(0), site.real(1)};
}

TEST(FittedCurves, GridFollowsTheEndsOfX) {
  struct Row {
    const char* curve;
    int n;
    Vector x, grid;
  };
  const char* const signal = "Fluorescence";
  const char* const slope = "FirstDerivative";
  const double most = std::numeric_limits<double>::max();
  for (const Row& row : {Row{signal, 0, {0, 6}, {}},
                         {signal, -2, {0, 6}, {}},
                         {signal, 1, {0, 6}, {6}},
                         {signal, 2, {0, 9, 6}, {0, 6}},
                         {signal, 4, {6, 0}, {6, 4, 2, 0}},
                         {signal, 3, {-most, most}, {-most, 0, most}},
                         {signal, 2, {}, {0, 0}},
                         {slope, 0, {0, 6}, {}},
                         {slope, -2, {0, 6}, {}},
                         {slope, 1, {0, 6}, {0}},
                         {slope, 3, {0, 6}, {0, 2, 4}},
                         {slope, 2, {6, 0}, {6, 3}}}) {
    const Drawn drawn = draw(row.curve, row.x, kTwo, row.n);
    EXPECT_EQ(drawn.x, row.grid) << row.n;
    EXPECT_EQ(drawn.y.size(), row.grid.size()) << row.n;
  }
}

TEST(FittedCurves, ValuesOfEveryModel) {
  const auto fraction = [](double dG, double Cm, double x) {
    const double K = std::exp(-dG * (1 - x / Cm) / 592);
    return K / (1 + K);
  };
  struct Row {
    const Vector& result;
    std::function<double(double)> fraction;
  };
  const Vector x{0, 7};
  for (const Row& row :
       {Row{kTwo, [&](double at) { return fraction(3000, 3, at); }},
        {kThree,
         [&](double at) { return .3 * fraction(3000, 2, at) + .7 * fraction(6000, 4, at); }},
        {kFour, [&](double at) {
           return .3 * fraction(2000, 1, at) + .25 * fraction(6000, 3, at) +
                  .45 * fraction(9000, 5, at);
         }}}) {
    Vector fractions, signals, slopes;
    for (double at = 0; at <= 7; ++at) {
      const double f = row.fraction(at);
      fractions.push_back(f);
      signals.push_back((1 - f) * (1 + .1 * at) + f * (5 - .2 * at));
      slopes.push_back(row.fraction(at + 1) - f);
    }
    slopes.pop_back();
    EXPECT_EQ(difference(fractions, draw("FD", x, row.result, 8).y, 1e-14), "");
    EXPECT_EQ(difference(signals, draw("Fluorescence", x, row.result, 8).y, 1e-13), "");
    EXPECT_EQ(difference(slopes, draw("FirstDerivative", x, row.result, 7).y, 1e-13), "");
  }
  EXPECT_EQ(draw("FD", {0, 6}, kTwo, 3).y[1], 0.5);
  for (double RT : {-1.0, 0.0, kNaN}) {
    Vector none = kTwo;
    none[ZOLTA_RT] = RT;
    for (const char* curve : {"Fluorescence", "FD", "FirstDerivative"}) {
      EXPECT_EQ(draw(curve, {0, 6}, none, 3).y, Vector(3, 0.0)) << RT;
    }
  }
}

TEST(Spikes, Marks) {
  struct Row {
    Vector lifted;  // the signal plus 1
    Whole mask;
  };
  for (const Row& row : {Row{{1, 1, 6, 1, 1}, {1, 1, 0, 1, 1}},
                         {{1, 2, 4}, {1, 0, 1}},
                         {{1, 9, 1, 1, 1}, {1, 0, 1, 1, 1}},
                         {{1, 1, 1, 2}, {1, 1, 1, 0}},
                         {{1, 1, 5, 5, 1, 1}, {1, 1, 1, 1, 1, 1}},
                         {{1, 5, 5, 1, 1}, {0, 1, 1, 1, 1}},
                         {{5, 6, 5}, {1, 1, 1}},
                         {{5, 6.01, 5}, {1, 0, 1}},
                         {{-3, -3.5, -3}, {1, 0, 1}},
                         {{1, kNaN, 9}, {1, 1, 1}},
                         {{1, 2}, {0, 1}},
                         {{5, 4}, {0, 1}},
                         {{5, 4.5}, {1, 1}},
                         {{7}, {1}},
                         {{}, {}}}) {
    Vector y = row.lifted;
    for (double& value : y) {
      value -= 1.0;
    }
    Arguments a;
    a.y = y;
    EXPECT_EQ(Called("ChemDenatKillSpikes", a).whole(0), row.mask)
        << testing::PrintToString(row.lifted);
  }
}

// Beside a fit that is 0 everywhere a reading is its own distance from the fit.
TEST(Outliers, AreFartherThanAPartOfTheDeviation) {
  struct Row {
    const char* what;
    Vector y;
    double RT;
    Whole mask;
  };
  // Four readings 1, -1, t and -t have the deviation sqrt((1 + t t) / 2), which t is 0.15 of at
  // 0.10667.
  for (const Row& row : {
           Row{"a little nearer", {1, -1, 0.1066, -0.1066}, 592, {0, 0, 1, 1}},
           {"a little farther", {1, -1, 0.1068, -0.1068}, 592, {0, 0, 0, 0}},
           {"a few", {0, 0, 1, 0, 0, 0, 0, 0}, 592, {1, 1, 0, 1, 1, 1, 1, 1}},
           {"all alike", {0, 0, 0, 0}, 592, {1, 1, 1, 1}},
           {"no fit", {0, 0, 9, 0}, -1, {1, 1, 1, 1}},
       }) {
    Arguments a;
    a.result = resultOf({0, 0, 0, 0, 3000, 3, 0, 0, 0, 0, 0, 0, row.RT});
    a.y = row.y;
    a.x = Vector(row.y.size(), 1.0);
    EXPECT_EQ(Called("ChemDenatOutlierRemoval", a).whole(0), row.mask) << row.what;
    a.x.values.push_back(7.0);
    a.x = a.x.values;
    EXPECT_EQ(Called("ChemDenatOutlierRemoval", a).whole(0), Whole(row.y.size() + 1, 1))
        << "lengths that differ mark nothing";
  }
}

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

TEST(ModelPicker, CountsCleanTransitionsAndTakesAllElseForOne) {
  const auto pick = [](const Vector& y) {
    Arguments a;
    a.y = y;
    return Called("ChemDenatModelPicker", a).whole(0)[0];
  };
  for (std::size_t n : {48u, 96u, 256u, 257u, 384u}) {
    for (int transitions : {1, 2, 3}) {
      EXPECT_EQ(pick(sigmoids(n, transitions)), transitions + 1) << n;
    }
  }
  // Missing points are filled from their neighbours.
  Vector holes = sigmoids(96, 2);
  holes[10] = holes[50] = holes[51] = kNaN;
  EXPECT_EQ(pick(holes), 3);
  for (const Vector& y : {Vector{}, Vector{1, 2}, Vector(385, 1.0), Vector(48, 7.0),
                          Vector(48, kNaN), Vector(3, 0.0), sigmoids(385, 3)}) {
    EXPECT_EQ(pick(y), 2) << y.size();
  }
}

// A parabola through three points meets them to rounding, which shows that they were filtered.
TEST(Smoothing, FiltersFromThreePointsOn) {
  for (const std::size_t n : {1u, 2u, 3u, 4u}) {
    const Vector y = {0.1, 0.7, 0.3, 0.9};
    Vector smooth(n);
    zolt::smoothSGolay(std::span(y).first(n), smooth);
    bool same = true;
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_NEAR(smooth[i], y[i], n < 4 ? 1e-15 : 1.0) << n;
      same = same && smooth[i] == y[i];
    }
    EXPECT_EQ(same, n < 3) << n;
  }
}

}  // namespace
