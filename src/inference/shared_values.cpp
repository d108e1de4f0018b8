// Shared m-values and free energies.
#include "inference/shared_values.h"

#include <cmath>

namespace zolt::inference {

double toCallers(int share, double value) {
  return share == ZOLTI_SHARE_M ? std::exp(value) : value * kEnergy;
}

double fromCallers(int share, double value) {
  return share == ZOLTI_SHARE_M ? std::log(value) : value / kEnergy;
}

void holdShared(int share, const Searched& values, int transitions,
                std::array<Held, kMostTransitions>& held) {
  for (int t = 0; t < transitions; ++t) {
    held[t] = {};
    const double value = toCallers(share, values[t]);
    if (share == ZOLTI_SHARE_M) {
      held[t].m = true;
      held[t].mValue = value;
    } else {
      held[t].dG = true;
      held[t].dGValue = value;
    }
  }
}

SmallMatrix<kMostShape, kMostTransitions> directionOfShared(const Setup& setup, const Shape& shape,
                                                            int share) {
  const int k = shape.transitions;
  SmallMatrix<kMostShape, kMostTransitions> direction(shapeCount(k), k);
  direction.setZero();
  for (int t = 0; t < k; ++t) {
    if (share == ZOLTI_SHARE_M) {
      direction(placeOfLogS(t), t) = 1.0;
    } else {
      // c = (dG/m - xFirst)/xSpan with m from the steepness.
      const double m = std::exp(shape.logS[t]) * setup.readings.RT / setup.readings.xSpan;
      direction(placeOfC(t), t) = kEnergy / (m * setup.readings.xSpan);
    }
  }
  return direction;
}

double sharedValue(int share, const Readings& r, const Shape& shape, int t) {
  const double m = std::exp(shape.logS[t]) * r.RT / r.xSpan;
  return fromCallers(share, share == ZOLTI_SHARE_M ? m : m * (r.xFirst + r.xSpan * shape.c[t]));
}

SmallMatrix<kMostTransitions, kMostShape> sharedSlopes(int share, const Readings& r,
                                                       const Shape& shape) {
  const int k = shape.transitions;
  SmallMatrix<kMostTransitions, kMostShape> slopes(k, shapeCount(k));
  slopes.setZero();
  for (int t = 0; t < k; ++t) {
    if (share == ZOLTI_SHARE_M) {
      slopes(t, placeOfLogS(t)) = 1.0;
    } else {
      const double m = std::exp(shape.logS[t]) * r.RT / r.xSpan;
      slopes(t, placeOfC(t)) = m * r.xSpan / kEnergy;
      slopes(t, placeOfLogS(t)) = m * (r.xFirst + r.xSpan * shape.c[t]) / kEnergy;
    }
  }
  return slopes;
}

void Shared::addTo(const Readings& readings, const Shape& shape, Expansion& e) const {
  const int k = shape.transitions;
  Searched off(k);
  for (int t = 0; t < k; ++t) {
    off[t] = sharedValue(share, readings, shape, t) - at[t];
  }
  const auto slopes = sharedSlopes(share, readings, shape);
  const Searched bent = rest.curvature.lazyProduct(off);
  const Searched push = rest.slope - bent;
  e.sse += off.dot(bent) - 2.0 * off.dot(rest.slope);
  e.slope += slopes.transpose().lazyProduct(push);
  const SmallMatrix<kMostTransitions, kMostShape> half = rest.curvature.lazyProduct(slopes);
  e.curvature += slopes.transpose().lazyProduct(half);
}

}  // namespace zolt::inference
