// The steps of the exponential that all its ways have in common.
//
//   e^x = 2^(k/128) e^r,   k the whole number nearest to 128 x / ln 2,   r = x - k ln 2 / 128.
//
// 2^(k/128) is a power of two times a table entry, and e^r - 1 a polynomial of degree 5; |r| stays
// below 0.00271. Every step rounds once, as a fused operation, and so the bits are defined.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

#include "elementary/exact_arithmetic.h"

namespace zolt {

// 2^(i/128): the nearest double as bits, less i << 45, and that double's relative error as the bits
// of a double. Adding k << 45 for any k with k mod 128 = i gives the bits of 2^(k/128).
struct PowerOfTwo {
  std::uint64_t error;
  std::uint64_t bits;
};
alignas(64) inline constexpr PowerOfTwo kPowersOfTwo[128] = {
#include "elementary/exponential_table.inc"
};

inline constexpr double kStepsPerUnit = 0x1.71547652b82fep+7;  // 128 / ln 2

// Added to a number below 2^51, this leaves the nearest whole number in the last bits.
inline constexpr double kShift = 0x1.8p+52;

// -ln 2 / 128 in two parts. The high one has 36 bits, so that its product with k is exact.
inline constexpr double kStepHigh = -0x1.62e42fefap-8;
inline constexpr double kStepLow = -0x1.cf79abc9e3b3ap-47;

// e^r - 1 = r + c2 r^2 + c3 r^3 + c4 r^4 + c5 r^5, to 2^-65 of e^r.
inline constexpr double kC2 = 0x1.ffffffffffdbdp-2;
inline constexpr double kC3 = 0x1.555555555543cp-3;
inline constexpr double kC4 = 0x1.55555cf172b91p-5;
inline constexpr double kC5 = 0x1.1111167a4d017p-7;

// Below this magnitude neither the result nor anything on the way leaves the normal range.
inline constexpr double kOrdinary = 512.0;

ZOLT_INLINE bool isOrdinary(double x) { return x < kOrdinary && x > -kOrdinary; }

// By bits, since whole numbers join without a branch: a magnitude from kOrdinary on, and any NaN,
// carries into the top bit.
ZOLT_INLINE bool allOrdinary(const double* values, int n) {
  constexpr std::uint64_t kTop = std::uint64_t{1} << 63;
  constexpr std::uint64_t kToTop = kTop - std::bit_cast<std::uint64_t>(kOrdinary);
  std::uint64_t joined = 0;
  for (int i = 0; i < n; ++i) {
    joined |= (std::bit_cast<std::uint64_t>(values[i]) & ~kTop) + kToTop;
  }
  return (joined & kTop) == 0;
}

// e^x = scale (1 + growth); `k` stands in the low bits of `steps`.
struct ScaleAndGrowth {
  double scale;
  double growth;
  std::uint64_t steps;
};

ZOLT_INLINE double scaleOf(std::uint64_t steps) {
  return std::bit_cast<double>(kPowersOfTwo[steps % 128].bits + (steps << 45));
}
ZOLT_INLINE double scaleErrorOf(std::uint64_t steps) {
  return std::bit_cast<double>(kPowersOfTwo[steps % 128].error);
}

// Fused::multiplyAdd(a, b, c) is a b + c with one rounding.
template <class Fused>
ZOLT_INLINE ScaleAndGrowth scaleAndGrowth(double x) {
  const double shifted = Fused::multiplyAdd(x, kStepsPerUnit, kShift);
  const auto steps = std::bit_cast<std::uint64_t>(shifted);
  const double k = shifted - kShift;
  const double r = Fused::multiplyAdd(k, kStepLow, Fused::multiplyAdd(k, kStepHigh, x));
  const double square = r * r;
  const double middle = Fused::multiplyAdd(r, kC3, kC2);
  const double last = Fused::multiplyAdd(r, kC5, kC4);
  double growth = Fused::multiplyAdd(square, middle, r + scaleErrorOf(steps));
  growth = Fused::multiplyAdd(square * square, last, growth);
  return {scaleOf(steps), growth, steps};
}

template <class Fused>
ZOLT_INLINE double ordinaryExponential(double x) {
  const ScaleAndGrowth e = scaleAndGrowth<Fused>(x);
  return Fused::multiplyAdd(e.scale, e.growth, e.scale);
}

// From |x| = 512 on `scale` itself can leave the normal range. It is brought back into it by a
// power of two, which is taken off at the end.
template <class Fused>
ZOLT_INLINE double extremeExponential(double x) {
  if (!(x > -1024.0)) {
    return x != x ? x : 0.0;
  }
  if (x >= 1024.0) {
    return std::numeric_limits<double>::infinity();
  }
  const ScaleAndGrowth e = scaleAndGrowth<Fused>(x);
  const auto bits = std::bit_cast<std::uint64_t>(e.scale);
  if (x > 0.0) {
    const auto scale = std::bit_cast<double>(bits - (std::uint64_t{1009} << 52));
    return 0x1p+1009 * Fused::multiplyAdd(scale, e.growth, scale);
  }
  // The product is rounded here, unlike above: the bits of small results are defined so.
  const auto scale = std::bit_cast<double>(bits + (std::uint64_t{1022} << 52));
  const double product = scale * e.growth;
  double result = scale + product;
  if (result < 1.0) {
    // A subnormal result has fewer bits. Adding 1 rounds to just those, once and with what the sum
    // before lost taken into account.
    const double lost = (scale - result) + product;
    const double high = 1.0 + result;
    const double low = ((1.0 - high) + result) + lost;
    result = (high + low) - 1.0;
  }
  return 0x1p-1022 * result;
}

template <class Fused>
ZOLT_INLINE double anyExponential(double x) {
  return isOrdinary(x) ? ordinaryExponential<Fused>(x) : extremeExponential<Fused>(x);
}

}  // namespace zolt
