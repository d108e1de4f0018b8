// The even grid on which fitted curves are drawn.
#pragma once

#include <cstdint>
#include <span>

#include "zolt_fitting_engine.h"

namespace zolt {

// Makes `out` a row of `n` points from `a` to `b`, both ends exact; a grid of one point holds `b`.
// Returns the points.
std::span<double> linearGrid(double a, double b, std::int32_t n, emxArray_real_T* out);

// The same into storage of the caller's.
void linearGrid(double a, double b, std::span<double> out);

}  // namespace zolt
