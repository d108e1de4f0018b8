// Sums and products of doubles without loss: the result together with its rounding error. What
// needs more than 53 bits on the way is made of these, with the same bits on every processor,
// whether it can fuse a product with a sum or not.
//
// Each holds for round to nearest and while nothing overflows and no error underflows; magnitudes
// from 2^-400 to 2^400, and 0, are always safe.
#pragma once

#include <bit>
#include <cfloat>
#include <cstdint>

#if defined(__FAST_MATH__)
#error "Results must not depend on the compiler's liberties: build without fast-math."
#endif
#if FLT_EVAL_METHOD != 0
#error "Every operation must round to double: on 32-bit x86 build with -msse2 -mfpmath=sse."
#endif

// Inlined even where nothing is optimised, so that the code takes over the instruction set of the
// function it is written into.
#define ZOLT_INLINE inline __attribute__((always_inline))

namespace zolt {

// An unevaluated sum; `low` is at most half a unit in the last place of `high`.
struct DoubleDouble {
  double high;
  double low;
};

// a + b, for |a| >= |b| or where b - (high - a) is known to be exact.
ZOLT_INLINE DoubleDouble fastTwoSum(double a, double b) {
  const double high = a + b;
  return {high, b - (high - a)};
}

// a + b, for any two (Knuth).
ZOLT_INLINE DoubleDouble twoSum(double a, double b) {
  const double high = a + b;
  const double bPart = high - a;
  return {high, (a - (high - bPart)) + (b - bPart)};
}

// a * b (Dekker): halves of 26 bits, whose products are exact.
ZOLT_INLINE DoubleDouble twoProduct(double a, double b) {
  constexpr double kSplitter = 134217729.0;  // 2^27 + 1
  const double aScaled = kSplitter * a;
  const double bScaled = kSplitter * b;
  const double aHigh = aScaled - (aScaled - a);
  const double bHigh = bScaled - (bScaled - b);
  const double aLow = a - aHigh;
  const double bLow = b - bHigh;
  const double high = a * b;
  const double error = ((aHigh * bHigh - high) + aHigh * bLow) + aLow * bHigh;
  return {high, error + aLow * bLow};
}

// a * b + c with a single rounding, as a processor's fused instruction gives it.
//
// After Boldo and Melquiond (IEEE Transactions on Computers 57, 2008): the three parts of the exact
// value are brought down to two, and the smaller of them is rounded to odd, that is, an inexact sum
// takes the neighbour whose last bit is 1. So it can never feign a tie in the last sum.
ZOLT_INLINE double fusedMultiplyAdd(double a, double b, double c) {
  const DoubleDouble product = twoProduct(a, b);
  const DoubleDouble lows = twoSum(c, product.low);
  const DoubleDouble highs = twoSum(product.high, lows.high);
  const DoubleDouble rest = twoSum(lows.low, highs.low);
  auto odd = std::bit_cast<std::uint64_t>(rest.high);
  if (rest.low != 0.0 && odd % 2 == 0) {
    odd = (rest.low > 0.0) == (rest.high > 0.0) ? odd + 1 : odd - 1;
  }
  return highs.high + std::bit_cast<double>(odd);
}

}  // namespace zolt
