// Curves without a transition: line, parabola, single exponential.
#pragma once

#include "inference/readings.h"

namespace zolt::inference {

// The least sum of squares of one of ZOLTI_MODEL_LINE, _PARABOLA, _EXPONENTIAL, and its weighted
// residuals.
struct PlainFit {
  double sse = 0.0;
  PerReading residuals;
};

int plainParameters(int model);
PlainFit fitPlain(const Readings& readings, int model);

}  // namespace zolt::inference
