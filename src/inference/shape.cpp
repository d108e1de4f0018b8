// Shapes of curves, and what of them is free.
#include "inference/shape.h"

#include <algorithm>
#include <cmath>

namespace zolt::inference {
namespace {

// Changes of the parameters that alter a curve to the eye.
constexpr double kScaleOfC = 0.02, kScaleOfLogS = 0.3, kScaleOfShare = 0.1;

}  // namespace

std::array<double, kMostTransitions> Shape::weights() const {
  switch (transitions) {
    case 1:
      return {1.0, 0.0, 0.0};
    case 2:
      return {share[0], 1.0 - share[0], 0.0};
    default:
      return {share[0], (1.0 - share[0]) * share[1], (1.0 - share[0]) * (1.0 - share[1])};
  }
}

void Shape::setWeights(const std::array<double, kMostTransitions>& w) {
  share[0] = w[0];
  share[1] = w[1] + w[2] > 0.0 ? w[1] / (w[1] + w[2]) : 0.5;
}

void Shape::sort() {
  std::array<int, kMostTransitions> order{0, 1, 2};
  for (int i = 1; i < transitions; ++i) {
    for (int j = i; j > 0 && c[order[j]] < c[order[j - 1]]; --j) {
      std::swap(order[j], order[j - 1]);
    }
  }
  const Shape old = *this;
  const auto oldWeights = old.weights();
  std::array<double, kMostTransitions> w{};
  for (int t = 0; t < transitions; ++t) {
    c[t] = old.c[order[t]];
    logS[t] = old.logS[order[t]];
    w[t] = oldWeights[order[t]];
  }
  if (c != old.c) {
    setWeights(w);
  }
}

ShapeMap::ShapeMap(const Readings& readings, int transitions, const Bounds& bounds,
                   const std::array<Held, kMostTransitions>& held)
    : transitions_(transitions),
      xFirst_(readings.xFirst),
      xSpan_(readings.xSpan),
      perSteepness_(readings.RT / readings.xSpan),
      held_(held) {
  lower_.resize(kMostSearched);
  upper_.resize(kMostSearched);
  scale_.resize(kMostSearched);
  for (int t = 0; t < transitions; ++t) {
    addTransition(readings, bounds, t);
  }
  for (int v = 0; v + 1 < transitions; ++v) {
    add(placeOfShare(transitions, v), bounds.leastShare, bounds.mostShare, kScaleOfShare);
  }
  lower_.conservativeResize(count_);
  upper_.conservativeResize(count_);
  scale_.conservativeResize(count_);
}

void ShapeMap::add(int place, double lower, double upper, double scale) {
  feasible_ = feasible_ && lower <= upper;
  place_[count_] = place;
  lower_[count_] = lower;
  upper_[count_] = upper;
  scale_[count_] = scale;
  ++count_;
}

void ShapeMap::addTransition(const Readings& r, const Bounds& bounds, int t) {
  const Held& held = held_[t];
  plain_ = plain_ && !held.Cm && !held.m && !held.dG;
  double leastLogS = bounds.leastLogS, mostLogS = bounds.mostLogS;
  if (held.dG) {
    // The midpoint dG/m has to stay within its own bounds.
    const double least = r.xFirst + r.xSpan * bounds.leastC;
    const double most = r.xFirst + r.xSpan * bounds.mostC;
    const double dG = held.dGValue;
    const double far = dG >= 0.0 ? most : least, near = dG >= 0.0 ? least : most;
    if (dG * far > 0.0) {
      leastLogS = std::max(leastLogS, std::log(r.steepness(dG / far)));
      if (dG * near > 0.0) {
        mostLogS = std::min(mostLogS, std::log(r.steepness(dG / near)));
      }
    } else if (dG != 0.0 || least > 0.0 || most < 0.0) {
      feasible_ = false;
    }
  }
  if (!held.Cm && !held.dG) {
    add(placeOfC(t), bounds.leastC, bounds.mostC, kScaleOfC);
  }
  if (!held.m) {
    add(placeOfLogS(t), leastLogS, mostLogS, kScaleOfLogS);
  }
}

Shape ShapeMap::shapeAt(const Searched& at) const {
  std::array<double, kMostShape> all{};
  for (int i = 0; i < count_; ++i) {
    all[place_[i]] = at[i];
  }
  Shape shape;
  shape.transitions = transitions_;
  for (int t = 0; t < transitions_; ++t) {
    const Held& held = held_[t];
    shape.logS[t] = held.m ? std::log(held.mValue / perSteepness_) : all[placeOfLogS(t)];
    shape.c[t] = all[placeOfC(t)];
    if (held.Cm) {
      shape.c[t] = (held.CmValue - xFirst_) / xSpan_;
    } else if (held.dG) {
      const double m = std::exp(shape.logS[t]) * perSteepness_;
      shape.c[t] = (held.dGValue / m - xFirst_) / xSpan_;
    }
  }
  for (int v = 0; v + 1 < transitions_; ++v) {
    shape.share[v] = all[placeOfShare(transitions_, v)];
  }
  return shape;
}

Searched ShapeMap::searchedFrom(const Shape& shape) const {
  Searched at(count_);
  for (int i = 0; i < count_; ++i) {
    const int place = place_[i];
    const int t = place / 2;
    double value;
    if (t >= transitions_) {
      value = shape.share[place - 2 * transitions_];
    } else {
      value = place % 2 == 0 ? shape.c[t] : shape.logS[t];
      // A held dG keeps the midpoint rather than the steepness: the readings show the midpoint.
      const double m = held_[t].dGValue / (xFirst_ + xSpan_ * shape.c[t]);
      if (held_[t].dG && m > 0.0) {
        value = std::log(m / perSteepness_);
      }
    }
    at[i] = std::min(std::max(value, lower_[i]), upper_[i]);
  }
  return at;
}

SmallMatrix<kMostShape, kMostSearched> ShapeMap::slopes(const Shape& shape) const {
  SmallMatrix<kMostShape, kMostSearched> slopes(shapeCount(transitions_), count_);
  slopes.setZero();
  for (int i = 0; i < count_; ++i) {
    slopes(place_[i], i) = 1.0;
    const int t = place_[i] / 2;
    if (t < transitions_ && held_[t].dG && place_[i] == placeOfLogS(t)) {
      // c = (dG/m - xFirst)/xSpan and dm = m dlogS.
      slopes(placeOfC(t), i) = -(shape.c[t] + xFirst_ / xSpan_);
    }
  }
  return slopes;
}

void ShapeMap::reduce(const Shape& shape, Expansion& expansion) const {
  if (plain_) {
    return;
  }
  const auto by = slopes(shape);
  const Searched slope = by.transpose().lazyProduct(expansion.slope);
  const SmallMatrix<kMostShape, kMostSearched> half = expansion.curvature.lazyProduct(by);
  const SearchedMatrix curvature = by.transpose().lazyProduct(half);
  expansion.slope = slope;
  expansion.curvature = curvature;
}

}  // namespace zolt::inference
