#include "frame/result_vector.h"

#include <algorithm>

namespace zolt {

void writeFailure(int transitions, int code, ResultVector result) {
  // Parameter elements of 1, 2 and 3 transitions: the baselines come first, and each further
  // transition adds its free energy, its midpoint and a weight.
  const int parameters = 3 + 3 * transitions;
  std::fill(result.begin(), result.end(), 0.0);
  std::fill_n(result.begin(), parameters, -1.0);
  result[ZOLTA_RT] = -1.0;
  result[ZOLTA_FIT_CODE] = code;
  result[ZOLTA_R_SQUARED] = -1.0;
}

}  // namespace zolt
