#include "analysis/admission.h"

#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// A constant signal has the ratio of nothing to nothing, which is no number and so does not count
// as flat: it is fitted, in vain (design.md: constant signals).
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

Admission admit(const Curve& curve, double temperature, const Terms& terms, ResultVector result) {
  const auto refuse = [&](int code) {
    writeFailure(terms.shape, code, result);
    return Admission::Refused;
  };
  const int points = curve.points();
  if (curve.x.size() != curve.y.size() || points < terms.fewest || points > terms.most) {
    return refuse(ZOLTA_CODE_BAD_INPUT);
  }
  if (points < terms.fewestOfModel) {
    return Admission::TooShortForModel;
  }
  if (temperature < 0.0 || temperature > 100.0) {
    return refuse(ZOLTA_CODE_BAD_INPUT);
  }
  if (hasNoTransition(curve)) {
    return refuse(ZOLTA_CODE_NO_TRANSITION);
  }
  return Admission::Admitted;
}

}  // namespace zolt
