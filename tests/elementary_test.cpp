// The elementary functions: hard arguments to the bit, and all ways to compute them against each
// other.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "elementary/exact_arithmetic.h"
#include "elementary/exponential.h"
#include "elementary/exponential_unfused.h"
#include "support/bits.h"
#include "support/generated_curves.h"

namespace {

// The exact sum lies beside a tie, so closely that rounding its smaller parts first would make it
// one. The last row is a tie.
TEST(ExactArithmetic, FusedMultiplyAddRoundsOnce) {
  const double hair = 0x1p-30;
  const double odd = 1 + 0x1p-52;
  const double even = 1 + 0x1p-51;
  for (double sign : {1.0, -1.0}) {
    const double below = zolt::fusedMultiplyAdd(sign * 0x1p-53 * (1 + hair), 1 - hair, sign * odd);
    EXPECT_EQ(below, sign * odd);
    const double above = zolt::fusedMultiplyAdd(sign * -0x1p-53 * (1 + hair), 1 - hair, sign * odd);
    EXPECT_EQ(above, sign * odd);
  }
  EXPECT_EQ(zolt::fusedMultiplyAdd(0x1p-53, 1, odd), even);
}

struct ExponentialRow {
  double x, wanted;
};
constexpr ExponentialRow kHardExponentials[] = {
#include "elementary/hard_exponentials.inc"
    {std::numeric_limits<double>::infinity(), HUGE_VAL},
    {-std::numeric_limits<double>::infinity(), 0.0},
    {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN()}};

TEST(Exponential, HasTheDefinedBitsAtHardArguments) {
  for (const auto& [x, wanted] : kHardExponentials) {
    for (const auto way : {zolt::exponential, zolt::unfused::exponential}) {
      EXPECT_TRUE(sameBits(way(x), wanted)) << digits(x) << ": " << wantedGot(wanted, way(x));
    }
  }
}

// Rows of any bits at all, of ordinary arguments, of results near the ends of the range, and of
// half steps of the table; each row alone and together, in lengths that leave a rest.
TEST(Exponential, AllWaysGiveTheSameBits) {
  Random random(7);
  for (int row = 0; row < 20000; ++row) {
    std::vector<double> x(static_cast<std::size_t>(1 + random.below(160)));
    for (double& v : x) {
      const double kinds[] = {std::bit_cast<double>(random.next()), random.between(-50, 50),
                              random.between(-760, 720),
                              (random.below(2000) - 999.5) * (std::numbers::ln2 / 128)};
      v = kinds[row % 4];
    }
    std::vector<double> fused = x;
    std::vector<double> unfused = x;
    zolt::exponentials(fused.data(), static_cast<int>(x.size()));
    zolt::unfused::exponentials(unfused.data(), static_cast<int>(x.size()));
    for (std::size_t i = 0; i < x.size(); ++i) {
      const double one = zolt::exponential(x[i]);
      ASSERT_TRUE(sameBits(fused[i], one)) << digits(x[i]) << ": " << wantedGot(one, fused[i]);
      ASSERT_TRUE(sameBits(unfused[i], one)) << digits(x[i]) << ": " << wantedGot(one, unfused[i]);
    }
  }
}

}  // namespace
