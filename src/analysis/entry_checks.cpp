#include "analysis/entry_checks.h"

#include "frame/scalar_kit.h"

namespace zolt {
namespace {

bool hasNoTransition(const Curve& curve) {
  const std::size_t n = curve.x.size();
  const auto meanFrom = [&curve](std::size_t first) {
    double five[5];
    for (std::size_t k = 0; k < 5; ++k) {
      five[k] = curve.y.data()[curve.yStride * (first + k)];
    }
    return meanOfFive(five);
  };
  const double height = meanFrom(0) - meanFrom(n - 5);
  return 1.0 > absValue(height / sampleStdDev(curve.y)) || curve.x[0] == curve.x[n - 1];
}

}  // namespace

bool refuses(const Curve& curve, double temperature, int transitions, ResultVector result) {
  if (temperature < 0.0 || temperature > 100.0) {
    writeFailure(transitions, ZOLTA_CODE_BAD_INPUT, result);
    return true;
  }
  if (hasNoTransition(curve)) {
    writeFailure(transitions, ZOLTA_CODE_NO_TRANSITION, result);
    return true;
  }
  return false;
}

}  // namespace zolt
