// Small whole powers, the only ones that the analyses take, are products in pairs of doubles, right
// to 2^-98. Where rounding the upper and the lower bound gives the same double, that is the one.
// All others go the slow way, e^(y ln x) with 384 bits, right to 2^-265.
//
// That decides unless x^y lies on the middle of two doubles or within 2^-265 of it. Exact ties are
// found beforehand; that any other of the 2^126 pairs comes so close has a chance of 2^-85. A tie
// has at most 54 bits. Let x = w 2^e with w odd.
//   - If y is not whole, it is n / 2^k with n odd, and x^y has finitely many bits only if w and 2^e
//     are 2^k-th powers. Taking k square roots leaves a whole power.
//   - For whole y < 0, w^y has finitely many bits only for w = 1.
//   - For whole y > 0, w^y has about y times the bits of w. Up to 352 bits it is computed without
//     loss, and beyond them it is no tie.
// So what comes out is the nearest double: for whole y from 2 to 6 by proof, since all of x^y fits,
// and for the rest but for that chance.
#include "elementary/power.h"

#include <bit>
#include <cmath>
#include <limits>

#include "elementary/exact_arithmetic.h"
#include "elementary/fixed_point.h"
#include "elementary/logarithm.h"

namespace zolt {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool isWhole(double v) { return std::floor(v) == v; }
bool isOdd(double v) { return isWhole(v) && !isWhole(v / 2.0); }

// NaN where the bounds round differently, or the parts of the product might leave the range.
double quickWholePower(double x, int n) {
  constexpr double kMargin = 0x1p-98;
  if (!(x > 0x1p-100 && x < 0x1p+100)) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  DoubleDouble product = twoProduct(x, x);
  for (int i = 2; i < n; ++i) {
    const DoubleDouble next = twoProduct(product.high, x);
    product = fastTwoSum(next.high, next.low + product.low * x);
  }
  const double lower = product.high + (product.low - product.high * kMargin);
  const double upper = product.high + (product.low + product.high * kMargin);
  return lower == upper ? upper : std::numeric_limits<double>::quiet_NaN();
}

double positivePower(double x, double y) {
  if (y >= 2.0 && y <= 8.0 && isWhole(y)) {
    const double quick = quickWholePower(x, static_cast<int>(y));
    if (quick == quick) {
      return quick;
    }
  }
  return slowPower(x, y);
}

// e^(y ln x), whose exponent is about `estimate`.
double powerByLogarithm(Parts x, double y, double estimate) {
  const Parts factor = partsOf(y);
  const FixedPoint product = fixedLogarithm(x).magnitude * fixedPoint(factor.significand, -52);
  const int bits = factor.exponent + 52;
  const FixedPoint exponent = bits >= 0 ? product << bits : product >> -bits;

  // As many times ln 2 as leave a rest from 0 to a little above ln 2, however the estimate errs.
  const double doublings = std::fabs(estimate) * 1.4426950408889634;
  if (estimate < 0.0) {
    const auto n = static_cast<std::uint32_t>(doublings + 0x1p-20) + 1;
    const FixedPoint rest = fixedLogarithmOf2() * n - exponent;
    return nearestDouble(fixedExponential(rest), -static_cast<int>(n));
  }
  const auto n = static_cast<std::uint32_t>(std::fmax(doublings - 0x1p-20, 0.0));
  const FixedPoint rest = exponent - fixedLogarithmOf2() * n;
  return nearestDouble(fixedExponential(rest), static_cast<int>(n));
}

}  // namespace

double slowPower(double x, double y) {
  if (x == 1.0) {
    return 1.0;
  }
  const double estimate = y * logarithm(x);
  if (estimate > 710.0) {
    return kInfinity;
  }
  if (estimate < -746.0) {
    return 0.0;
  }
  if (std::fabs(estimate) < 0x1p-60) {
    return 1.0;
  }
  const Parts parts = partsOf(x);
  const int zeros = std::countr_zero(parts.significand);
  std::uint64_t odd = parts.significand >> zeros;
  int exponent = parts.exponent + zeros;
  double whole = y;
  while (!isWhole(whole) && exponent % 2 == 0) {
    const auto root = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(odd)));
    if (root * root != odd) {
      break;
    }
    odd = root;
    exponent /= 2;
    whole *= 2.0;
  }
  if (isWhole(whole) && odd == 1) {
    return nearestDouble(fixedPoint(1u), static_cast<int>(exponent * whole));
  }
  const int bits = 64 - std::countl_zero(odd);
  if (isWhole(whole) && whole > 0.0 && whole * bits <= FixedPoint::kFraction) {
    const FixedPoint fraction = fixedPoint(odd, -bits);
    const int n = static_cast<int>(whole);
    FixedPoint product = fraction;
    for (int i = 1; i < n; ++i) {
      product = product * fraction;
    }
    return nearestDouble(product, n * (bits + exponent));
  }
  return powerByLogarithm(parts, y, estimate);
}

double power(double x, double y) {
  if (x == 1.0 || y == 0.0) {
    return 1.0;
  }
  if (x != x || y != y || (x < 0.0 && std::fabs(x) != kInfinity && !isWhole(y))) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  const double size = std::fabs(x);
  if (std::fabs(y) == kInfinity) {
    return size == 1.0 ? 1.0 : (size > 1.0) == (y > 0.0) ? kInfinity : 0.0;
  }
  const bool isExtreme = size == 0.0 || size == kInfinity;
  const double extreme = (size > 1.0) == (y > 0.0) ? kInfinity : 0.0;
  const double magnitude = isExtreme ? extreme : positivePower(size, y);
  return std::signbit(x) && isOdd(y) ? -magnitude : magnitude;
}

}  // namespace zolt
