// Removal of the points that lie far from a fitted curve.
#pragma once

#include <vector>

#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// Copies the curve without its outliers, provided they are at most a quarter of its points;
// otherwise the whole curve. Without a fit nothing is an outlier.
void ChemDenatOutlierRemovalArrays(Row x, Row y, ConstResultVector result,
                                   std::vector<double>& xKept, std::vector<double>& yKept);

}  // namespace zolt
