// Householder reflectors, as LAPACK's DLARFG makes them and DLARF applies them.
#pragma once

#include <cmath>
#include <cstddef>

#include "fit/machine_constants.h"
#include "fit/scaled_norm.h"
#include "frame/scalar_kit.h"

namespace zolt {

// The reflector I - tau u u' with u = (1, v) that sends a column (alpha, tail) to (beta, 0). Each
// element of v is that of the tail times `scale`. A tau of 0 leaves every column as it is.
struct Reflector {
  double tau;
  double beta;
  double scale;
};

// The reflector of a column from its first element, and its tail and the tail's scaled norm. Where
// beta would be too small to divide by, the tail is first multiplied up in place, so that `scale`
// always refers to the tail as it stands afterwards.
inline Reflector makeReflector(double alpha, double tailNorm, double* tail, int count) {
  if (tailNorm == 0.0) {
    return {0.0, alpha, 1.0};
  }
  const auto signedNorm = [&alpha](double norm) {
    const double length = scalarHypot(alpha, norm);
    return alpha >= 0.0 ? -length : length;
  };
  double beta = signedNorm(tailNorm);
  int rescalings = 0;
  while (std::fabs(beta) < kSafeMinimum) {
    ++rescalings;
    for (int k = 0; k < count; ++k) {
      tail[k] *= kSafeMinimumReciprocal;
    }
    beta *= kSafeMinimumReciprocal;
    alpha *= kSafeMinimumReciprocal;
  }
  if (rescalings > 0) {
    beta = signedNorm(scaledNorm(tail, count));
  }
  const double tau = (beta - alpha) / beta;
  const double scale = 1.0 / (alpha - beta);
  for (; rescalings > 0; --rescalings) {
    beta *= kSafeMinimum;
  }
  return {tau, beta, scale};
}

// Applies a reflector to one column whose elements stand `stride` apart: `top` is the element that
// meets the 1 of u, the `count` elements below it meet v.
inline void reflectColumn(double tau, const double* v, int count, double* top,
                          std::ptrdiff_t stride) {
  double w = top[0];
  for (int k = 0; k < count; ++k) {
    w += top[(k + 1) * stride] * v[k];
  }
  if (w == 0.0) {
    return;
  }
  w = -tau * w;
  top[0] += w;
  for (int k = 0; k < count; ++k) {
    top[(k + 1) * stride] += w * v[k];
  }
}

}  // namespace zolt
