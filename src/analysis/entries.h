// The analyses by their number of transitions, for callers inside the library: short curves handed
// down to a smaller model, and the series.
#pragma once

#include "analysis/baseline_estimates.h"
#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// The full analysis. It accepts 8 to 384 points and answers anything else with the code of bad
// input.
template <int Transitions>
void internalAnalysis(const Curve& curve, double temperature, ResultVector result);

// The midpoint fit.
template <int Transitions>
void midpointFit(const Curve& curve, double temperature, ResultVector result);

// The fit on the caller's baselines.
template <int Transitions>
void userBaselinesFit(const Curve& curve, const Baselines& baselines, double temperature,
                      ResultVector result);

}  // namespace zolt
