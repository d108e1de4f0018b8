// The tests that open every analysis.
#pragma once

#include <limits>

#include "frame/curve.h"
#include "frame/result_vector.h"

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

// Whether an analysis refuses a curve of sufficient length, and if so, answers it in the failure
// shape of `transitions`: for a temperature outside 0 to 100 degrees Celsius (a NaN passes), or
// for a curve without a transition, whose first and last five points have means less than one
// standard deviation of y apart, or whose x does not move.
bool refuses(const Curve& curve, double temperature, int transitions, ResultVector result);

}  // namespace zolt
