// A quick way in pairs of doubles is right to 2^-77 of the result. Where rounding its upper and its
// lower bound gives the same double, that is the one; otherwise, once in 2^23 values, 384 bits
// decide. They always can: ln x is irrational for every double but 1, and of all doubles the one
// whose logarithm comes closest to the middle of two doubles stays more than 2^-120 of it away
// (Lefevre and Muller, Worst cases for correct rounding of the elementary functions in double
// precision, 15th IEEE Symposium on Computer Arithmetic, 2001).
#include "elementary/logarithm.h"

#include <cmath>
#include <limits>

#include "elementary/exact_arithmetic.h"
#include "elementary/exponential_steps.h"
#include "elementary/fixed_point.h"

namespace zolt {
namespace {

// ln 2 / 128 in three parts. The first two have 36 bits, so that their products with a whole number
// below 2^17 are exact.
constexpr double kStepHead = 0x1.62e42fefap-8;
constexpr double kStepMiddle = 0x1.cf79abc9ep-47;
constexpr double kStepTail = 0x1.d9cc01f97b57ap-86;

constexpr double kMargin = 0x1p-77;

// a b + c, for |c| > |a b|, to 2^-101 of the result.
DoubleDouble multiplyAdd(DoubleDouble a, DoubleDouble b, DoubleDouble c) {
  const DoubleDouble product = twoProduct(a.high, b.high);
  const double productLow = product.low + (a.high * b.low + a.low * b.high);
  const DoubleDouble sum = fastTwoSum(c.high, product.high);
  return fastTwoSum(sum.high, sum.low + (productLow + c.low));
}

// ln(1 + z) for |z| < 2^-8.4, by the series up to z^10/10. The next term is below 2^-87 of it. From
// z^4 on single doubles are enough: their roundings come to less than 2^-79 of it.
DoubleDouble logarithmNearOne(DoubleDouble z) {
  constexpr DoubleDouble kCoefficients[] = {
      {0x1.5555555555555p-2, 0x1.5555555555555p-56}, {-0.5, 0.0}, {1.0, 0.0}};
  double tail = -1.0 / 10;
  for (int degree = 9; degree > 3; --degree) {
    tail = (degree % 2 == 0 ? -1.0 : 1.0) / degree + z.high * tail;
  }
  DoubleDouble sum{tail, 0.0};
  for (const DoubleDouble& coefficient : kCoefficients) {
    sum = multiplyAdd(z, sum, coefficient);
  }
  const DoubleDouble product = twoProduct(z.high, sum.high);
  return fastTwoSum(product.high, product.low + (z.high * sum.low + z.low * sum.high));
}

// x = m 2^e = 2^(k/128) (1 + z) with k = 128 e + j, and |z| < 0.0029. For k = 0, next to 1, z is
// exact. Otherwise the table's entry for 2^(-j/128) with its error, and what is lost in the product
// with it, leave 2^-105 in z, which is 2^-96 of the result.
DoubleDouble quickLogarithm(double x) {
  int e;
  const double m = 2.0 * std::frexp(x, &e);
  const double s = (m - 1.0) / (m + 1.0);
  const double ln = 2.0 * s + s * s * s * (2.0 / 3.0 + s * s * (2.0 / 5.0));  // of m, to 0.0002
  const int j = static_cast<int>(ln * kStepsPerUnit + 0.5);
  const double k = 128 * (e - 1) + j;

  const auto steps = static_cast<std::uint64_t>(-j);
  const DoubleDouble product = twoProduct(m, scaleOf(steps));
  const DoubleDouble z =
      twoSum(product.high - 1.0, product.low + product.high * scaleErrorOf(steps));
  const DoubleDouble remainder = logarithmNearOne(z);

  const DoubleDouble whole = fastTwoSum(k * kStepHead, k * kStepMiddle);
  const DoubleDouble sum = twoSum(whole.high, remainder.high);
  return fastTwoSum(sum.high, sum.low + ((whole.low + k * kStepTail) + remainder.low));
}

}  // namespace

double logarithm(double x) {
  if (!(x > 0.0)) {
    return x == 0.0 ? -std::numeric_limits<double>::infinity()
                    : std::numeric_limits<double>::quiet_NaN();
  }
  if (x == std::numeric_limits<double>::infinity()) {
    return x;
  }
  const DoubleDouble quick = quickLogarithm(x);
  const double margin = std::fabs(quick.high) * kMargin;
  const double lower = quick.high + (quick.low - margin);
  const double upper = quick.high + (quick.low + margin);
  return lower == upper ? upper : slowLogarithm(x);
}

double slowLogarithm(double x) {
  const SignedFixedPoint ln = fixedLogarithm(partsOf(x));
  const double magnitude = nearestDouble(ln.magnitude, 0);
  return ln.isNegative ? -magnitude : magnitude;
}

}  // namespace zolt
