// All results, pinned to the bit.
#include "result_hash.h"

#include <gtest/gtest.h>

namespace {

// A change of this number is a change of results. It is the same for every compiler, level of
// optimisation, sanitizer, processor and system.
constexpr std::uint64_t kResults = 0xe3cc7c0e43440606;
constexpr std::uint64_t kOddResults = 0x25574696c503ddfc;

TEST(ResultHash, IsPinned) {
  const std::uint64_t results = resultHash();
  EXPECT_EQ(results, kResults) << std::hex << "wanted 0x" << kResults << " got 0x" << results;
}

TEST(ResultHash, OfOddCurvesIsPinned) {
  const std::uint64_t results = oddHash();
  EXPECT_EQ(results, kOddResults) << std::hex << "wanted 0x" << kOddResults << " got 0x" << results;
}

}  // namespace
