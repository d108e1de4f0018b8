// Row smoothers on the implicit abscissae 1, 2, 3, ... A NaN is a missing value, and both smoothers
// fill it from its neighbours. Results go to storage as long as y that does not overlap it.
#pragma once

#include <span>

#include "frame/curve.h"

namespace zolt {

// Remainder of the division by 2, from 0 up to 2 for negative values too; 0.0 for NaN.
double moduloTwo(double v);

// Centred moving average over `span` points, one less when the floor of `span` is even. Toward
// either end the window shrinks to one point. A NaN `span`, or one beyond the row, means the row.
void smoothMoving(Row y, double span, std::span<double> out);

// Savitzky-Golay filter with a window of 5 points and parabolas (Anal. Chem. 36 (1964) 1627); the
// ends take the parabola of the nearest full window. A frame without any value gives storedNaN.
void smoothSGolay(Row y, std::span<double> out);

// Whether every window meets the same abscissae, which here only a missing value prevents.
bool isUniformGrid(Row y);

}  // namespace zolt
