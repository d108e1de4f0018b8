// The tests that open every analysis.
#pragma once

#include <limits>

#include "frame/curve.h"

namespace zolt {

// The fewest points of the full analyses and of the midpoint fits.
inline constexpr int kFewestPoints = 8;
inline constexpr int kFewestMidpointPoints = 6;

// Shorter curves are handed down to the smaller model.
inline constexpr int kFewestThreeStatePoints = 18;
inline constexpr int kFewestFourStatePoints = 24;
inline constexpr int kFewestThreeStateMidpointPoints = 10;
inline constexpr int kFewestFourStateMidpointPoints = 14;

// The exported forms test no upper limit.
inline constexpr int kAnyLength = std::numeric_limits<int>::max();

inline bool lengthsUnusable(const Curve& curve, int fewest, int most = kAnyLength) {
  return curve.x.size() != curve.y.size() || curve.points() < fewest || curve.points() > most;
}

// Outside 0 to 100 degrees Celsius. A NaN passes.
inline bool temperatureUnusable(double temperature) {
  return temperature < 0.0 || temperature > 100.0;
}

// Whether the means of the first and of the last five points lie less than one standard deviation
// of y apart, or x does not move. Needs at least five points.
bool hasNoTransition(const Curve& curve);

}  // namespace zolt
