// The end of an interval: where a profile reaches its quantile.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace zolt::inference {

// `z(value)` grows from 0 at the estimate; `step` is the distance, with its sign, at which it may
// reach `quantile`. The search ends at `limit`; the answer is an infinity if z stays below up to
// there. Distances are found to a thousandth of themselves or better.
template <class Function>
double reach(Function&& z, double estimate, double step, double limit, double quantile) {
  constexpr int kMostCalls = 24;
  constexpr double kNear = 1e-4;  // of the quantile
  const double open = std::copysign(std::numeric_limits<double>::infinity(), step);
  const double farthest = std::abs(limit - estimate);
  const double direction = step < 0.0 ? -1.0 : 1.0;
  double inside = 0.0, zInside = 0.0;     // distance with z below the quantile
  double outside = -1.0, zOutside = 0.0;  // distance with z above it, -1 while unknown
  double distance = std::min(std::abs(step), farthest);
  for (int call = 0; call < kMostCalls; ++call) {
    const double value = z(estimate + direction * distance);
    if (std::abs(value - quantile) <= kNear * quantile) {
      return estimate + direction * distance;
    }
    if (value < quantile) {
      if (distance >= farthest) {
        return open;
      }
      inside = distance;
      zInside = value;
    } else {
      outside = distance;
      zOutside = std::min(value, 1e6 * quantile);
    }
    if (outside < 0.0) {
      const double ahead =
          value > 0.2 * quantile ? distance * quantile / value * 1.02 : 3.0 * distance;
      distance = std::min(std::max(ahead, 1.2 * distance), farthest);
    } else {
      // A straight line between the two, kept off the ends.
      const double share = (quantile - zInside) / (zOutside - zInside);
      const double kept = std::min(std::max(share, 0.05), 0.95);
      distance = inside + kept * (outside - inside);
    }
  }
  return outside < 0.0 ? open : estimate + direction * outside;
}

}  // namespace zolt::inference
