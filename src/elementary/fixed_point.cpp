#include "elementary/fixed_point.h"

#include <bit>
#include <cmath>
#include <cstdlib>

namespace zolt {
namespace {

constexpr int kLimbs = FixedPoint::kLimbs;

std::uint32_t lowHalf(std::uint64_t v) { return static_cast<std::uint32_t>(v); }

// s + s^3/3 + s^5/5 + ..., half the logarithm of (1 + s) / (1 - s). Up to s = 1/3 there are 111
// terms, each cut off three times.
FixedPoint inverseHyperbolicTangent(const FixedPoint& s) {
  const FixedPoint square = s * s;
  FixedPoint power = s;
  FixedPoint sum;
  for (std::uint32_t odd = 1; !isZero(power); odd += 2) {
    sum = sum + power / odd;
    power = power * square;
  }
  return sum;
}

}  // namespace

FixedPoint fixedPoint(std::uint32_t whole) {
  FixedPoint a;
  a.limb[kLimbs - 1] = whole;
  return a;
}

FixedPoint fixedPoint(std::uint64_t significand, int exponent) {
  FixedPoint a;
  a.limb[0] = lowHalf(significand);
  a.limb[1] = lowHalf(significand >> 32);
  const int bits = exponent + FixedPoint::kFraction;
  return bits >= 0 ? a << bits : a >> -bits;
}

FixedPoint ratio(std::uint64_t numerator, std::uint64_t denominator) {
  FixedPoint quotient;
  for (std::size_t i = kLimbs - 1; i-- > 0;) {
    for (int bit = 31; bit >= 0; --bit) {
      numerator *= 2;
      if (numerator >= denominator) {
        numerator -= denominator;
        quotient.limb[i] |= std::uint32_t{1} << bit;
      }
    }
  }
  return quotient;
}

bool isZero(const FixedPoint& a) { return a.limb == FixedPoint{}.limb; }

FixedPoint operator+(const FixedPoint& a, const FixedPoint& b) {
  FixedPoint sum;
  std::uint64_t carry = 0;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    carry += std::uint64_t{a.limb[i]} + b.limb[i];
    sum.limb[i] = lowHalf(carry);
    carry >>= 32;
  }
  return sum;
}

FixedPoint operator-(const FixedPoint& a, const FixedPoint& b) {
  FixedPoint difference;
  std::uint64_t borrow = 0;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    const std::uint64_t v = std::uint64_t{a.limb[i]} - b.limb[i] - borrow;
    difference.limb[i] = lowHalf(v);
    borrow = v >> 63;
  }
  return difference;
}

FixedPoint operator*(const FixedPoint& a, const FixedPoint& b) {
  std::array<std::uint32_t, 2 * kLimbs> full{};
  for (std::size_t i = 0; i < kLimbs; ++i) {
    std::uint64_t carry = 0;
    for (std::size_t j = 0; j < kLimbs; ++j) {
      carry += std::uint64_t{a.limb[i]} * b.limb[j] + full[i + j];
      full[i + j] = lowHalf(carry);
      carry >>= 32;
    }
    full[i + kLimbs] = lowHalf(carry);
  }
  FixedPoint product;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    product.limb[i] = full[i + kLimbs - 1];
  }
  return product;
}

FixedPoint operator*(const FixedPoint& a, std::uint32_t b) {
  FixedPoint product;
  std::uint64_t carry = 0;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    carry += std::uint64_t{a.limb[i]} * b;
    product.limb[i] = lowHalf(carry);
    carry >>= 32;
  }
  return product;
}

FixedPoint operator/(const FixedPoint& a, std::uint32_t b) {
  FixedPoint quotient;
  std::uint64_t rest = 0;
  for (std::size_t i = kLimbs; i-- > 0;) {
    rest = rest << 32 | a.limb[i];
    quotient.limb[i] = lowHalf(rest / b);
    rest %= b;
  }
  return quotient;
}

FixedPoint operator<<(const FixedPoint& a, int bits) {
  const int limbs = bits / 32;
  FixedPoint shifted;
  for (int i = kLimbs - 1; i >= limbs; --i) {
    const auto from = static_cast<std::size_t>(i - limbs);
    const std::uint64_t pair =
        std::uint64_t{a.limb[from]} << 32 | (from > 0 ? a.limb[from - 1] : 0);
    shifted.limb[static_cast<std::size_t>(i)] = lowHalf(pair << (bits % 32) >> 32);
  }
  return shifted;
}

FixedPoint operator>>(const FixedPoint& a, int bits) {
  const int limbs = bits / 32;
  FixedPoint shifted;
  for (int i = 0; i + limbs < kLimbs; ++i) {
    const auto from = static_cast<std::size_t>(i + limbs);
    const std::uint64_t next = from + 1 < kLimbs ? a.limb[from + 1] : 0;
    shifted.limb[static_cast<std::size_t>(i)] = lowHalf((next << 32 | a.limb[from]) >> (bits % 32));
  }
  return shifted;
}

Parts partsOf(double v) {
  int exponent;
  const double fraction = std::frexp(std::fabs(v), &exponent);
  return {static_cast<std::uint64_t>(std::ldexp(fraction, 53)), exponent - 53};
}

FixedPoint fixedLogarithmOf2() { return inverseHyperbolicTangent(ratio(1, 3)) * 2u; }

SignedFixedPoint fixedLogarithm(Parts x) {
  constexpr std::uint64_t kOne = std::uint64_t{1} << 52;
  const FixedPoint rest =
      inverseHyperbolicTangent(ratio(x.significand - kOne, x.significand + kOne)) * 2u;
  const int doublings = x.exponent + 52;
  const FixedPoint whole = fixedLogarithmOf2() * static_cast<std::uint32_t>(std::abs(doublings));
  return doublings < 0 ? SignedFixedPoint{whole - rest, true}
                       : SignedFixedPoint{whole + rest, false};
}

FixedPoint fixedExponential(const FixedPoint& r) {
  FixedPoint term = fixedPoint(1u);
  FixedPoint sum;
  for (std::uint32_t n = 1; !isZero(term); ++n) {
    sum = sum + term;
    term = term * r / n;
  }
  return sum;
}

double nearestDouble(const FixedPoint& a, int exponent) {
  std::size_t top = kLimbs - 1;
  while (top > 0 && a.limb[top] == 0) {
    --top;
  }
  if (a.limb[top] == 0) {
    return 0.0;
  }
  // The 64 bits from the leading one on. The last of them tells whether anything follows.
  const int leading = 32 * static_cast<int>(top) + 31 - std::countl_zero(a.limb[top]);
  const FixedPoint upper = a << (32 * kLimbs - 1 - leading);
  std::uint64_t bits = std::uint64_t{upper.limb[kLimbs - 1]} << 32 | upper.limb[kLimbs - 2];
  for (std::size_t i = 0; i < kLimbs - 2; ++i) {
    bits |= upper.limb[i] != 0;
  }
  // As many of them are kept as a double of this size has.
  const int power = leading - FixedPoint::kFraction + exponent;
  const int kept = power >= -1022 ? 53 : power + 1075;
  if (kept <= 0) {
    return kept == 0 && bits << 1 != 0 ? 0x1p-1074 : 0.0;
  }
  const int dropped = 64 - kept;
  const std::uint64_t rest = bits << kept;
  std::uint64_t whole = bits >> dropped;
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
  whole += rest > kHalf || (rest == kHalf && whole % 2 == 1);
  return std::ldexp(static_cast<double>(whole), power - 63 + dropped);
}

}  // namespace zolt
