// The least sum of squares of one curve, from several starts.
#pragma once

#include "inference/engine_starts.h"
#include "inference/minimise.h"
#include "inference/starts.h"

namespace zolt::inference {

struct Solution {
  bool found = false;      // some search came to a finite sum of squares
  bool converged = false;  // and to its end
  Shape shape;
  double sse = 0.0;  // scaled
  int iterations = 0, starts = 0, agreeing = 0;
  EngineVector engine{};
};

// The least of the searches from all starts.
Solution leastFrom(const Setup& setup, int transitions, const Starts& starts);

// The optimum near a shape: one search.
Solution leastNear(const Setup& setup, const Shape& shape);

// The optimum of a curve: the engine's answers and grids give the starts. With more than one
// transition `single` is the fit of one, or null.
Solution leastSquares(const ZOLTI_Curve& curve, const Setup& setup, int transitions,
                      Analysis analysis, const Shape* single);

}  // namespace zolt::inference
