// What is searched: midpoints, steepness and weights of the transitions, free or held.
#pragma once

#include <array>

#include "inference/readings.h"

namespace zolt::inference {

// The shape of a curve in scaled concentrations. A transition is 1/(1 + exp(-s (u - c))); c and
// log s hardly correlate, while dG, their product in effect, correlates with m almost wholly.
//
// Two or three weights follow from shares: w1 = v1, w2 = (1 - v1) v2, w3 = (1 - v1)(1 - v2), so
// that plain bounds on v keep every weight between 0 and 1.
struct Shape {
  int transitions = 1;
  std::array<double, kMostTransitions> c{}, logS{};
  std::array<double, kMostTransitions - 1> share{0.5, 0.5};

  std::array<double, kMostTransitions> weights() const;
  void setWeights(const std::array<double, kMostTransitions>& w);
  void sort();  // by midpoint
};

// Places of the shape parameters in vectors over all of them.
inline int placeOfC(int transition) { return 2 * transition; }
inline int placeOfLogS(int transition) { return 2 * transition + 1; }
inline int placeOfShare(int transitions, int share) { return 2 * transitions + share; }
inline int shapeCount(int transitions) { return 3 * transitions - 1; }

// What is held of one transition, in the caller's units. A held dG leaves the steepness free and
// the midpoint follows it, so that a dG of 0 or below is like any other.
struct Held {
  bool Cm = false, m = false, dG = false;
  double CmValue = 0.0, mValue = 0.0, dGValue = 0.0;
};

// The bounds that a fit keeps to, scaled.
struct Bounds {
  double leastC, mostC, leastLogS, mostLogS, leastShare, mostShare;
};

// Between the free parameters that are searched and the shape.
class ShapeMap {
 public:
  ShapeMap(const Readings& readings, int transitions, const Bounds& bounds,
           const std::array<Held, kMostTransitions>& held);

  int transitions() const { return transitions_; }
  int count() const { return count_; }
  bool feasible() const { return feasible_; }  // false: what is held leaves nothing within bounds
  const Searched& lower() const { return lower_; }
  const Searched& upper() const { return upper_; }
  const Searched& scale() const { return scale_; }  // over which a parameter changes the curve

  Shape shapeAt(const Searched& at) const;
  Searched searchedFrom(const Shape& shape) const;  // moved within the bounds
  // Derivatives of the shape parameters by the searched ones.
  SmallMatrix<kMostShape, kMostSearched> slopes(const Shape& shape) const;
  // The expansion over the searched parameters from that over the shape parameters.
  void reduce(const Shape& shape, Expansion& expansion) const;

 private:
  void addTransition(const Readings& readings, const Bounds& bounds, int t);
  void add(int place, double lower, double upper, double scale);

  int transitions_;
  int count_ = 0;
  bool feasible_ = true;
  bool plain_ = true;  // nothing is held
  double xFirst_, xSpan_, perSteepness_;
  std::array<Held, kMostTransitions> held_;
  std::array<int, kMostSearched> place_{};  // of the shape parameter that a searched one is
  Searched lower_, upper_, scale_;
};

}  // namespace zolt::inference
