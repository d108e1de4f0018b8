#include "analysis/baseline_estimates.h"

#include <algorithm>

#include "fit/linear_algebra.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// The spans of slopes examined at the denatured end hold 4 to 11 values.
constexpr int kSpans = 8;
constexpr int kShortestSpan = 4;

Baseline toBaseline(const Line& line) { return {line.intercept, line.slope}; }

Baselines threePoint(const Curve& curve) {
  const Row x = curve.x;
  const Row y = curve.y;
  const std::size_t n = x.size();
  Baselines lines;
  lines.native.intercept = (y[0] + y[1] + y[2]) / 3.0;
  lines.native.slope = (y[2] - y[0]) / (x[2] - x[0]);
  lines.denatured.slope = (y[n - 1] - y[n - 3]) / (x[n - 1] - x[n - 3]);
  lines.denatured.intercept =
      (y[n - 3] + y[n - 2] + y[n - 1]) / 3.0 - lines.denatured.slope * x[n - 1];
  return lines;
}

Baselines endValues(const Curve& curve) {
  return {{curve.y[0], kFlatSlope}, {curve.lastY(), kFlatSlope}};
}

void replaceZeros(Baseline& baseline, double endValue) {
  if (baseline.intercept == 0.0) {
    baseline.intercept = endValue;
  }
  if (baseline.slope == 0.0) {
    baseline.slope = kFlatSlope;
  }
}

}  // namespace

Baselines windowBaselines(const Curve& curve) {
  const Row x = curve.x;
  const Row y = curve.y;
  const int last = curve.points() - 2;  // index of the last slope
  const auto slope = [&](int i) {
    // A short curve has no slope at the places before its first point.
    if (i < 0) {
      return 0.0;
    }
    const auto k = static_cast<std::size_t>(i);
    return x[k] == x[k + 1] ? 0.0 : (y[k] - y[k + 1]) / (x[k] - x[k + 1]);
  };

  Baselines lines{{y[0], kFlatSlope}, {}};
  const double firstMean = (slope(0) + slope(1)) / 2.0;
  if (absValue(slope(0) - firstMean) > absValue(firstMean) ||
      absValue(slope(1) - firstMean) > absValue(firstMean)) {
    lines.native = toBaseline(lineFit(x.first(3), y.first(3)));
  }

  // The flat slope times y, not times x (design.md: flat denatured baseline).
  lines.denatured = {curve.lastY() - 0.001 * curve.lastY(), kFlatSlope};
  for (int k = 0; k < kSpans; ++k) {
    const int first = last - k - (kShortestSpan - 1);
    double mean = 0.0;
    for (int i = first; i <= last; ++i) {
      mean += slope(i);
    }
    mean /= k + 3;  // one less than there are values (design.md: spans of slopes)
    bool disagree = false;
    for (int i = first; i <= last && !disagree; ++i) {
      disagree = absValue(slope(i) - mean) > absValue(mean);
    }
    if (disagree) {
      const auto width = static_cast<std::size_t>(std::min(k + 4, curve.points()));
      lines.denatured = toBaseline(lineFit(x.last(width), y.last(width)));
      break;
    }
  }

  replaceZeros(lines.native, y[0]);
  replaceZeros(lines.denatured, curve.lastY());
  return lines;
}

BaselineEstimates estimateBaselines(const Curve& curve) {
  return {{threePoint(curve), endValues(curve), windowBaselines(curve)}};
}

BaselineEstimates endEstimates(const Curve& curve) {
  return {{Baselines{}, endValues(curve), Baselines{}}};
}

Baselines seedBaselines(const Curve& curve, const BaselineEstimates& estimates, Estimate estimate,
                        const Baselines& given) {
  Baselines lines = estimates[estimate];
  if (isGiven(given.native)) {
    lines.native = given.native;
  }
  if (isGiven(given.denatured)) {
    lines.denatured = given.denatured;
  }
  if (estimate == Estimate::End) {
    replaceZeros(lines.native, curve.y[0]);
    replaceZeros(lines.denatured, curve.lastY());
  }
  return lines;
}

}  // namespace zolt
