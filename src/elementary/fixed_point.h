// Numbers of 384 bits, for what doubles cannot decide. Slow, and simple enough to be seen right:
// magnitudes only, truncated towards zero, carried in 32-bit limbs.
#pragma once

#include <array>
#include <cstdint>

namespace zolt {

// The sum of limb[i] 2^(32 i - 352): 32 whole bits and 352 of fraction.
struct FixedPoint {
  static constexpr int kLimbs = 12;
  static constexpr int kFraction = 32 * (kLimbs - 1);
  std::array<std::uint32_t, kLimbs> limb{};
};

FixedPoint fixedPoint(std::uint32_t whole);

// significand 2^exponent for a result below 2^32, cut off below 2^-352.
FixedPoint fixedPoint(std::uint64_t significand, int exponent);

// numerator / denominator, for a numerator below the denominator and both below 2^63.
FixedPoint ratio(std::uint64_t numerator, std::uint64_t denominator);

bool isZero(const FixedPoint& a);
FixedPoint operator+(const FixedPoint& a, const FixedPoint& b);
FixedPoint operator-(const FixedPoint& a, const FixedPoint& b);  // a >= b
FixedPoint operator*(const FixedPoint& a, const FixedPoint& b);
FixedPoint operator*(const FixedPoint& a, std::uint32_t b);
FixedPoint operator/(const FixedPoint& a, std::uint32_t b);
FixedPoint operator<<(const FixedPoint& a, int bits);
FixedPoint operator>>(const FixedPoint& a, int bits);

// A finite double other than 0 taken apart: its magnitude is significand 2^exponent, with the
// significand from 2^52 to below 2^53.
struct Parts {
  std::uint64_t significand;
  int exponent;
};
Parts partsOf(double v);

struct SignedFixedPoint {
  FixedPoint magnitude;
  bool isNegative;
};

// The natural logarithm, to 2^-330 and, since ln x is not below 2^-53 unless 0, 2^-277 of itself.
SignedFixedPoint fixedLogarithm(Parts x);
FixedPoint fixedLogarithmOf2();

// e^r for r below 1, to 2^-340.
FixedPoint fixedExponential(const FixedPoint& r);

// a 2^exponent as the nearest double, ties to even; subnormal, 0 or infinite where it must be.
double nearestDouble(const FixedPoint& a, int exponent);

}  // namespace zolt
