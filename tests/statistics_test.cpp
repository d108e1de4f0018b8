// The measures of candidates: filters at their bounds, R-squared, order, end agreement, packaging.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "analysis/packaging.h"
#include "elementary/exponential.h"
#include "support/bits.h"
#include "support/generated_curves.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
using Vector = std::vector<double>;

constexpr double kRT = (25 + 273.15) * 1.9872;
constexpr zolt::Parameters<1> kTwo{6000, 4, 10, 0, 60, 0, kRT};
constexpr zolt::Parameters<2> kThree{6000, 2, 9000, 5, 0.5, 10, 0, 60, 0, kRT};
constexpr zolt::Parameters<3> kFour{6000, 2, 9000, 4, 9000, 6, 0.4, 0.3, 10, 0, 60, 0, kRT};

// One parameter of a plausible vector replaced, and whether the two filters then pass.
struct Replacement {
  std::size_t parameter;
  double value;
  bool passes;
  bool passesStrict;
};

template <int Transitions>
void expectFiltered(zolt::Parameters<Transitions> p, const std::vector<Replacement>& rows) {
  const Vector x{0, 8};
  for (const Replacement& row : rows) {
    auto replaced = p;
    replaced[row.parameter] = row.value;
    EXPECT_EQ(zolt::plausible<Transitions>(replaced, x), row.passes)
        << Transitions << " transitions, parameter " << row.parameter << " " << digits(row.value);
    EXPECT_EQ(zolt::plausible<Transitions>(replaced, x, zolt::kStrictWeights<Transitions>),
              row.passesStrict)
        << Transitions << " strict, parameter " << row.parameter << " " << digits(row.value);
  }
}

TEST(Plausible, Bounds) {
  const double above = std::nextafter(8.0, 9.0);
  expectFiltered<1>(kTwo, {{0, 400, true, true},
                           {0, 399.9, false, false},
                           {0, 60000, true, true},
                           {0, 60000.1, false, false},
                           {0, -6000, false, false},
                           {0, kNaN, false, false},
                           {1, 8, true, true},
                           {1, above, false, false},
                           {1, 0, false, false},
                           {1, -0.0, false, false},
                           {1, -4, false, false},
                           {1, kNaN, false, false},
                           {2, kNaN, true, true},
                           {6, -1, true, true}});
  expectFiltered<2>(kThree, {{1, 8, true, true},
                             {3, above, false, false},
                             {2, 499, false, false},
                             {4, 0.08, true, false},
                             {4, 0.0799, false, false},
                             {4, 0.92, true, false},
                             {4, 0.9201, false, false},
                             {4, 0.15, true, true},
                             {4, 0.85, true, true},
                             {4, kNaN, false, false}});
  expectFiltered<3>(kFour, {{5, above, false, false},
                            {4, 90001, false, false},
                            {6, 0.06, true, false},
                            {6, 0.059, false, false},
                            {6, 0.12, true, true},
                            {6, 0.69, true, true},
                            {6, 0.7, false, false},
                            {7, 0.06, true, false},
                            {7, 0.12, true, true},
                            {7, 0.94, false, false},
                            {7, kNaN, false, false}});
}

TEST(RSquared, Edges) {
  struct Row {
    const char* what;
    Vector y, fitted;
    double wanted;
  };
  for (const Row& row : {Row{"perfect", {1, 2, 3}, {1, 2, 3}, 1},
                         {"constant y", {2, 2, 2}, {2, 2, 2}, -1},
                         {"first value -1", {-1, 2, 3}, {-1, 2, 3}, -1},
                         {"later value -1", {1, -1, 3}, {1, -1, 3}, 1},
                         {"as good as the mean", {1, 2, 3}, {2, 2, 2}, 0},
                         {"worse than the mean", {1, 2, 3}, {3, 2, 1}, -1},
                         {"a NaN fit costs nothing", {1, 2, 3}, {1, kNaN, 3}, 1},
                         {"a NaN signal costs nothing", {1, kNaN, 3}, {1, 2, 3}, -1},
                         {"infinite fit", {1, 2, 3}, {1, kInf, 3}, -1},
                         {"half", {0, 0, 2, 2}, {0, 1, 1, 2}, 0.5},
                         {"no points", {}, {}, -1}}) {
    const double got = zolt::rSquared(row.y, row.fitted);
    EXPECT_TRUE(sameBits(row.wanted, got)) << row.what << " " << wantedGot(row.wanted, got);
  }
}

TEST(OrderTransitions, EachKeepsItsWeight) {
  const auto three = [](double Cm1, double Cm2, double f) {
    auto p = kThree;
    p[1] = Cm1, p[3] = Cm2, p[4] = f;
    zolt::orderTransitions<2>(p);
    return Vector{p[0], p[1], p[2], p[3], p[4]};
  };
  EXPECT_EQ(three(2, 5, 0.25), (Vector{6000, 2, 9000, 5, 0.25}));
  EXPECT_EQ(three(5, 2, 0.25), (Vector{9000, 2, 6000, 5, 0.75}));
  EXPECT_EQ(three(3, 3, 0.25), (Vector{6000, 3, 9000, 3, 0.25}));
  EXPECT_EQ(three(kNaN, 3, 0.25)[4], 0.25);

  // Every order of three midpoints ends ascending, with the energy and weight that each had.
  const int orders[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
  const double weights[] = {0.5, 0.125, 0.375};
  for (const auto& order : orders) {
    auto p = kFour;
    for (std::size_t t = 0; t < 3; ++t) {
      p[2 * t] = 1000 * (order[t] + 1);
      p[2 * t + 1] = order[t] + 1;
    }
    p[6] = weights[order[0]], p[7] = weights[order[1]];
    const bool moved = zolt::orderTransitions<3>(p);
    EXPECT_EQ(moved, &order != &orders[0]);
    for (int t = 0; t < 3; ++t) {
      EXPECT_EQ(p[static_cast<std::size_t>(2 * t + 1)], t + 1) << order[0] << order[1] << order[2];
      EXPECT_EQ(p[static_cast<std::size_t>(2 * t)], 1000 * (t + 1));
      EXPECT_EQ(zolt::weightsOf<3>(p.data())[static_cast<std::size_t>(t)], weights[t])
          << order[0] << order[1] << order[2];
    }
  }
}

TEST(BaselineCheck, ThreeOfFivePointsWithinTheTolerance) {
  // Far from the transition the fraction is 0 at the left end and 1 at the right end.
  const Vector x{0, 0.01, 0.02, 0.03, 0.04, 7.96, 7.97, 7.98, 7.99, 8};
  zolt::Parameters<1> p{40000, 4, 10, 0, 60, 0, kRT};
  struct Row {
    const char* what;
    int badNative, badDenatured;
    bool native, denatured;
  };
  for (const Row& row : {Row{"all agree", 0, 0, true, true}, Row{"two off", 2, 2, true, true},
                         Row{"three off at the left", 3, 0, false, true},
                         Row{"three off at the right", 0, 3, true, false}}) {
    Vector y{10, 10, 10, 10, 10, 60, 60, 60, 60, 60};
    for (std::size_t k = 0; k < 5; ++k) {
      y[k] += static_cast<int>(k) < row.badNative ? 1.5 : 0.9;
      y[9 - k] -= static_cast<int>(k) < row.badDenatured ? 1.5 : 0.9;
    }
    const zolt::Curve curve{x, y};
    const auto yardstick = zolt::Yardstick{1, 50};
    const auto ends = zolt::baselineCheck<1>(curve, p, yardstick);
    EXPECT_EQ(ends.native, row.native) << row.what;
    EXPECT_EQ(ends.denatured, row.denatured) << row.what;
  }
  // The native intercept serves at both ends; a falling signal agrees by its distance from it.
  const Vector falling{60, 60, 60, 60, 60, 10, 10, 10, 10, 10};
  p[2] = 60, p[4] = 10;
  EXPECT_TRUE(zolt::baselineCheck<1>({x, falling}, p, {1, 50}).denatured);
  // No range, too few points, a negative or missing energy: nothing agrees.
  const Vector level(10, 10.0);
  p[2] = 10;
  EXPECT_FALSE(zolt::baselineCheck<1>({x, level}, p, zolt::yardstickOf(level)).native);
  EXPECT_FALSE(zolt::baselineCheck<1>(zolt::Curve{x, level}.part(0, 4), p, {1, 50}).native);
  for (double dG : {-1.0, kNaN}) {
    p[0] = dG;
    EXPECT_FALSE(zolt::baselineCheck<1>({x, level}, p, {1, 50}).native) << dG;
  }
}

TEST(TQuantiles, KnownEntries) {
  struct Row {
    std::size_t degrees;
    double value;
  };
  for (const Row& row : {Row{1, 6.31375151467504},
                         {2, 2.91998558035372},
                         {8, 1.8595480375309},
                         {384, 1.64883142452112}}) {
    EXPECT_NEAR(zolt::tQuantileTable(row.degrees), row.value, 1e-12 * row.value) << row.degrees;
  }
  for (std::size_t degrees = 2; degrees <= 384; ++degrees) {
    EXPECT_LT(zolt::tQuantileTable(degrees), zolt::tQuantileTable(degrees - 1)) << degrees;
  }
}

TEST(ConfidenceWidth, CountsPointsInTwoWays) {
  for (std::size_t n : {8u, 384u, 400u}) {
    const Vector row(n, 1.0);
    const double wanted =
        zolt::tQuantileTable(n < 384 ? n : 384) * std::sqrt(3.0 / (static_cast<double>(n) - 2));
    EXPECT_EQ(zolt::confidenceWidth(4, {row, row}, {5, 3.0}), wanted) << n;
    EXPECT_EQ(zolt::confidenceWidth(-0.1, {row, row}, {5, 3.0}), -1) << n;
    EXPECT_EQ(zolt::confidenceWidth(4, {row, row}, {-1, 3.0}), -1) << n;
  }
}

template <int Transitions>
void expectPackaged(const zolt::Parameters<Transitions>& p) {
  using Order = zolt::ParameterOrder<Transitions>;
  CurveRecipe recipe;
  recipe.points = 20;
  const GeneratedCurve curve = generateCurve(recipe, 1);
  std::array<double, ZOLTA_RESULT_LENGTH> result;
  result.fill(7);
  const zolt::Curve points{curve.x, curve.y};
  const auto misfit = zolt::misfitOf<Transitions>(points, p);
  const auto yardstick = zolt::yardstickOf(points.y);
  zolt::package<Transitions>(points, p, misfit, yardstick, 42, zolt::resultView(result.data()));
  EXPECT_EQ(zolt::parametersOf<Transitions>(zolt::resultView(std::as_const(result).data())), p);
  EXPECT_EQ(result[ZOLTA_FIT_CODE], 42);
  EXPECT_EQ(result[ZOLTA_R_SQUARED], zolt::rSquared(misfit, yardstick));
  for (std::size_t t = 0; t < 3; ++t) {
    const bool there = t < Transitions;
    const double dG = there ? p[2 * t] : 0;
    const double ppm = result[ZOLTA_K1_PPM + t];
    EXPECT_EQ(result[ZOLTA_DG1_WIDTH + t] != 0, there) << t;
    EXPECT_EQ(ppm, there ? zolt::exponential(-(dG / p[Order::RT])) * 1e6 : 0.0) << t;
  }
  EXPECT_EQ(result[21] + result[22] + result[23], 0.0);

  for (double dG : {-1.0, kNaN}) {
    auto without = p;
    without[0] = dG;
    zolt::package<Transitions>(points, without, misfit, yardstick, 9,
                               zolt::resultView(result.data()));
    std::array<double, ZOLTA_RESULT_LENGTH> shape;
    zolt::writeFailure(Transitions, 9, zolt::resultView(shape.data()));
    EXPECT_EQ(result, shape) << Transitions << " transitions";
  }
}

TEST(Package, WritesEveryElement) {
  expectPackaged<1>(kTwo);
  expectPackaged<2>(kThree);
  expectPackaged<3>(kFour);
}

}  // namespace
