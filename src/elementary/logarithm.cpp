// A quick way gives the logarithm as a pair of doubles with a bound of its error. Where rounding
// the upper and the lower end gives the same double, that is the one; otherwise, less than once in
// 2^14 values, 384 bits decide. They always can: ln x is irrational for every double but 1, and of
// all doubles the one whose logarithm comes closest to the middle of two doubles stays more than
// 2^-120 of it away (Lefevre and Muller, Worst cases for correct rounding of the elementary
// functions in double precision, 15th IEEE Symposium on Computer Arithmetic, 2001).
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

struct Bounded {
  DoubleDouble value;
  double error;
};

// x = m 2^e = 2^(k/128) (1 + z) with k = 128 e + j and |z| < 0.003 = 2^-8.4.
//
// For k = 0, next to 1, z is exact. Otherwise the table's entry for 2^(-j/128) with its error, and
// what is lost in the product with it, leave an error of 2^-105, and ln x is not below 2^-8.7.
//
// ln(1 + z) = z - z^2/2 + z^3 (1/3 - z/4 + ... + z^6/9). The first two terms are pairs. Single
// doubles do for the rest, whose roundings come to 3/2 of 2^-53 z^3; with what z.low is left out
// of, z.low z^2, and the roundings of the last sums this stays below 2^-51 z^3. The next term is
// below 2^-60 z^3.
Bounded quickLogarithm(double x) {
  constexpr std::uint64_t kFraction = (std::uint64_t{1} << 52) - 1;
  const bool isSubnormal = x < 0x1p-1022;
  const auto bits = std::bit_cast<std::uint64_t>(isSubnormal ? x * 0x1p+54 : x);
  const int e = static_cast<int>(bits >> 52) - (isSubnormal ? 1023 + 54 : 1023);
  const auto m = std::bit_cast<double>((bits & kFraction) | std::uint64_t{1023} << 52);
  // 128 log2 m to 0.04
  const double t = m - 1.0;
  const double position = t * (184.0 + t * (-86.5 + t * (41.0 + t * -10.5)));
  const int j = static_cast<int>(position + 0.5);
  const double k = 128 * e + j;

  const auto steps = static_cast<std::uint64_t>(-j);
  const DoubleDouble product = twoProduct(m, scaleOf(steps));
  const DoubleDouble z =
      twoSum(product.high - 1.0, product.low + product.high * scaleErrorOf(steps));
  const DoubleDouble square = twoProduct(z.high, z.high);
  const double cube = square.high * z.high;
  double tail = 1.0 / 9.0;
  for (int degree = 8; degree >= 3; --degree) {
    tail = 1.0 / degree - z.high * tail;
  }
  const double rest = cube * tail + (z.low - z.high * z.low) - 0.5 * square.low;

  const DoubleDouble whole = fastTwoSum(k * kStepHead, k * kStepMiddle);
  const DoubleDouble two = fastTwoSum(z.high, -0.5 * square.high);
  const DoubleDouble sum = twoSum(whole.high, two.high);
  const double low = sum.low + ((whole.low + k * kStepTail) + (two.low + rest));
  const DoubleDouble value = fastTwoSum(sum.high, low);
  return {value, std::fabs(cube) * 0x1p-51 + std::fabs(value.high) * 0x1p-95};
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
  const auto [quick, error] = quickLogarithm(x);
  const double lower = quick.high + (quick.low - error);
  const double upper = quick.high + (quick.low + error);
  return lower == upper ? upper : slowLogarithm(x);
}

double slowLogarithm(double x) {
  const SignedFixedPoint ln = fixedLogarithm(partsOf(x));
  const double magnitude = nearestDouble(ln.magnitude, 0);
  return ln.isNegative ? -magnitude : magnitude;
}

}  // namespace zolt
