// Arguments that nobody measures. Buffers end where an unmapped page begins and inputs are
// read-only, so an access outside the arguments ends the test; every outcome must keep the
// contract, and no call may run on.
#include <gtest/gtest.h>

#include <ctime>

#include "support/arbitrary.h"
#include "support/contract.h"

namespace {

double processorSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// In an ordinary build the worst call found takes 0.2 s; the rest is for sanitizers and for slow
// machines. A fit that did not end by its limits would take far longer.
constexpr double kLongestTwoCalls = 20.0;

void expectContract(const Export& entry, std::size_t points, std::uint64_t seed) {
  Bytes bytes(reinterpret_cast<const std::uint8_t*>(&seed), sizeof seed);
  const Arguments arguments = argumentsFrom(bytes, entry.family, points);
  const double before = processorSeconds();
  EXPECT_EQ(contract::faultOf(entry, arguments, Placement::guarded), "")
      << "seed " << seed << ", " << points << " points";
  EXPECT_LT(processorSeconds() - before, kLongestTwoCalls) << entry.name << ", seed " << seed;
}

TEST(Hostile, ShortCurvesKeepTheContract) {
  for (std::uint64_t seed = 0; seed < 16; ++seed) {
    // The lengths at which curves are handed down, and those below.
    for (std::size_t points = 0; points < 26; ++points) {
      for (const Export& entry : kAll) {
        expectContract(entry, points, 100 * seed + points);
      }
    }
  }
}

// The last lengths of the tables and of the picker, and lengths beyond the largest curve.
TEST(Hostile, LongCurvesKeepTheContract) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    const std::size_t lengths[] = {96, 383, 384, 385, 511, 2000};
    // An odd count of lengths would meet the same exports again.
    expectContract(kAll[seed % std::size(kAll)], lengths[seed / 7 % std::size(lengths)], seed);
  }
}

}  // namespace
