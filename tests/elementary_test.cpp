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
#include "elementary/logarithm.h"
#include "elementary/power.h"
#include "support/bits.h"
#include "support/generated_curves.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

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
    {kInfinity, kInfinity}, {-kInfinity, 0.0}, {kNaN, kNaN}};

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

struct LogarithmRow {
  double x, wanted;
};
constexpr LogarithmRow kHardLogarithms[] = {
#include "elementary/hard_logarithms.inc"
};

TEST(Logarithm, IsTheNearestDouble) {
  for (const auto& [x, wanted] : kHardLogarithms) {
    for (const auto way : {zolt::logarithm, zolt::slowLogarithm}) {
      EXPECT_TRUE(sameBits(way(x), wanted)) << digits(x) << ": " << wantedGot(wanted, way(x));
    }
  }
  for (const auto& [x, wanted] : {LogarithmRow{0.0, -kInfinity},
                                  {-0.0, -kInfinity},
                                  {-1.0, kNaN},
                                  {-kInfinity, kNaN},
                                  {kInfinity, kInfinity},
                                  {kNaN, kNaN}}) {
    EXPECT_TRUE(sameBits(zolt::logarithm(x), wanted)) << digits(x);
  }
}

struct PowerRow {
  double x, y, wanted;
};
constexpr PowerRow kHardPowers[] = {
#include "elementary/hard_powers.inc"
};

TEST(Power, IsTheNearestDouble) {
  for (const auto& [x, y, wanted] : kHardPowers) {
    for (const auto way : {zolt::power, zolt::slowPower}) {
      EXPECT_TRUE(sameBits(way(x, y), wanted))
          << digits(x) << "^" << digits(y) << ": " << wantedGot(wanted, way(x, y));
    }
  }
  for (const auto& [x, y, wanted] : {PowerRow{kNaN, 0, 1},
                                     {1, kNaN, 1},
                                     {kNaN, 1, kNaN},
                                     {-8, 1.0 / 3, kNaN},
                                     {-2, 3, -8},
                                     {-2, 4, 16},
                                     {0, 3, 0},
                                     {-0.0, 3, -0.0},
                                     {-0.0, -3, -kInfinity},
                                     {-0.0, -2, kInfinity},
                                     {-kInfinity, 3, -kInfinity},
                                     {-kInfinity, -0.5, 0},
                                     {2, kInfinity, kInfinity},
                                     {0.5, kInfinity, 0},
                                     {-1, -kInfinity, 1}}) {
    EXPECT_TRUE(sameBits(zolt::power(x, y), wanted)) << digits(x) << "^" << digits(y);
  }
}

TEST(LogarithmAndPower, QuickAndSlowWaysAgree) {
  Random random(11);
  for (int i = 0; i < 1000; ++i) {
    const double x = std::bit_cast<double>(random.next() >> 1);
    const double near = 1 + random.between(-0.1, 0.1);
    const double wide = random.between(0, 100);
    for (double v : {x < kInfinity ? x : 1.0, near, wide}) {
      ASSERT_EQ(zolt::logarithm(v), zolt::slowLogarithm(v)) << digits(v);
      for (double y : {2.0, 3.0, 4.0, 8.0}) {
        ASSERT_EQ(zolt::power(v, y), zolt::slowPower(v, y)) << digits(v) << "^" << y;
      }
    }
  }
}

}  // namespace
