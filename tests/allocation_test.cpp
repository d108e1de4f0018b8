// How often one call of an analysis asks for memory: less than once for each of its fits on
// average, and never inside the solver. The sanitizers keep the allocator to themselves, and the
// hooks below are those of one C library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "fit/masked_fit.h"
#include "support/generated_curves.h"
#include "zolt_fitting_engine.h"

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

template <auto Analyse>
void analyse(const GeneratedCurve& curve, const std::int32_t* size, double* result) {
  Analyse(curve.x.data(), size, curve.y.data(), size, 25, result);
}
template <auto Analyse>
void analyseOnBaselines(const GeneratedCurve& curve, const std::int32_t* size, double* result) {
  Analyse(curve.x.data(), size, curve.y.data(), size, curve.baselines, 25, result);
}

// Every analysis with the masked fits that it makes at the very least; on the caller's baselines,
// those of the full analysis behind them. Beside one workspace for all fits of a call, only the
// line fits that find baselines and the sorts ask for memory.
struct Entry {
  const char* name;
  int fewestFits;
  void (*call)(const GeneratedCurve&, const std::int32_t*, double*);
};
constexpr Entry kEntries[] = {
    {"ZOLTA_2state", 5, analyse<&ZOLTA_2state>},
    {"ZOLTA_2state_chalf", 1, analyse<&ZOLTA_2state_chalf>},
    {"ZOLTA_2state_user_set_baselines", 5, analyseOnBaselines<&ZOLTA_2state_user_set_baselines>},
    {"ZOLTA_3state", 7, analyse<&ZOLTA_3state>},
    {"ZOLTA_3state_chalf", 1, analyse<&ZOLTA_3state_chalf>},
    {"ZOLTA_3state_user_set_baselines", 7, analyseOnBaselines<&ZOLTA_3state_user_set_baselines>},
    {"ZOLTA_4state", 20, analyse<&ZOLTA_4state>},
    {"ZOLTA_4state_chalf", 1, analyse<&ZOLTA_4state_chalf>},
    {"ZOLTA_4state_user_set_baselines", 20, analyseOnBaselines<&ZOLTA_4state_user_set_baselines>}};
constexpr long kMostForAFit = 9;

TEST(Allocations, AreFewForEachFit) {
  for (const Entry& entry : kEntries) {
    long most = 0;
    for (int points : {24, 96, 384}) {
      for (int transitions : {1, 2, 3}) {
        for (double noise : {0.0, 0.005, 0.2}) {
          const GeneratedCurve curve =
              generateCurve({.points = points, .transitions = transitions, .noise = noise}, 7);
          const std::int32_t size[] = {1, points};
          double result[ZOLTA_RESULT_LENGTH];
          const long before = allocations;
          entry.call(curve, size, result);
          most = std::max(most, allocations - before);
        }
      }
    }
    std::printf("%s: at most %ld allocations in a call\n", entry.name, most);
    EXPECT_LE(most, kMostForAFit * entry.fewestFits) << entry.name;
  }
}

TEST(Allocations, AreNoneInTheSolver) {
  const GeneratedCurve curve = generateCurve({.points = 96, .transitions = 3, .noise = 0.02}, 3);
  zolt::FitWorkspace workspace(96);
  const std::array<double, 13> start{
      4000, 2, 8000, 4, 12000, 6, 0.35, 0.3, curve.y.front(), 0, curve.y.back(), 0, 592};
  const long before = allocations;
  const auto fitted = zolt::maskedFit<zolt::UnfoldingModel<3>>(
      zolt::holdMask<3>({}), zolt::Curve{curve.x, curve.y}, start, workspace);
  EXPECT_EQ(allocations, before);
  EXPECT_NE(fitted.p, start);
}

}  // namespace

#endif
