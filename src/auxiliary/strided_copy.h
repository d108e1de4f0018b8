// Contiguous copies of rows that arrive with a stride.
#pragma once

#include <algorithm>
#include <limits>
#include <vector>

#include "frame/curve.h"

namespace zolt {

// The first `count` elements of strided storage; those it does not have are NaN.
inline std::vector<double> stridedCopy(const double* data, const std::int32_t* size,
                                       std::size_t count) {
  std::vector<double> copy(count, std::numeric_limits<double>::quiet_NaN());
  const StridedRow row = stridedView(data, size);
  const std::size_t present = data == nullptr ? 0 : std::min(count, lengthOf(size));
  for (std::size_t i = 0; i < present; ++i) {
    copy[i] = row[i];
  }
  return copy;
}

}  // namespace zolt
