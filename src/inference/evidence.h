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

// Whether `larger` is to be preferred to `smaller` at that probability of chance.
Comparison compare(const Setup& setup, const Candidate& smaller, const Candidate& larger,
                   double chance);

}  // namespace zolt::inference
