// Euclidean norms that neither overflow nor underflow on the way.
//
// The method is that of the reference BLAS, DNRM2: the sum of squares is kept relative to the
// largest magnitude so far. The order of its operations is part of every result.
#pragma once

#include <cmath>

#include "fit/machine_constants.h"

namespace zolt {

// The running state of a scaled norm: the largest magnitude so far, and the sum of squares of the
// elements relative to it. A NaN leaves the scale and makes the sum NaN.
struct ScaledSum {
  double scale = kSmallestNormal;
  double sum = 0.0;

  double norm() const { return scale * std::sqrt(sum); }
};

// An element this many times the scale makes the sum so far vanish beside 1: its part is 2^-200 of
// at most as many ones as there are elements. The quotient is then not formed, since it might be
// subnormal, which takes a processor a hundred times as long. The first element is such a case.
inline constexpr double kOverwhelming = 0x1p100;

inline void addToScaledSum(ScaledSum& state, double element) {
  const double a = std::fabs(element);
  if (a > state.scale) {
    const double t = a > kOverwhelming * state.scale ? 0.0 : state.scale / a;
    state.sum = 1.0 + state.sum * t * t;
    state.scale = a;
  } else {
    const double t = a / state.scale;
    state.sum = state.sum + t * t;
  }
}

// The norm of `count` elements that stand `stride` apart: 0 of none, the magnitude of a single one;
// a NaN makes it NaN.
double scaledNorm(const double* v, int count, int stride = 1);

}  // namespace zolt
