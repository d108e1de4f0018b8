// Intervals: what their ends mean, how often they hold the truth, where they are open.
#include "simulated.h"

namespace {

using namespace simulated;

ZOLTI_Intervals intervals(const Data& data, const ZOLTI_Fit& found, int method = ZOLTI_PROFILE,
                          const ZOLTI_Options& options = usual(), double level = 0.95,
                          std::uint64_t seed = 1) {
  const ZOLTI_Curve curve = data.curve();
  ZOLTI_Intervals record;
  EXPECT_EQ(ZOLTI_intervals(&curve, &options, &found, method, level, 200, seed, &record, nullptr),
            record.status);
  return record;
}

// At the end of a profile interval the sum of squares has grown by t squared residual variances,
// times the widening for unequal scatter, which readings of equal scatter hardly need.
TEST(Intervals, ProfileEndsAreWhereTheSumOfSquaresHasGrown) {
  constexpr double kStudent18 = 2.10092204024104;  // two-sided 0.95, 18 degrees of freedom
  const Data data = sample(kOne, 24, 0.02, 7);
  const ZOLTI_Fit found = fit(data);
  const ZOLTI_Intervals spans = intervals(data, found);
  const auto growth = [&](double dG, double Cm, double m) {
    ZOLTI_Options options = usual();
    options.dG[0] = dG;
    options.Cm[0] = Cm;
    options.m[0] = m;
    const double grown = fit(data, 1, options).sse - found.sse;
    return std::sqrt(grown) / found.residual_sd / kStudent18;
  };
  for (int end = 0; end < 2; ++end) {
    EXPECT_NEAR(growth(spans.dG[0][end], kNaN, kNaN), 1.07, 0.08);
    EXPECT_NEAR(growth(kNaN, spans.Cm[0][end], kNaN), 1.07, 0.08);
    EXPECT_NEAR(growth(kNaN, kNaN, spans.m[0][end]), 1.07, 0.08);
  }
}

// A higher level never has a narrower interval, also where curves are poor, steep or have two
// transitions, and a dG with a steepness that nothing bounds has no bound either.
TEST(Intervals, ProfilesWidenWithTheLevel) {
  const std::vector<std::pair<std::vector<Transition>, double>> kinds{
      {kOne, 0.02},
      {kOne, 0.08},
      {{{26000.0, 1.3, 1.0}}, 0.01},
      {{{5000.0, 2.2, 0.5}, {13000.0, 5.6, 0.5}}, 0.01}};
  for (const auto& [transitions, sigma] : kinds) {
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
      const Data data = sample(transitions, 40, sigma, seed);
      const int count = static_cast<int>(transitions.size());
      const ZOLTI_Fit found = fit(data, count);
      ZOLTI_Intervals inner = intervals(data, found, ZOLTI_PROFILE, usual(), 0.5);
      for (const double level : {0.9, 0.95, 0.99, 0.998}) {
        const ZOLTI_Intervals outer = intervals(data, found, ZOLTI_PROFILE, usual(), level);
        for (int t = 0; t < count; ++t) {
          EXPECT_LE(outer.dG[t][0], inner.dG[t][0]) << sigma << " " << seed << " " << level;
          EXPECT_GE(outer.dG[t][1], inner.dG[t][1]) << sigma << " " << seed << " " << level;
          EXPECT_TRUE(std::isfinite(outer.m[t][1]) || std::isinf(outer.dG[t][1])) << level;
        }
        inner = outer;
      }
    }
  }
}

TEST(Intervals, HoldTheTruthAsOftenAsTheySay) {
  constexpr int kCurves = 400;
  int held[3] = {};
  for (std::uint64_t seed = 0; seed < kCurves; ++seed) {
    const Data data = sample(kOne, 24, 0.02, seed + 7000);
    const ZOLTI_Intervals spans = intervals(data, fit(data));
    held[0] += spans.dG[0][0] <= 5546.0 && 5546.0 <= spans.dG[0][1];
    held[1] += spans.Cm[0][0] <= 3.867 && 3.867 <= spans.Cm[0][1];
    held[2] += spans.m[0][0] <= 5546.0 / 3.867 && 5546.0 / 3.867 <= spans.m[0][1];
  }
  for (const int count : held) {
    EXPECT_GE(count, kCurves * 93 / 100);
    EXPECT_LE(count, kCurves * 99 / 100);
  }
}

TEST(Intervals, MethodsAgreeWhereTheCurveIsGood) {
  const Data data = sample(kOne, 60, 0.004, 5);
  const ZOLTI_Fit found = fit(data);
  const ZOLTI_Intervals profile = intervals(data, found);
  for (const int method : {ZOLTI_LINEAR, ZOLTI_BOOTSTRAP}) {
    const ZOLTI_Intervals other = intervals(data, found, method);
    const double width = other.dG[0][1] - other.dG[0][0];
    EXPECT_NEAR(width / (profile.dG[0][1] - profile.dG[0][0]), 1.0, 0.25) << method;
    EXPECT_NEAR((other.Cm[0][0] + other.Cm[0][1]) / 2.0, found.Cm[0], 0.3 * found.Cm_se[0]);
  }
  EXPECT_NEAR(
      intervals(data, found, ZOLTI_LINEAR).m[0][1] + intervals(data, found, ZOLTI_LINEAR).m[0][0],
      2.0 * found.m[0], 1e-6);
}

TEST(Intervals, BootstrapOfWeightedReadingsStandsAboutTheFit) {
  Data data = sample(kOne, 60, 0.004, 5);
  data.sd.assign(60, 1.0);
  data.sd[27] = 0.3;  // a reading that counts for many, and is off
  data.y[27] += 0.006;
  const ZOLTI_Fit found = fit(data);
  const ZOLTI_Intervals spans = intervals(data, found, ZOLTI_BOOTSTRAP);
  EXPECT_NEAR((spans.Cm[0][0] + spans.Cm[0][1]) / 2.0, found.Cm[0], 0.4 * found.Cm_se[0]);
}

TEST(Intervals, BootstrapFollowsItsSeed) {
  const Data data = sample(kOne, 24, 0.02, 5);
  const ZOLTI_Fit found = fit(data);
  const auto lower = [&](std::uint64_t seed) {
    return intervals(data, found, ZOLTI_BOOTSTRAP, usual(), 0.9, seed).dG[0][0];
  };
  EXPECT_EQ(lower(3), lower(3));
  EXPECT_NE(lower(3), lower(4));
}

TEST(Intervals, EndsThatTheReadingsDoNotSetAreOpen) {
  const Data step = plain([](double u) { return u < 0.5 ? 0.0 : 1.0; }, 20, 0.01, 3);
  const ZOLTI_Intervals steep = intervals(step, fit(step));
  EXPECT_EQ(steep.m[0][1], std::numeric_limits<double>::infinity());
  EXPECT_GT(steep.m[0][0], 1000.0);
  // The midpoint lies between the two readings, 3.79 and 4.21 apart from the noise.
  EXPECT_GT(steep.Cm[0][0], 3.7);
  EXPECT_LT(steep.Cm[0][1], 4.3);
}

TEST(Intervals, WhatIsHeldHasNoWidthAndNarrowsTheRest) {
  const Data data = sample(kOne, 24, 0.02, 5);
  ZOLTI_Options options = usual();
  options.m[0] = 5546.0 / 3.867;
  const ZOLTI_Fit found = fit(data, 1, options);
  const ZOLTI_Intervals held = intervals(data, found, ZOLTI_PROFILE, options);
  const ZOLTI_Intervals open = intervals(data, fit(data));
  EXPECT_NEAR(held.m[0][0], options.m[0], 1e-9);
  EXPECT_NEAR(held.m[0][1], options.m[0], 1e-9);
  EXPECT_LT(held.dG[0][1] - held.dG[0][0], 0.5 * (open.dG[0][1] - open.dG[0][0]));
}

TEST(Intervals, OfSeveralTransitionsHoldEach) {
  const Data data = sample(kTwo, 48, 0.005, 5);
  const ZOLTI_Intervals spans = intervals(data, fit(data, 2), ZOLTI_PROFILE, usual(), 0.999);
  for (std::size_t t = 0; t < 2; ++t) {
    EXPECT_LT(spans.dG[t][0], kTwo[t].dG);
    EXPECT_GT(spans.dG[t][1], kTwo[t].dG);
    EXPECT_LT(spans.Cm[t][1] - spans.Cm[t][0], 0.5);
  }
  EXPECT_EQ(spans.dG[2][1], 0.0);
}

}  // namespace
