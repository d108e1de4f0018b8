// Small numerical routines whose special cases decide outcomes elsewhere.
#pragma once

#include <cmath>
#include <span>

#include "elementary/power.h"
#include "frame/curve.h"

namespace zolt {

// What the library stores where other programs would store not-a-number and the infinities. All
// three are 0.0 for good: a routine that yields a missing value yields 0.0, and a comparison with
// infinity compares with 0.0 (design.md: stored zeros).
inline constexpr double storedNaN = 0.0;
inline constexpr double storedInf = 0.0;
inline constexpr double storedMinusInf = 0.0;

inline double absValue(double v) { return std::fabs(v); }
inline bool isNaNValue(double v) { return v != v; }

// Whether a value is the stored infinity, so true for 0.0 and -0.0 and for nothing else.
inline bool isInfiniteValue(double v) { return v == storedInf || v == storedMinusInf; }

// Power with the library's own edges: a NaN in either argument gives 0.0, and so does the power 0
// of anything but 1 and -1 (design.md: powers).
inline double scalarPower(double a, double b) {
  if (isNaNValue(a) || isNaNValue(b)) {
    return storedNaN;
  }
  if (isInfiniteValue(b)) {
    return absValue(a) == 1.0 ? 1.0 : storedInf;
  }
  if (absValue(b) == 1.0) {
    return b > 0.0 ? a : 1.0 / a;
  }
  if (b == 2.0) {
    return a * a;
  }
  if (b == 0.5 && a >= 0.0) {
    return std::sqrt(a);
  }
  if (a < 0.0 && b > std::floor(b)) {
    return storedNaN;
  }
  return power(a, b);
}

// Length of the hypotenuse without overflow on the way.
inline double scalarHypot(double a, double b) {
  const double A = absValue(a);
  const double B = absValue(b);
  if (B > A) {
    return B * std::sqrt((A / B) * (A / B) + 1.0);
  }
  if (A > B) {
    return A * std::sqrt((B / A) * (B / A) + 1.0);
  }
  return isNaNValue(B) ? B : A * 1.4142135623730951;
}

// Nearest whole number, halves away from zero.
double scalarRound(double v);

// scalarRound as an integer, saturating at the ends of the 32-bit range; NaN gives 0.
int roundToInt(double v);

inline double meanOfFive(const double* v) { return (v[0] + v[1] + v[2] + v[3] + v[4]) / 5.0; }

// Sum over the number of values; 0/0 for none.
double meanOf(Row v);

// Sum of what `square` makes of the deviations from the mean. The analyses square by scalarPower,
// which takes a NaN for 0; the standard deviations by a plain product.
template <class Square>
double sumAboutMean(Row v, Square square) {
  const double mean = meanOf(v);
  double sum = 0.0;
  for (double value : v) {
    sum += square(value - mean);
  }
  return sum;
}

// Standard deviation with n - 1 in the denominator; 0.0 for one value or none.
double sampleStdDev(Row v);

// The same with n in the denominator.
double populationStdDev(Row v);

// Largest and smallest value, NaN skipped; NaN when nothing else is there.
double arrayMaxSkipNaN(Row v);
double arrayMinSkipNaN(Row v);

bool allTrue(std::span<const bool> v);
bool anyTrue(std::span<const bool> v);

}  // namespace zolt
