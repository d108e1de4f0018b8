// Special cases below the exports that no call shows by itself: growth of records, scalar
// functions.
#include <gtest/gtest.h>

#include "frame/array_records.h"
#include "frame/scalar_kit.h"
#include "support/values.h"

namespace {

TEST(ArrayRecords, GrowByDoubling) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  struct Growth {
    std::int32_t allocated, wanted, capacity;
  };
  for (const Growth& row : {Growth{0, 1, 16},
                            {0, 17, 32},
                            {100, 101, 200},
                            {17, 18, 34},
                            {-1, 3, 16},
                            {0x40000000, 0x40000001, kMost},
                            {1, kMost, kMost}}) {
    EXPECT_EQ(zolt::grownCapacity(row.allocated, row.wanted), row.capacity)
        << row.allocated << " to " << row.wanted;
  }
  const std::int32_t wraps[] = {0x10000, 0x10000};
  EXPECT_EQ(zolt::elementCount(wraps, 2), 0);
}

TEST(ScalarKit, SpecialCases) {
  struct Row {
    const char* call;
    double got, wanted;
  };
  for (const Row& row : {
           Row{"power(3, 0)", zolt::scalarPower(3, 0), 0},
           {"power(-1, 0)", zolt::scalarPower(-1, 0), 1},
           {"power(NaN, 2)", zolt::scalarPower(kNaN, 2), 0},
           {"power(2, NaN)", zolt::scalarPower(2, kNaN), 0},
           {"power(-8, 1/3)", zolt::scalarPower(-8, 1.0 / 3.0), 0},
           {"power(-2, 3)", zolt::scalarPower(-2, 3), -8},
           {"power(4, -1)", zolt::scalarPower(4, -1), 0.25},
           {"power(9, 0.5)", zolt::scalarPower(9, 0.5), 3},
           {"hypot(1, 1)", zolt::scalarHypot(1, 1), 1.4142135623730951},
           {"hypot(3*2^600, -4*2^600)", zolt::scalarHypot(0x3p600, -0x4p600), 0x5p600},
           {"hypot(1, NaN)", zolt::scalarHypot(1, kNaN), kNaN},
           {"round(-0.5)", zolt::scalarRound(-0.5), -1},
           {"round(-0.4)", zolt::scalarRound(-0.4), -0.0},
           {"round(2.5)", zolt::scalarRound(2.5), 3},
           {"round(2^52 + 1)", zolt::scalarRound(4503599627370497.0), 4503599627370497.0},
           {"roundToInt(NaN)", double(zolt::roundToInt(kNaN)), 0},
           {"roundToInt(1e30)", double(zolt::roundToInt(1e30)), 2147483647.0},
           {"roundToInt(-inf)", double(zolt::roundToInt(-kInf)), -2147483648.0},
           {"deviation()", zolt::sampleStdDev(Vector{}), 0},
           {"deviation(7)", zolt::sampleStdDev(Vector{7}), 0},
           {"deviation(1, 3)", zolt::sampleStdDev(Vector{1, 3}), std::sqrt(2.0)},
           {"max()", zolt::arrayMaxSkipNaN(Vector{}), kNaN},
           {"max(NaN, -2, NaN, -1)", zolt::arrayMaxSkipNaN(Vector{kNaN, -2, kNaN, -1}), -1},
           {"min(3, NaN, 1, 2)", zolt::arrayMinSkipNaN(Vector{3, kNaN, 1, 2}), 1},
           {"mean of five", zolt::meanOfFive(Vector{1e16, 1, 1, 1, -1e16}.data()), 0},
       }) {
    EXPECT_EQ(difference({row.wanted}, {row.got}), "") << row.call;
  }
}

}  // namespace
