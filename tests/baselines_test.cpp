// Estimates of the baselines from the ends of a curve, and how known pairs replace them.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "analysis/baseline_estimates.h"
#include "support/bits.h"

namespace {

using Vector = std::vector<double>;
using zolt::Baseline;
using zolt::Baselines;

Vector ramp(std::size_t n) {
  Vector x;
  for (std::size_t i = 0; i < n; ++i) {
    x.push_back(0.5 * static_cast<double>(i));
  }
  return x;
}

void expectPair(const char* what, const Baselines& got, const Baselines& wanted) {
  const double pairs[][2] = {{wanted.native.intercept, got.native.intercept},
                             {wanted.native.slope, got.native.slope},
                             {wanted.denatured.intercept, got.denatured.intercept},
                             {wanted.denatured.slope, got.denatured.slope}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(pairs[i][1], pairs[i][0], 1e-12)
        << what << ", baseline number " << i << " " << wantedGot(pairs[i][0], pairs[i][1]);
  }
}

TEST(WindowBaselines, FollowTheSlopes) {
  struct Row {
    const char* what;
    Vector y;
    Baselines wanted;
  };
  const Row rows[] = {
      // The deviation of equal slopes from a mean one value short never stops the scan.
      {"straight",
       {10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23},
       {{10, 0.001}, {0.999 * 23, 0.001}}},
      // The first two slopes disagree in sign: a line through three points.
      {"bent at the left",
       {10, 9, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24},
       {{32 / 3.0 - 1.5, 3}, {0.999 * 24, 0.001}}},
      // The last slope stands out at once: a line through the last four points.
      {"bent at the right",
       {10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 20, 20, 26},
       {{10, 0.001}, {20 + 1.5 - 3.6 * 5.75, 3.6}}},
      // Level ends are no disagreement, and zeros are replaced.
      {"zero", Vector(14, 0.0), {{0, 0.001}, {0, 0.001}}},
      {"level", Vector(14, 5.0), {{5, 0.001}, {0.999 * 5, 0.001}}},
  };
  for (const Row& row : rows) {
    const Vector x = ramp(row.y.size());
    expectPair(row.what, zolt::windowBaselines({x, row.y}), row.wanted);
  }
  // Equal x count as slope 0, which agrees with any one neighbour.
  Vector x = ramp(14);
  x[1] = x[0];
  expectPair("equal x", zolt::windowBaselines({x, rows[1].y}), {{10, 0.001}, {0.999 * 24, 0.001}});
}

TEST(WindowBaselines, ShortCurvesStayInside) {
  for (std::size_t n = 5; n <= 12; ++n) {
    const Vector x = ramp(n);
    Vector y = x;
    y[n / 2] += 40;
    const Baselines pair = zolt::windowBaselines({x, y});
    EXPECT_TRUE(pair.denatured.slope == pair.denatured.slope) << n;
  }
}

TEST(EstimateBaselines, ThreePointsAndEnds) {
  const Vector x{0, 1, 2, 4, 8, 9, 10}, y{1, 3, 8, 20, 40, 44, 43};
  const auto estimates = zolt::estimateBaselines({x, y});
  expectPair("three points", estimates[zolt::Estimate::ThreePoint],
             {{4, 3.5}, {127 / 3.0 - 1.5 * 10, 1.5}});
  expectPair("ends", estimates[zolt::Estimate::End], {{1, 0.001}, {43, 0.001}});
}

TEST(SeedBaselines, KnownPairsReplaceEstimates) {
  const Vector x = ramp(8), y{7, 7, 7, 8, 9, 10, 10, 10};
  const zolt::Curve curve{x, y};
  const auto estimates = zolt::estimateBaselines(curve);
  using zolt::Estimate;
  struct Row {
    const char* what;
    Estimate estimate;
    Baseline native, denatured;
    Baselines wanted;
  };
  for (const Row& row : {
           Row{"none", Estimate::End, {}, {}, {{7, 0.001}, {10, 0.001}}},
           Row{"a sum of 0 is not given",
               Estimate::End,
               {2.5, -2.5},
               {},
               {{7, 0.001}, {10, 0.001}}},
           Row{"intercept 0", Estimate::End, {0, 0.5}, {}, {{7, 0.5}, {10, 0.001}}},
           Row{"slope 0", Estimate::End, {}, {3, 0}, {{7, 0.001}, {3, 0.001}}},
           Row{"both", Estimate::End, {1, 2}, {3, 4}, {{1, 2}, {3, 4}}},
           Row{"zeros stay", Estimate::ThreePoint, {0, 0.5}, {3, 0}, {{0, 0.5}, {3, 0}}},
           Row{"zeros stay", Estimate::Window, {0, 0.5}, {3, 0}, {{0, 0.5}, {3, 0}}},
       }) {
    expectPair(row.what,
               zolt::seedBaselines(curve, estimates, row.estimate, {row.native, row.denatured}),
               row.wanted);
  }
  // A pair whose sum is no number counts as given.
  EXPECT_TRUE(zolt::isGiven({std::numeric_limits<double>::quiet_NaN(), 1}));
}

}  // namespace
