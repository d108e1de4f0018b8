// The full analyses for callers inside the library. Each accepts 8 to 384 points and answers
// anything else with the code of bad input.
#pragma once

#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

void twoStateInternal(const Curve& curve, double temperature, ResultVector result);
void threeStateInternal(const Curve& curve, double temperature, ResultVector result);
void fourStateInternal(const Curve& curve, double temperature, ResultVector result);

}  // namespace zolt
