// The models that a series can be fitted with, and the refit of its curves from one reference.
#pragma once

#include <cstdint>

#include "fit/workspace.h"
#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// `analyse` is the full analysis that finds the reference. `refit` packages the fit of a curve with
// the reference's slopes, weights and thermal energy held; without an acceptable fit the vector has
// the failure shape of the model.
struct SeriesModel {
  void (*analyse)(const Curve& curve, double temperature, ResultVector result);
  void (*refit)(const Curve& curve, ConstResultVector reference, FitWorkspace& workspace,
                ResultVector result);
};

// 3 and 4 ask for that many states, anything else for 2.
SeriesModel seriesModelFor(std::int32_t states);

}  // namespace zolt
