// How many states the readings show.
#pragma once

#include "inference/fit_record.h"

namespace zolt::inference {

// A model fitted to a curve, as the comparison looks at it.
struct Candidate {
  int model = 0;
  bool sound = false;
  int parameters = 0;
  Solution solution;        // of models with transitions
  Uncertainty uncertainty;  // the same
  double sse = 0.0;
  PerReading residuals;  // weighted
  int transitions() const { return model - ZOLTI_MODEL_TWO_STATES + 1; }
};

// The comparison of two models on the same readings.
struct Comparison {
  int outcome = ZOLTI_PASSED;
  double F = -1.0, p = -1.0;
  double pWithout = -1.0, xWithout = 0.0;
  double leastWeight = -1.0, apart = -1.0;
};

// Probabilities of chance below which a larger model is taken: of all readings, and with any one of
// those that gain most left out.
struct Chances {
  double all, without;
};

// The search for further transitions bends the F distribution a little, and unequal or correlated
// noise bends it more: at 0.05 such curves give up to 5 % of false states, at 0.01 one, while the
// intermediates that are found hardly change.
inline constexpr Chances kChancesOfState = {0.01, 0.01};
// A search over midpoint and steepness finds a transition in any noise, which the F distribution
// does not know of; these levels bring false transitions on plain curves below 1 %.
inline constexpr Chances kChancesOfTransition = {0.01, 0.05};

// Durbin-Watson below which residuals wave: two states more are tried, and the sentence tells it.
inline constexpr double kWaves = 1.3;

// Whether `larger` is to be preferred to `smaller`.
Comparison compare(const Setup& setup, const Candidate& smaller, const Candidate& larger,
                   const Chances& chances);

}  // namespace zolt::inference
