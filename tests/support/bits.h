// Equality of doubles to the bit, and their full digits for a failure's one line.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdio>
#include <string>

// The bits of a value; all NaN count as one, since which of them comes out is the compiler's
// choice.
inline std::uint64_t bitsOf(double value) {
  return value != value ? 0x7ff8000000000000u : std::bit_cast<std::uint64_t>(value);
}

inline bool sameBits(double a, double b) { return bitsOf(a) == bitsOf(b); }

inline std::string digits(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

inline std::string wantedGot(double wanted, double got) {
  return "wanted " + digits(wanted) + " got " + digits(got);
}
