// The least sum of squares: it is the least, no unit moves it, and the choices mean what they say.
#include <algorithm>
#include <cstring>
#include <numeric>

#include "inference/least_squares.h"
#include "simulated.h"

namespace {

using namespace simulated;
using CurveSetup = zolt::inference::Setup;

TEST(Optimum, CurvesWithoutNoiseGiveTheirTruth) {
  const std::vector<Transition>* const truths[] = {&kOne, &kTwo, &kThree};
  for (int k = 1; k <= 3; ++k) {
    const ZOLTI_Fit found = fit(sample(*truths[k - 1], 64, 0.0), k);
    ASSERT_EQ(found.status, ZOLTI_FITTED);
    EXPECT_GT(found.agreeing, 1);
    EXPECT_LE(found.agreeing, found.starts);
    for (std::size_t t = 0; t < static_cast<std::size_t>(k); ++t) {
      const Transition& truth = (*truths[k - 1])[t];
      EXPECT_NEAR(found.dG[t] / truth.dG, 1.0, 1e-6) << k << " transitions, " << t;
      EXPECT_NEAR(found.Cm[t] / truth.Cm, 1.0, 1e-6);
      EXPECT_NEAR(found.weight[t] / truth.weight, 1.0, 1e-6);
    }
    EXPECT_NEAR(found.baseline[1], 0.004, 1e-7);
    EXPECT_NEAR(found.baseline[2], 1.0, 1e-6);
  }
}

// Searches from a hundred random shapes must not find a smaller sum of squares.
TEST(Optimum, NoRandomStartFindsLess) {
  for (std::uint64_t seed = 1; seed <= 24; ++seed) {
    const int n = 10 + static_cast<int>(seed) * 2;
    const Data data = sample(seed % 2 == 0 ? kOne : kTwo, n, seed % 3 == 0 ? 0.05 : 0.01, seed);
    const ZOLTI_Curve curve = data.curve();
    ZOLTI_Options options = usual();
    options.native_kind = seed % 4 == 1 ? ZOLTI_GIVEN : ZOLTI_LINE;
    options.denatured_kind = seed % 4 == 2 ? ZOLTI_GIVEN : ZOLTI_LINE;
    const double truth[] = {0.1, 0.004, 1.0, -0.003};
    std::copy(truth, truth + 4, options.baseline);
    CurveSetup setup;
    ASSERT_EQ(zolt::inference::prepare(&curve, &options, setup), ZOLTI_FITTED);
    const ZOLTI_Fit found = fit(data, 1, options);
    Noise random(seed + 99);
    for (int start = 0; start < 100; ++start) {
      zolt::inference::Shape shape;
      shape.c[0] = random.even();
      shape.logS[0] = 5.0 * random.even();
      const auto rival = zolt::inference::leastNear(setup, shape);
      EXPECT_GE(rival.sse * setup.readings.sseUnit, found.sse * (1.0 - 1e-9)) << "seed " << seed;
    }
  }
}

// The record with the changed unit, in the old one.
TEST(Optimum, UnitsOfTheSignalMoveNothing) {
  for (int k = 1; k <= 2; ++k) {
    const Data data = sample(k == 1 ? kOne : kTwo, 40, 0.01, 5);
    const ZOLTI_Fit found = fit(data, k);
    for (const auto& [factor, shift] : {std::pair(1e-3, 7.0), {-2e6, 0.0}, {1e100, -3e100}}) {
      Data changed = data;
      for (double& y : changed.y) {
        y = factor * y + shift;
      }
      const ZOLTI_Fit again = fit(changed, k);
      for (int t = 0; t < k; ++t) {
        EXPECT_NEAR(again.dG[t] / found.dG[t], 1.0, 1e-9);
        EXPECT_NEAR(again.Cm[t] / found.Cm[t], 1.0, 1e-9);
        EXPECT_NEAR(again.dG_se[t] / found.dG_se[t], 1.0, 1e-8);
      }
      EXPECT_NEAR(again.baseline[3] / (factor * found.baseline[3]), 1.0, 1e-6);
    }
  }
}

TEST(Optimum, UnitsAndOrderOfTheConcentrationsMoveNothing) {
  const Data data = sample(kOne, 24, 0.01);
  const ZOLTI_Fit found = fit(data);
  Data changed;
  ZOLTI_Options alone = usual();
  alone.without_engine = 1;
  for (std::size_t i = data.x.size(); i-- > 0;) {
    changed.x.push_back(1000.0 * data.x[i]);
    changed.y.push_back(data.y[i]);
  }
  const ZOLTI_Fit again = fit(changed, 1, alone);
  EXPECT_NEAR(again.dG[0] / found.dG[0], 1.0, 1e-9);
  EXPECT_NEAR(again.Cm[0] / found.Cm[0], 1000.0, 1e-6);
  EXPECT_NEAR(again.m[0] / found.m[0], 1e-3, 1e-11);
}

TEST(Optimum, TheSameInputGivesTheSameBits) {
  for (int k = 1; k <= 3; ++k) {
    const Data data = sample(kTwo, 48, 0.01, 3);
    const ZOLTI_Fit first = fit(data, k), second = fit(data, k);
    EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);
  }
}

TEST(Optimum, MissingReadingsAreCountedAndOtherwiseAbsent) {
  const Data data = sample(kOne, 24, 0.01);
  Data holes = data;
  for (const double gone : {kNaN, std::numeric_limits<double>::infinity()}) {
    holes.x.insert(holes.x.begin() + 4, 1.0);
    holes.y.insert(holes.y.begin() + 4, gone);
    holes.x.push_back(gone);
    holes.y.push_back(0.5);
  }
  const ZOLTI_Curve curve = holes.curve();
  std::vector<double> residual(holes.x.size());
  ZOLTI_Fit found;
  ASSERT_EQ(ZOLTI_fit(&curve, 1, nullptr, &found, residual.data(), nullptr), ZOLTI_FITTED);
  EXPECT_EQ(found.missing, 4);
  EXPECT_EQ(found.readings, 24);
  EXPECT_EQ(found.dG[0], fit(data).dG[0]);
  EXPECT_TRUE(std::isnan(residual[4]) && std::isnan(residual[5]) && std::isnan(residual.back()));
  double sum = 0.0;
  for (const double r : residual) {
    sum += std::isnan(r) ? 0.0 : r * r;
  }
  EXPECT_NEAR(sum / found.sse, 1.0, 1e-9);
}

// A reading with half the variance counts as the mean of two.
TEST(Optimum, WeightsAreRepeatedReadings) {
  const Data twice = sample(kOne, 24, 0.02, 8);
  Data weighted = twice, repeated = twice;
  weighted.sd.assign(24, 3.0);
  for (const std::size_t i : {3U, 11U, 12U}) {
    weighted.sd[i] = 3.0 / std::sqrt(2.0);
    repeated.x.push_back(twice.x[i]);
    repeated.y.push_back(twice.y[i]);
  }
  const ZOLTI_Fit a = fit(weighted), b = fit(repeated);
  EXPECT_NEAR(a.dG[0] / b.dG[0], 1.0, 1e-8);
  EXPECT_NEAR(a.sse * 9.0 / b.sse, 1.0, 1e-8);
  EXPECT_EQ(b.concentrations, 24);
  EXPECT_EQ(b.pure_degrees, 3.0);
}

TEST(Optimum, KnownDeviationsTellTheErrorsByThemselves) {
  Data data = sample(kOne, 24, 0.02, 8);
  data.sd.assign(24, 0.02);
  ZOLTI_Options options = usual();
  const ZOLTI_Fit relative = fit(data, 1, options);
  options.sd_known = 1;
  const ZOLTI_Fit known = fit(data, 1, options);
  EXPECT_NEAR(relative.Cm_se[0] / known.Cm_se[0], relative.residual_sd, 1e-9);
  for (double& sd : data.sd) {
    sd = 0.04;
  }
  EXPECT_NEAR(fit(data, 1, options).Cm_se[0] / known.Cm_se[0], 2.0, 1e-9);
}

TEST(Optimum, LackOfFitShowsBesideReplicates) {
  for (const bool bent : {false, true}) {
    Data data;
    Noise noise(4);
    for (int i = 0; i < 72; ++i) {
      const double x = i / 3 * 8.0 / 23.0;
      data.x.push_back(x);
      data.y.push_back(signalAt(bent ? kTwo : kOne, x) + 0.005 * noise.normal());
    }
    const ZOLTI_Fit found = fit(data);
    EXPECT_EQ(found.pure_degrees, 48.0);
    EXPECT_NEAR(found.pure_sse / 48.0, 25e-6, 12e-6);
    EXPECT_EQ(found.lack_p < 0.01, bent) << found.lack_p;
  }
}

// Whatever is held at the optimum leaves the optimum, with the right parameters free.
TEST(Optimum, HoldingWhatWasFoundChangesNothingElse) {
  const Data data = sample(kOne, 24, 0.01);
  const ZOLTI_Fit found = fit(data);
  struct Case {
    const char* name;
    double dG, Cm, m;
    int free;
  };
  const Case cases[] = {{"m", kNaN, kNaN, found.m[0], 5},
                        {"Cm", kNaN, found.Cm[0], kNaN, 5},
                        {"dG", found.dG[0], kNaN, kNaN, 5},
                        {"dG and m", found.dG[0], kNaN, found.m[0], 4},
                        {"dG and Cm", found.dG[0], found.Cm[0], kNaN, 4},
                        {"all", found.dG[0], found.Cm[0], found.m[0], 4}};
  for (const Case& one : cases) {
    ZOLTI_Options options = usual();
    options.dG[0] = one.dG;
    options.Cm[0] = one.Cm;
    options.m[0] = one.m;
    const ZOLTI_Fit again = fit(data, 1, options);
    ASSERT_EQ(again.status, ZOLTI_FITTED) << one.name;
    EXPECT_EQ(again.free_parameters, one.free) << one.name;
    EXPECT_NEAR(again.sse / found.sse, 1.0, 1e-9) << one.name;
    EXPECT_NEAR(again.dG[0] / found.dG[0], 1.0, 1e-6) << one.name;
    EXPECT_EQ(again.dG_se[0] == -1.0, !std::isnan(one.dG)) << one.name;
    EXPECT_LT(again.baseline_se[2], found.baseline_se[2]) << one.name;
  }
}

// A held dG leaves m free as long as the midpoint dG/m stays within its bounds; no m in there does
// better. Where there is no such m, the choice is refused.
TEST(Optimum, AHeldFreeEnergyLeavesEverySlopeThatItsMidpointAllows) {
  struct Case {
    double first, dG;
    int status;
  };
  constexpr double kReach = 8.0;
  const Case cases[] = {{0.0, 1500.0, ZOLTI_FITTED},  {0.0, 9000.0, ZOLTI_FITTED},
                        {0.0, -300.0, ZOLTI_FITTED},  {0.0, 0.0, ZOLTI_FITTED},
                        {3.0, 400.0, ZOLTI_FITTED},   {3.0, 0.0, ZOLTI_BAD_HELD},
                        {3.0, -300.0, ZOLTI_BAD_HELD}};
  for (const Case& one : cases) {
    SCOPED_TRACE(std::to_string(one.first) + " M, " + std::to_string(one.dG));
    Data data = sample(kOne, 24, 0.02, 3, kReach);
    for (std::size_t i = 0; i < 24; ++i) {
      data.x[i] = one.first + (kReach - one.first) * data.x[i] / kReach;
    }
    ZOLTI_Options options = usual();
    options.margin = 0.25;
    options.dG[0] = one.dG;
    const ZOLTI_Fit found = fit(data, 1, options);
    ASSERT_EQ(found.status, one.status);
    if (one.status != ZOLTI_FITTED) {
      continue;
    }
    const double margin = options.margin * (kReach - one.first);
    int better = 0, tried = 0;
    for (double m = 40.0; m < 12000.0; m *= 1.05) {
      options.m[0] = m;
      const double Cm = one.dG / m;
      if (one.first - margin <= Cm && Cm <= kReach + margin) {
        better += fit(data, 1, options).sse < found.sse * (1.0 - 1e-9);
        ++tried;
      }
    }
    EXPECT_GT(tried, 20);
    EXPECT_EQ(better, 0) << found.m[0];
  }
}

TEST(Optimum, BaselinesAreFittedFlatOrGiven) {
  const Data data = sample(kOne, 24, 0.0);
  ZOLTI_Options options = usual();
  options.native_kind = options.denatured_kind = ZOLTI_GIVEN;
  const double truth[] = {0.1, 0.004, 1.0, -0.003};
  std::copy(truth, truth + 4, options.baseline);
  ZOLTI_Fit found = fit(data, 1, options);
  EXPECT_EQ(found.free_parameters, 2);
  EXPECT_NEAR(found.dG[0], 5546.0, 1e-3);
  EXPECT_NEAR(found.baseline[3], -0.003, 1e-15);
  EXPECT_EQ(found.baseline_se[3], -1.0);
  options.denatured_kind = ZOLTI_FLAT;
  found = fit(data, 1, options);
  EXPECT_EQ(found.free_parameters, 3);
  EXPECT_EQ(found.baseline[3], 0.0);
  EXPECT_GT(found.sse, 1e-6);
}

// Where the readings pass a step, m has no upper end, and the record says so.
TEST(Optimum, BoundsAndMidpointsOutsideAreTold) {
  Data step = plain([](double u) { return u < 0.5 ? 0.0 : 1.0; }, 20, 0.001, 3);
  EXPECT_EQ(fit(step).bounds & ZOLTI_M_MOST, ZOLTI_M_MOST);
  const ZOLTI_Fit outside = fit(sample({{6000.0, 4.0, 1.0}}, 40, 0.0, 1, 3.9));
  EXPECT_EQ(outside.bounds, ZOLTI_OUTSIDE);
  EXPECT_NEAR(outside.Cm[0], 4.0, 1e-3);
  ZOLTI_Options narrow = usual();
  narrow.least_m = 0.8;
  narrow.most_m = 0.9;
  const ZOLTI_Fit shallow = fit(sample(kOne, 24, 0.01), 1, narrow);
  EXPECT_EQ(shallow.status, ZOLTI_FITTED);
  EXPECT_NEAR(shallow.m[0], 0.9, 1e-9);
}

TEST(Optimum, TheDrawnCurveIsTheFittedOne) {
  const Data data = sample(kTwo, 40, 0.01, 2);
  const ZOLTI_Curve curve = data.curve();
  ZOLTI_Fit found;
  std::vector<double> residual(40), leverage(40), rows(7 * 40);
  ASSERT_EQ(ZOLTI_fit(&curve, 2, nullptr, &found, residual.data(), leverage.data()), ZOLTI_FITTED);
  ASSERT_EQ(ZOLTI_draw(&found, data.x.data(), 40, 0.6827, rows.data()), ZOLTI_FITTED);
  for (std::size_t i = 0; i < 40; ++i) {
    EXPECT_NEAR(rows[i], data.y[i] - residual[i], 1e-10);
    // At a reading the variance of the curve is the leverage times that of the noise.
    const double half = rows[5 * 40 + i] / found.residual_sd;
    EXPECT_NEAR(half * half / leverage[i], 1.0, 0.08);
  }
  EXPECT_NEAR(std::accumulate(leverage.begin(), leverage.end(), 0.0), 9.0, 1e-9);
}

}  // namespace
