#include "fit/scaled_norm.h"

#include <cstddef>

namespace zolt {

double scaledNorm(const double* v, int count, int stride) {
  if (count < 1) {
    return 0.0;
  }
  if (count == 1) {
    return std::fabs(v[0]);
  }
  ScaledSum state;
  for (int k = 0; k < count; ++k) {
    addToScaledSum(state, v[static_cast<std::ptrdiff_t>(k) * stride]);
  }
  return state.norm();
}

}  // namespace zolt
