// Midpoint hints: the peaks of the curve's numerical derivative.
#pragma once

#include <array>

#include "fit/workspace.h"
#include "frame/curve.h"

namespace zolt {

// The centres of 1, 2 or 3 Gaussians fitted to the derivative, ascending, NaN last. All are -1 when
// one of them lies outside the range of x.
template <int Peaks>
std::array<double, Peaks> derivativePeaks(const Curve& curve, FitWorkspace& workspace);

}  // namespace zolt
