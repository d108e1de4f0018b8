// Rules of the analyses one by one, at their limits: what a part, a midpoint, a weight and a width
// must be.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <span>
#include <tuple>

#include "analysis/packaging.h"
#include "analysis/part_fits.h"
#include "analysis/three_state.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A midpoint equal to the last signal is still within reach.
TEST(PartFit, IsUsableUpToTheLastSignal) {
  const double x[] = {0.0, 8.0}, y[] = {0.0, 1.0};
  for (const auto& [dG, Cm, usable] : {std::tuple(0.0, 0.0, true),
                                       {5000.0, 1.0, true},
                                       {5000.0, 1.0000001, false},
                                       {-1e-9, 1.0, false},
                                       {5000.0, -1e-9, false}}) {
    zolt::PartFit fit{};
    fit.p[0] = dG;
    fit.p[1] = Cm;
    EXPECT_EQ(zolt::isUsable(fit, {x, y}), usable) << dG << " " << Cm;
  }
}

// A fit of sound transitions with one parameter at `value`.
template <int Transitions>
bool plausibleWith(int place, double value,
                   zolt::WeightRange weights = zolt::kWeights<Transitions>) {
  using Order = zolt::ParameterOrder<Transitions>;
  const double x[] = {0.0, 8.0};
  zolt::Parameters<Transitions> p{};
  for (int t = 0; t < Transitions; ++t) {
    p[Order::dG(t)] = 2000.0 * (t + 1);
    p[Order::Cm(t)] = 2.0 * (t + 1);
    if (t + 1 < Transitions) {
      p[Order::weight(t)] = 0.3;
    }
  }
  p[place] = value;
  return zolt::plausible<Transitions>(p, x, weights);
}

// Both ends of a range belong to it.
template <class Plausible>
void expectRange(double least, double most, Plausible&& plausible) {
  EXPECT_TRUE(plausible(least) && plausible(most)) << least << " " << most;
  EXPECT_FALSE(plausible(std::nextafter(least, -1.0)) || plausible(kNaN)) << least;
  EXPECT_FALSE(plausible(std::nextafter(most, 1e9))) << most;
}

TEST(Plausible, KeepsMidpointsSlopesAndWeightsInTheirRanges) {
  using Two = zolt::ParameterOrder<1>;
  expectRange(2.0 * 100.0, 2.0 * 15000.0,
              [](double dG) { return plausibleWith<1>(Two::dG(0), dG); });
  expectRange(2000.0 / 15000.0, 8.0, [](double Cm) { return plausibleWith<1>(Two::Cm(0), Cm); });
  const auto three = zolt::kStrictWeights<2>;
  const auto four = zolt::kStrictWeights<3>;
  const int f = zolt::ParameterOrder<2>::weight(0);
  expectRange(0.08, 0.92, [&](double w) { return plausibleWith<2>(f, w); });
  expectRange(0.15, 0.85, [&](double w) { return plausibleWith<2>(f, w, three); });
  // The other one being 0.3; the greatest single weights would leave it too little.
  const double most = std::nextafter(0.7, 0.0);
  for (int t = 0; t < 2; ++t) {
    const int place = zolt::ParameterOrder<3>::weight(t);
    expectRange(0.06, most, [&](double w) { return plausibleWith<3>(place, w); });
    expectRange(0.12, most, [&](double w) { return plausibleWith<3>(place, w, four); });
  }
}

// A weight that was learned is held, a guarded one only between 0.01 and 0.99.
TEST(ThreeState, HoldsALearnedWeightWithinItsGuard) {
  const zolt::Held learned{.weight1 = true};
  const auto held = [](double weight, bool guarded, const zolt::Held& from) {
    zolt::Parameters<2> start{};
    const zolt::Held found = zolt::ThreeState::takeHints({weight, guarded}, from, {}, start);
    EXPECT_EQ(start[zolt::ParameterOrder<2>::weight(0)], found.weight1 ? weight : 0.0);
    return found.weight1;
  };
  EXPECT_TRUE(held(0.011, true, learned) && held(0.989, true, learned));
  EXPECT_FALSE(held(0.01, true, learned) || held(0.99, true, learned));
  EXPECT_FALSE(held(kNaN, true, learned) || held(0.5, true, {}) || held(0.5, false, {}));
  EXPECT_TRUE(held(0.005, false, learned));
}

// A sum of squares of 12 on four readings.
TEST(ConfidenceWidth, IsMinusOneWhereNothingWasFitted) {
  const double x[] = {0.0, 1.0, 2.0, 3.0}, y[] = {0.0, 1.0, 2.0, 3.0};
  const zolt::Curve curve{x, y}, uneven{x, std::span(y).first(3)};
  zolt::Misfit misfit{};
  misfit.sse = 12.0;
  const double width = zolt::tQuantileTable(4) * std::sqrt(6.0);
  EXPECT_EQ(zolt::confidenceWidth(0.0, curve, misfit), width);
  EXPECT_EQ(zolt::confidenceWidth(-0.1, curve, misfit), -1.0);
  EXPECT_EQ(zolt::confidenceWidth(1.0, uneven, misfit), -1.0);
  misfit.firstValue = -0.99;
  EXPECT_EQ(zolt::confidenceWidth(1.0, curve, misfit), width);
  misfit.firstValue = -1.0;
  EXPECT_EQ(zolt::confidenceWidth(1.0, curve, misfit), -1.0);
}

}  // namespace
