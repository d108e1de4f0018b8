// How often one call of an analysis asks for memory: less than once for each of its fits on
// average, and never inside the solver. The sanitizers keep the allocator to themselves, and the
// hooks below are those of one C library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "support/exports.h"
#include "support/generated_curves.h"
#include "support/library_fits.h"

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

// The masked fits that an analysis makes at the very least; on the caller's baselines, those of the
// full analysis behind them. Beside one workspace for all fits of a call, only the line fits that
// find baselines and the sorts ask for memory.
long fewestFits(std::string_view name) {
  return name.ends_with("_chalf") ? 1 : name[6] == '2' ? 5 : name[6] == '3' ? 7 : 20;
}
constexpr long kMostForAFit = 9;

long allocationsOf(const Export& entry, const Arguments& arguments) {
  CallSite site(Placement::shared, 0x5A);
  const long before = allocations;
  entry.call(arguments, site);
  return allocations - before;
}

TEST(Allocations, AreFewForEachFit) {
  for (const Export& entry : kAll) {
    if (entry.family != Family::analysis) {
      continue;
    }
    long most = 0;
    for (int points : {24, 96, 384}) {
      for (int transitions : {1, 2, 3}) {
        for (double noise : {0.0, 0.005, 0.2}) {
          const GeneratedCurve curve =
              generateCurve({.points = points, .transitions = transitions, .noise = noise}, 7);
          Arguments arguments;
          arguments.x = curve.x;
          arguments.y = curve.y;
          arguments.baselines.assign(curve.baselines, curve.baselines + 4);
          // A refused call asks for the test's own memory alone.
          Arguments refused = arguments;
          refused.temperature = -1.0;
          most = std::max(most, allocationsOf(entry, arguments) - allocationsOf(entry, refused));
        }
      }
    }
    std::printf("%s: at most %ld allocations in a call\n", entry.name.data(), most);
    EXPECT_LE(most, kMostForAFit * fewestFits(entry.name)) << entry.name;
    EXPECT_GT(most, 0) << entry.name;
  }
}

TEST(Allocations, AreNoneInTheSolver) {
  const GeneratedCurve curve = generateCurve({.points = 96, .transitions = 3, .noise = 0.02}, 3);
  const Vector start{4000,           2, 8000, 4, 12000, 6, 0.35, 0.3, curve.y.front(), 0,
                     curve.y.back(), 0, 592};
  literal::Mask mask(start.size());
  mask.back() = 1;
  long counted = -1;
  const auto fitted = library::maskedFit(
      mask, curve.x, curve.y, start, [] { return allocations; }, &counted);
  EXPECT_EQ(counted, 0);
  EXPECT_NE(fitted.p, start);
}

}  // namespace

#endif
