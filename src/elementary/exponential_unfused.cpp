// The exponential without fused operations: a quick sequence of plain ones, a test that tells
// whether it gives the bits of the fused sequence for sure, and exact arithmetic where it does not
// (1 value in 45).
//
// What is the same. Let z = x 128 / ln 2, rounded. Half whole numbers are doubles and rounding
// never crosses a double, so z lies on the same side of them as the exact product, and the nearest
// whole number k is the same unless z itself is a half. |k| < 2^17. kStepHigh has 36 bits, so its
// product with k is exact, and the sum with x as well (a multiple of 2^-61 below 2^-8, or x itself
// for k = 0). kStepLow is cut into 36 and 14 bits, whose products with k are exact too: multiples
// of 2^-82 and 2^-99. The sum with the first leaves an error that is a multiple of 2^-82 and below
// 2^-61, to which the second product is added exactly; fastTwoSum may be used since a sum below
// 2^-29 loses at most the last multiple of 2^-82. One rounding remains, the one of the fused
// operation: r has the same bits. So have its square, the square of that, and r + the table's
// error.
//
// What may differ. Count in units of 2^-62, half the last place of growth (below 2^-8).
//   fused    growth is rounded twice: 2 units.
//   here     growth is rounded once, the small terms being added up first: 1 unit. Rounding in c2 +
//            c3 r (2^-53 times r^2 < 2^-17) and in the small terms (2^-70 twice): 0.02 units.
//            Times the scale, taken as 1 <= m < 2, that is 3.02 m.
//   product  m growth is below 2^-7: 2 units. Taking off and adding the margin: 2 units.
// The sum, 3.02 m + 4, is less than 8 m, and so a margin of 8 m units, 2^-59 of the scale, covers
// it: the fused result is the rounding of a number between the two sums that are compared below.
// If both round alike, so does it.
#include "elementary/exponential_unfused.h"

#include <algorithm>
#include <limits>

#include "elementary/exponential_steps.h"

namespace zolt::unfused {
namespace {

constexpr double kStepLowHead = -0x1.cf79abc9ep-47;
constexpr double kStepLowTail = -0x1.d9dp-86;
static_assert(kStepLowHead + kStepLowTail == kStepLow);

constexpr double kMargin = 0x1p-59;

// NaN where it cannot be told; compilers make loops over it vector code.
ZOLT_INLINE double quickExponential(double x) {
  const double z = x * kStepsPerUnit;
  const double shifted = z + kShift;
  const auto steps = std::bit_cast<std::uint64_t>(shifted);
  const double k = shifted - kShift;
  const DoubleDouble sum = fastTwoSum(k * kStepHigh + x, k * kStepLowHead);
  const double r = sum.high + (sum.low + k * kStepLowTail);
  const double square = r * r;
  const double small = square * (r * kC3 + kC2) + (square * square) * (r * kC5 + kC4);
  const double growth = (r + scaleErrorOf(steps)) + small;
  const double scale = scaleOf(steps);
  const double product = scale * growth;
  const double lower = scale + (product - scale * kMargin);
  const double upper = scale + (product + scale * kMargin);
  const double distance = z - k;
  const bool isTie = distance == 0.5 || distance == -0.5;
  return lower == upper && !isTie ? upper : std::numeric_limits<double>::quiet_NaN();
}

// Never reached for tiny arguments, whose squares would underflow: their result is 1 for sure.
struct Emulated {
  static double multiplyAdd(double a, double b, double c) { return fusedMultiplyAdd(a, b, c); }
};
double slowExponential(double x) { return anyExponential<Emulated>(x); }

}  // namespace

double exponential(double x) {
  const double quick =
      isOrdinary(x) ? quickExponential(x) : std::numeric_limits<double>::quiet_NaN();
  return quick == quick ? quick : slowExponential(x);
}

void exponentials(double* values, int n) {
  if (!allOrdinary(values, n)) {
    std::transform(values, values + n, values, exponential);
    return;
  }
  constexpr int kBlock = 64;
  double quick[kBlock];
  for (int first = 0; first < n; first += kBlock) {
    double* block = values + first;
    const int count = std::min(kBlock, n - first);
    for (int i = 0; i < count; ++i) {
      quick[i] = quickExponential(block[i]);
    }
    for (int i = 0; i < count; ++i) {
      block[i] = quick[i] == quick[i] ? quick[i] : slowExponential(block[i]);
    }
  }
}

}  // namespace zolt::unfused
