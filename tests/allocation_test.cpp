// How often one call of an analysis asks for memory: a fixed number of times for its workspace, and
// never inside the solver. The sanitizers keep the allocator to themselves, and the hooks below are
// those of one C library.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>

#include "fit/masked_fit.h"
#include "support/sample_arguments.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)

namespace {
thread_local long allocations = 0;
}

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);

void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* old, std::size_t size) {
  ++allocations;
  return __libc_realloc(old, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  ++allocations;
  return __libc_memalign(alignment, size);
}
}

namespace {

// Far below one for each masked fit, of which an analysis makes up to a hundred.
constexpr long kMostForACall = 9;

TEST(Allocations, OfAnAnalysisAreAHandful) {
  for (int points : {24, 96, 384}) {
    for (int transitions : {1, 2, 3}) {
      for (const double noise : {0.0, 0.005, 0.2}) {
        const GeneratedCurve curve =
            generateCurve({.points = points, .transitions = transitions, .noise = noise}, 7);
        const std::int32_t size[] = {1, points};
        double result[ZOLTA_RESULT_LENGTH];
        const auto count = [&](const char* name, auto analyse) {
          const long before = allocations;
          analyse();
          const long made = allocations - before;
          EXPECT_LE(made, kMostForACall) << name << ", " << points << " points";
          if (noise == 0.005 && points == 96) {
            std::printf("%s, %d transitions in the curve: %ld allocations, code %.0f\n", name,
                        transitions, made, result[ZOLTA_FIT_CODE]);
          }
        };
        const auto* x = curve.x.data();
        const auto* y = curve.y.data();
        const auto* baselines = curve.baselines;
#define ZOLT_COUNT(states)                                                                \
  count(#states " states", [&] { ZOLTA_##states##state(x, size, y, size, 25, result); }); \
  count(#states " states, midpoint",                                                      \
        [&] { ZOLTA_##states##state_chalf(x, size, y, size, 25, result); });              \
  count(#states " states, caller's baselines", [&] {                                      \
    ZOLTA_##states##state_user_set_baselines(x, size, y, size, baselines, 25, result);    \
  });
        ZOLT_COUNT(2)
        ZOLT_COUNT(3)
        ZOLT_COUNT(4)
#undef ZOLT_COUNT
      }
    }
  }
}

TEST(Allocations, AreNoneInTheSolver) {
  const GeneratedCurve curve = generateCurve({.points = 96, .transitions = 3, .noise = 0.02}, 3);
  zolt::FitWorkspace workspace(96);
  const std::array<double, 13> start{
      4000, 2, 8000, 4, 12000, 6, 0.35, 0.3, curve.y.front(), 0, curve.y.back(), 0, 592};
  const long before = allocations;
  const auto fitted =
      zolt::maskedFit(zolt::fit4State_all, zolt::Curve{curve.x, curve.y}, start, workspace);
  EXPECT_EQ(allocations, before);
  EXPECT_NE(fitted.p, start);
}

}  // namespace

#endif
