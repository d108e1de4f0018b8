// Held baselines: a result whose code names an estimate of a baseline holds that estimate, as told
// here once more from the ends of the curve.
#include <gtest/gtest.h>

#include "support/exports.h"
#include "support/generated_curves.h"
#include "support/literal_solver.h"

namespace {

struct Baseline {
  double intercept, slope;
};

// The least-squares line through `count` points from `first` on.
Baseline lineThrough(const GeneratedCurve& curve, std::size_t first, std::size_t count) {
  literal::Matrix a(static_cast<int>(count), 2, 1.0);
  std::copy_n(&curve.x[first], count, a.values.begin());
  const Vector line =
      literal::solveLeastSquares(a, Vector(&curve.y[first], &curve.y[first] + count));
  return {line[1], line[0]};
}

// Whether some slope between neighbours lies farther from `mean` than the mean's own size.
bool disagree(const Vector& slopes, double mean) {
  return std::any_of(slopes.begin(), slopes.end(),
                     [mean](double s) { return std::fabs(s - mean) > std::fabs(mean); });
}

double sumOf(const Vector& values) {
  double sum = 0.0;
  for (double value : values) {
    sum += value;
  }
  return sum;
}

enum Estimate { ThreePoint, End, Window };

Baseline nativeOf(const GeneratedCurve& curve, Estimate estimate) {
  const Vector &x = curve.x, &y = curve.y;
  const Vector slopes{(y[0] - y[1]) / (x[0] - x[1]), (y[1] - y[2]) / (x[1] - x[2])};
  if (estimate == ThreePoint) {
    return {(y[0] + y[1] + y[2]) / 3, (y[2] - y[0]) / (x[2] - x[0])};
  }
  return estimate == Window && disagree(slopes, sumOf(slopes) / 2) ? lineThrough(curve, 0, 3)
                                                                   : Baseline{y[0], 0.001};
}

Baseline denaturedOf(const GeneratedCurve& curve, Estimate estimate) {
  const Vector &x = curve.x, &y = curve.y;
  const std::size_t n = x.size();
  const double slope = (y[n - 1] - y[n - 3]) / (x[n - 1] - x[n - 3]);
  if (estimate == ThreePoint) {
    return {(y[n - 3] + y[n - 2] + y[n - 1]) / 3 - slope * x[n - 1], slope};
  }
  // The window grows from the last four slopes to the last eleven; their sum is divided by one less
  // than there are.
  for (std::size_t count = 4; estimate == Window && count <= 11; ++count) {
    Vector slopes;
    for (std::size_t i = n - 1 - count; i + 1 < n; ++i) {
      slopes.push_back((y[i] - y[i + 1]) / (x[i] - x[i + 1]));
    }
    if (disagree(slopes, sumOf(slopes) / static_cast<double>(count - 1))) {
      return lineThrough(curve, n - count, count);
    }
  }
  return {estimate == Window ? y[n - 1] - 0.001 * y[n - 1] : y[n - 1], 0.001};
}

TEST(HeldBaselines, AreTheEstimatesThatTheCodeNames) {
  struct Row {
    const char* analysis;
    int curve, code;
    bool native;  // whether that side is an estimate, too, and not known from other fits
    Estimate estimate;
  };
  for (const Row& row : {
           Row{"2state", 404, ZOLTA_2STATE_END_POINT, true, End},
           {"2state", 132, ZOLTA_2STATE_THREE_POINT, true, ThreePoint},
           {"2state", 108, ZOLTA_2STATE_WINDOW, true, Window},
           {"2state", 133, ZOLTA_2STATE_WINDOW, true, Window},
           {"2state", 186, ZOLTA_2STATE_WINDOW, true, Window},
           {"2state", 110, ZOLTA_2STATE_NATIVE_END_POINT, false, End},
           {"2state", 23, ZOLTA_2STATE_NATIVE_END_POINT_HINT, false, End},
           {"2state", 91, ZOLTA_2STATE_NATIVE_THREE_POINT, false, ThreePoint},
           {"2state", 17, ZOLTA_2STATE_NATIVE_THREE_POINT_HINT, false, ThreePoint},
           {"2state", 141, ZOLTA_2STATE_NATIVE_WINDOW, false, Window},
           {"2state", 4, ZOLTA_2STATE_NATIVE_WINDOW_HINT, false, Window},
           {"2state", 329, ZOLTA_2STATE_DENATURED_END_POINT, true, End},
           {"2state", 111, ZOLTA_2STATE_DENATURED_THREE_POINT_HINT, true, ThreePoint},
           {"2state", 262, ZOLTA_2STATE_DENATURED_WINDOW, true, Window},
           {"3state", 63, ZOLTA_3STATE_END_POINT, true, End},
           {"3state", 114, ZOLTA_3STATE_THREE_POINT, true, ThreePoint},
           {"3state", 98, ZOLTA_3STATE_WINDOW, true, Window},
           {"3state", 54, ZOLTA_3STATE_NATIVE_WINDOW, false, Window},
           {"3state", 143, ZOLTA_3STATE_DENATURED_END_POINT, true, End},
           {"4state", 235, ZOLTA_4STATE_WINDOW, true, Window},
           {"4state", 54, ZOLTA_4STATE_NATIVE_WINDOW, false, Window},
           {"4state", 26, ZOLTA_4STATE_NATIVE_THREE_POINT, false, ThreePoint},
       }) {
    const GeneratedCurve curve = assortedCurve(row.curve);
    Arguments a;
    a.x = curve.x;
    a.y = curve.y;
    a.temperature = curve.temperature;
    const Vector r = Called(row.analysis, a).real(0);
    SCOPED_TRACE(std::string(row.analysis) + ", curve " + std::to_string(row.curve));
    EXPECT_EQ(r[ZOLTA_FIT_CODE], row.code);
    const Baseline native = nativeOf(curve, row.estimate);
    const Baseline denatured = denaturedOf(curve, row.estimate);
    EXPECT_EQ(row.native ? difference({native.intercept, native.slope}, {r[0], r[1]}) : "", "");
    EXPECT_EQ(difference({denatured.intercept, denatured.slope}, {r[2], r[3]}), "");
  }
}

}  // namespace
