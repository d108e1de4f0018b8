// The expansion of many curves over what they share.
#include "inference/shared_model.h"

#include <cmath>

namespace zolt::inference {
namespace {

// A curve's own step this small, as a share of its sum of squares, leaves the expansion exact.
constexpr double kOwnGain = 1e-14;

}  // namespace

void SharedModel::add(const Member& member, const Solution& start) {
  parts_.push_back({&member, start, {}});
}

// The midpoint that a held difference gives a curve. With one m a difference of dG is m times that
// of the midpoints; with one dG there is none.
bool SharedModel::holdValues(const Part&, int index, const Searched& at,
                             std::array<Held, kMostTransitions>& held) const {
  holdShared(share_, at, transitions_, held);
  if (difference_ == nullptr) {
    return true;
  }
  const int t = difference_->transition;
  double Cm = at[transitions_];
  if (index == 1) {
    const bool ofCm = difference_->quantity == Quantity::Cm;
    Cm += ofCm ? difference_->value : difference_->value / toCallers(share_, at[t]);
  }
  return hold(held[t], Quantity::Cm, Cm);
}

// Derivatives of the shape by the searched values, the curve's own parameters at rest.
SmallMatrix<kMostShape, kMostSearched> SharedModel::directions(const Part& part, int index,
                                                               const Shape& shape,
                                                               const Searched& at) const {
  SmallMatrix<kMostShape, kMostSearched> by(shapeCount(transitions_), at.size());
  by.setZero();
  by.leftCols(transitions_) = directionOfShared(part.member->setup, shape, share_);
  if (difference_ == nullptr) {
    return by;
  }
  const Readings& r = part.member->setup.readings;
  const int t = difference_->transition;
  const double Cm = r.xFirst + r.xSpan * shape.c[t];
  by.col(t).setZero();
  by(placeOfC(t), transitions_) = 1.0 / r.xSpan;
  if (share_ == ZOLTI_SHARE_M) {
    by(placeOfLogS(t), t) = 1.0;
    if (index == 1 && difference_->quantity == Quantity::dG) {
      by(placeOfC(t), t) = -difference_->value / toCallers(share_, at[t]) / r.xSpan;
    }
  } else {
    // m = dG/Cm
    by(placeOfLogS(t), t) = 1.0 / at[t];
    by(placeOfLogS(t), transitions_) = -1.0 / Cm;
  }
  return by;
}

bool SharedModel::expand(Part& part, int index, const Searched& at) {
  const Setup& setup = part.member->setup;
  std::array<Held, kMostTransitions> held = setup.held;
  if (!holdValues(part, index, at, held)) {
    return false;
  }
  const ShapeMap map(setup.readings, transitions_, setup.bounds, held);
  if (!map.feasible()) {
    return false;
  }
  Separable separable(setup.readings, setup.baselines);
  const CurveModel own{separable, map};
  SearchLimits limits;
  limits.polished = false;
  limits.gain = kOwnGain;
  const Searched start = map.searchedFrom(part.solution.shape);
  const Minimum least = minimise(own, start, map.lower(), map.upper(), map.scale(), limits);
  if (!std::isfinite(least.sse)) {
    return false;
  }
  const Shape shape = map.shapeAt(least.at);
  Expansion full;
  separable.expand(shape, full);
  part.solution.shape = shape;
  part.solution.sse = full.sse;
  part.solution.found = true;
  part.solution.converged = least.converged;

  // Eliminates the curve's own parameters, but for those that rest at a bound.
  const auto toShared = directions(part, index, shape, at);
  const auto toOwn = map.slopes(shape);
  Expansion ownPart = full;
  map.reduce(shape, ownPart);
  std::array<int, kMostSearched> free;
  const int count = freeParameters(least.at, ownPart.slope, map.lower(), map.upper(), free);
  SmallMatrix<kMostShape, kMostSearched> moving(toOwn.rows(), count);
  for (int i = 0; i < count; ++i) {
    moving.col(i) = toOwn.col(free[i]);
  }
  const SmallMatrix<kMostShape, kMostSearched> bent = full.curvature.lazyProduct(toShared);
  Expansion& left = part.left;
  left.sse = full.sse;
  left.slope = toShared.transpose().lazyProduct(full.slope);
  left.curvature = toShared.transpose().lazyProduct(bent);
  if (count > 0) {
    const SmallMatrix<kMostShape, kMostSearched> bentOwn = full.curvature.lazyProduct(moving);
    const SearchedMatrix inner = moving.transpose().lazyProduct(bentOwn);
    const SearchedMatrix across = moving.transpose().lazyProduct(bent);
    const Searched slope = moving.transpose().lazyProduct(full.slope);
    const Eigen::LLT<SearchedMatrix> factor(inner);
    if (factor.info() == Eigen::Success) {
      const SearchedMatrix solved = factor.solve(across);
      left.curvature -= across.transpose().lazyProduct(solved);
      left.slope -= solved.transpose().lazyProduct(slope);
    }
  }
  const double noise = part.member->noise;
  left.sse /= noise;
  left.slope /= noise;
  left.curvature /= noise;
  return left.slope.allFinite() && left.curvature.allFinite();
}

bool SharedModel::operator()(const Searched& at, Expansion& expansion) {
  expansion.sse = 0.0;
  expansion.slope.setZero(at.size());
  expansion.curvature.setZero(at.size(), at.size());
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    if (!expand(parts_[i], static_cast<int>(i), at)) {
      return false;
    }
    expansion.sse += parts_[i].left.sse;
    expansion.slope += parts_[i].left.slope;
    expansion.curvature += parts_[i].left.curvature;
  }
  if (rest_ != nullptr) {
    const Searched off = at.head(transitions_) - rest_->at;
    const Searched bent = rest_->rest.curvature.lazyProduct(off);
    expansion.sse += off.dot(bent) - 2.0 * off.dot(rest_->rest.slope);
    expansion.slope.head(transitions_) += rest_->rest.slope - bent;
    expansion.curvature.topLeftCorner(transitions_, transitions_) += rest_->rest.curvature;
  }
  return true;
}

}  // namespace zolt::inference
