// A curve and its options, checked and scaled: what every fit of the curve begins with.
#pragma once

#include "inference/separable.h"

namespace zolt::inference {

struct Setup {
  Readings readings;
  Baselines baselines;
  Bounds bounds;
  std::array<Held, kMostTransitions> held;
  bool engine = true;  // starts may come from the engine

  ShapeMap map(int transitions) const { return {readings, transitions, bounds, held}; }
  // Free parameters of a model, baselines included.
  int freeCount(int transitions) const { return baselines.freeCount() + map(transitions).count(); }
  bool nothingHeld() const;
};

ZOLTI_Options usualOptions();

// Checks and scales; null options are the usual ones. The answer is a status.
int prepare(const ZOLTI_Curve* curve, const ZOLTI_Options* options, Setup& setup);

// Whether the readings suffice for a model with that many transitions, as a status.
int enoughFor(const Setup& setup, int transitions);

// What other curves say of m or dG, as an expansion of their sum of squares over those values.
struct Shared {
  int share = ZOLTI_SHARE_M;  // m by its logarithm, or dG over RT at 25 degrees Celsius
  Searched at;                // the values where it was expanded
  Expansion rest;             // in the units of the curve that it is added to

  void addTo(const Readings& readings, const Shape& shape, Expansion& expansion) const;
};

// The shared value that a shape has, and its derivatives by the shape parameters.
double sharedValue(int share, const Readings& readings, const Shape& shape, int transition);
SmallMatrix<kMostTransitions, kMostShape> sharedSlopes(int share, const Readings& readings,
                                                       const Shape& shape);

// The model of one curve as `minimise` takes it.
struct CurveModel {
  Separable& separable;
  const ShapeMap& map;
  const Shared* shared = nullptr;
  bool operator()(const Searched& at, Expansion& expansion) const {
    const Shape shape = map.shapeAt(at);
    if (!separable.expand(shape, expansion)) {
      return false;
    }
    if (shared != nullptr) {
      shared->addTo(separable.readings(), shape, expansion);
    }
    map.reduce(shape, expansion);
    return true;
  }
};

}  // namespace zolt::inference
