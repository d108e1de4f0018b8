// The tests that open every analysis.
#pragma once

#include <limits>

#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// The fewest points of the full analyses and of the fits on the caller's baselines, and of the
// midpoint fits. Each model then has a number of its own, below which a smaller model answers.
inline constexpr int kFewestPoints = 8;
inline constexpr int kFewestMidpointPoints = 6;

// The exported forms test no upper limit.
inline constexpr int kAnyLength = std::numeric_limits<int>::max();

// What an entry asks of a curve before it looks for a fit.
struct Terms {
  int fewest;         // points of any curve
  int most;           // likewise
  int fewestOfModel;  // points below which the next smaller model answers
  int shape;          // transitions whose failure shape a refusal takes
};

enum class Admission { Refused, TooShortForModel, Admitted };

// Refuses, by a code in `result`: lengths that differ or are out of range, a temperature outside 0
// to 100 degrees Celsius (a NaN passes), and a curve without a transition, whose first and last
// five points have means less than one standard deviation of y apart, or whose x does not move.
// A curve too short for the model is handed down before its temperature is looked at.
Admission admit(const Curve& curve, double temperature, const Terms& terms, ResultVector result);

// Whether the entry of a model with that many transitions goes on. `smaller`, called with one
// transition fewer, answers a curve that is too short.
template <int Transitions, class Smaller>
bool admitted(const Curve& curve, double temperature, const Terms& terms, ResultVector result,
              Smaller smaller) {
  const Admission admission = admit(curve, temperature, terms, result);
  if constexpr (Transitions > 1) {
    if (admission == Admission::TooShortForModel) {
      smaller.template operator()<Transitions - 1>();
    }
  }
  return admission == Admission::Admitted;
}

}  // namespace zolt
