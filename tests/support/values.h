// Doubles in tests: the special ones, equality to the bit, and rows told apart in one line.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

using Vector = std::vector<double>;
using Whole = std::vector<std::int32_t>;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();

// The bits of a value; all NaN count as one, since which of them comes out is the compiler's
// choice.
inline std::uint64_t bitsOf(double value) {
  return std::isnan(value) ? 0x7ff8000000000000u : std::bit_cast<std::uint64_t>(value);
}

inline bool sameBits(double a, double b) { return bitsOf(a) == bitsOf(b); }

inline std::string digits(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

// Where two rows first differ, or nothing. Without a tolerance every bit counts.
inline std::string difference(const Vector& wanted, const Vector& got, double tolerance = 0.0) {
  if (wanted.size() != got.size()) {
    return "wanted " + std::to_string(wanted.size()) + " elements, got " +
           std::to_string(got.size());
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const bool near = tolerance > 0.0 && std::fabs(got[i] - wanted[i]) <= tolerance;
    if (!near && !sameBits(wanted[i], got[i])) {
      return "element " + std::to_string(i) + ": wanted " + digits(wanted[i]) + " got " +
             digits(got[i]);
    }
  }
  return {};
}
