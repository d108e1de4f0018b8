// Estimates of the two baselines from the ends of a curve: the starts of the seeded fits.
#pragma once

#include <array>

#include "frame/curve.h"

namespace zolt {

// A straight baseline: signal at x = 0, and signal per unit of x. (0, 0) means unknown.
struct Baseline {
  double intercept = 0.0;
  double slope = 0.0;
};

struct Baselines {
  Baseline native;
  Baseline denatured;
};

// The slope of a baseline that is taken to be flat.
inline constexpr double kFlatSlope = 0.001;

// A baseline counts as given when its two values do not sum to 0: (2.5, -2.5) is taken for unknown
// like (0, 0) (design.md: given baselines).
inline bool isGiven(const Baseline& baseline) { return baseline.intercept + baseline.slope != 0.0; }

// The three ways to estimate both baselines.
enum class Estimate {
  ThreePoint,  // mean and slope of the three points at each end
  End,         // the end values, flat
  Window,      // lines over the ends as far as consecutive slopes agree
};

struct BaselineEstimates {
  std::array<Baselines, 3> byEstimate;
  const Baselines& operator[](Estimate estimate) const {
    return byEstimate[static_cast<std::size_t>(estimate)];
  }
};

// All three estimates of a curve of at least 5 points.
BaselineEstimates estimateBaselines(const Curve& curve);

// The end values alone, for the entries that need no more.
BaselineEstimates endEstimates(const Curve& curve);

// Where consecutive slopes stop agreeing with their mean, a line through the points up to there;
// else a flat baseline from the end value.
Baselines windowBaselines(const Curve& curve);

// The given baselines, each else the estimate. With Estimate::End an intercept of exactly 0 becomes
// the end value of y and a slope of exactly 0 the flat slope.
Baselines seedBaselines(const Curve& curve, const BaselineEstimates& estimates, Estimate estimate,
                        const Baselines& given);

}  // namespace zolt
