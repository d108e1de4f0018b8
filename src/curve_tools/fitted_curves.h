// The curve that a ResultVector describes.
#pragma once

#include <span>

#include "fit/unfolding_model.h"
#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// The number of transitions, told by the elements that smaller models leave at 0.
inline int transitionsOf(ConstResultVector result) {
  const auto zero = [result](auto... elements) { return ((result[elements] == 0.0) && ...); };
  if (zero(ZOLTA_DG2, ZOLTA_CM2, ZOLTA_WEIGHT1)) {
    return 1;
  }
  return zero(ZOLTA_DG3, ZOLTA_CM3, ZOLTA_WEIGHT2) ? 2 : 3;
}

// The fitted signal at every x. Nothing is tested: a vector without a fit has a curve, too.
void signalFromResult(ConstResultVector result, Row x, std::span<double> out);

// The fraction denatured, the baselines left out.
void fractionFromResult(ConstResultVector result, Row x, std::span<double> out);

}  // namespace zolt
