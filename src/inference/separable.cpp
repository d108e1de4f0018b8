// Variable projection for one curve.
#include "inference/separable.h"

#include <cmath>

namespace zolt::inference {
namespace {

// A baseline column that the others make up to this share of its length determines nothing.
constexpr double kDependent = 1e-10;

}  // namespace

void Separable::fractions(const Shape& shape) {
  const int n = readings_->n, k = shape.transitions;
  const auto w = shape.weights();
  F_.resize(n, k);
  G_.setZero(n);
  for (int t = 0; t < k; ++t) {
    const double s = std::exp(shape.logS[t]);
    F_.col(t) = (1.0 + ((shape.c[t] - readings_->u.array()) * s).exp()).inverse();
    G_ += w[t] * F_.col(t);
  }
}

// The columns of the free baseline parameters, and the signal less what is given.
void Separable::fillLinear(int shapeColumns) {
  const auto u = readings_->u.array();
  const auto root = readings_->root.array();
  const int n = readings_->n;
  columns_.resize(n, baselines_.freeCount() + shapeColumns);
  target_ = readings_->y.array() * root;
  linearCount_ = 0;
  const Baseline* sides[] = {&baselines_.native, &baselines_.denatured};
  for (int side = 0; side < 2; ++side) {
    const Baseline& baseline = *sides[side];
    work_ = root * G_.array();
    if (side == 0) {
      work_ = readings_->root - work_;
    }
    if (baseline.kind == ZOLTI_GIVEN) {
      coefficients_[2 * side] = baseline.intercept;
      coefficients_[2 * side + 1] = baseline.slope;
      target_.array() -= work_.array() * (baseline.intercept + baseline.slope * u);
      continue;
    }
    coefficients_[2 * side + 1] = 0.0;
    which_[linearCount_] = 2 * side;
    columns_.col(linearCount_++) = work_;
    if (baseline.kind == ZOLTI_LINE) {
      which_[linearCount_] = 2 * side + 1;
      columns_.col(linearCount_++) = work_.array() * u;
    }
  }
}

// The derivatives by the shape, behind the baseline columns.
void Separable::fillShape(const Shape& shape) {
  const auto u = readings_->u.array();
  const int k = shape.transitions;
  const auto w = shape.weights();
  const auto& a = coefficients_;
  // The weighted height of the denatured over the native baseline.
  work_ = readings_->root.array() * ((a[2] - a[0]) + (a[3] - a[1]) * u);
  for (int t = 0; t < k; ++t) {
    const double s = std::exp(shape.logS[t]);
    auto byC = columns_.col(linearCount_ + placeOfC(t));
    byC = work_.array() * F_.col(t).array() * (1.0 - F_.col(t).array()) * (-s * w[t]);
    columns_.col(linearCount_ + placeOfLogS(t)) = byC.array() * (shape.c[t] - u);
  }
  if (k == 2) {
    columns_.col(linearCount_ + placeOfShare(2, 0)) =
        work_.array() * (F_.col(0) - F_.col(1)).array();
  } else if (k == 3) {
    const double v1 = shape.share[0], v2 = shape.share[1];
    columns_.col(linearCount_ + placeOfShare(3, 0)) =
        work_.array() * (F_.col(0) - v2 * F_.col(1) - (1.0 - v2) * F_.col(2)).array();
    columns_.col(linearCount_ + placeOfShare(3, 1)) =
        work_.array() * ((1.0 - v1) * (F_.col(1) - F_.col(2))).array();
  }
}

bool Separable::expand(const Shape& shape, Expansion& expansion) {
  const int q = shapeCount(shape.transitions);
  fractions(shape);
  fillLinear(q);
  reduceLinear();
  reflect(target_);
  solveLinear();

  fillShape(shape);
  target_.head(linearRank_).setZero();
  expansion.slope.resize(q);
  expansion.curvature.resize(q, q);
  for (int i = 0; i < q; ++i) {
    auto column = columns_.col(linearCount_ + i);
    reflect(column);
    column.head(linearRank_).setZero();
    expansion.slope[i] = column.dot(target_);
    for (int j = 0; j <= i; ++j) {
      expansion.curvature(i, j) = expansion.curvature(j, i) =
          column.dot(columns_.col(linearCount_ + j));
    }
  }
  expansion.sse = target_.squaredNorm();
  return std::isfinite(expansion.sse) && expansion.slope.allFinite() &&
         expansion.curvature.allFinite();
}

// Reflections make the baseline columns triangular, but for those that depend on the ones before.
void Separable::reduceLinear() {
  const int n = readings_->n;
  linearRank_ = 0;
  for (int j = 0; j < linearCount_; ++j) {
    auto column = columns_.col(j);
    const double length = column.norm();
    reflect(column);
    auto left = column.tail(n - linearRank_);
    const double leftLength = left.norm();
    if (!(leftLength > kDependent * length)) {
      continue;
    }
    // v = x + sign(x0) |x| e0; the reflection is 1 - tau v v'.
    Reflection& one = reflections_[linearRank_];
    one.column = j;
    one.diagonal = left[0] >= 0.0 ? -leftLength : leftLength;
    left[0] -= one.diagonal;
    one.tau = 1.0 / (leftLength * std::abs(left[0]));
    ++linearRank_;
  }
}

template <class Column>
void Separable::reflect(Column&& column) const {
  for (int i = 0; i < linearRank_; ++i) {
    const auto v = columns_.col(reflections_[i].column).tail(readings_->n - i);
    auto left = column.tail(readings_->n - i);
    left -= reflections_[i].tau * v.dot(left) * v;
  }
}

void Separable::solveLinear() {
  for (int j = 0; j < linearCount_; ++j) {
    coefficients_[which_[j]] = 0.0;
  }
  for (int i = linearRank_ - 1; i >= 0; --i) {
    double value = target_[i];
    for (int later = i + 1; later < linearRank_; ++later) {
      const int column = reflections_[later].column;
      value -= columns_(i, column) * coefficients_[which_[column]];
    }
    coefficients_[which_[reflections_[i].column]] = value / reflections_[i].diagonal;
  }
}

PerReading Separable::residuals() const {
  const auto u = readings_->u.array();
  const auto& a = coefficients_;
  return readings_->root.array() * (readings_->y.array() - (a[0] + a[1] * u) * (1.0 - G_.array()) -
                                    (a[2] + a[3] * u) * G_.array());
}

SmallMatrix<kMostReadings, kMostParameters> Separable::jacobian(const Shape& shape) {
  const Coefficients kept = coefficients_;
  fillLinear(shapeCount(shape.transitions));
  coefficients_ = kept;
  fillShape(shape);
  return columns_;
}

}  // namespace zolt::inference
