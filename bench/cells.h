// The cells of the benchmark: kinds of single fit at several numbers of points, each on curves on
// which one call of an export of the library is one fit.
#pragma once

#include <time.h>

#include <array>
#include <vector>

#include "peers.h"
#include "support/generated_curves.h"
#include "zolt_fitting_engine.h"

using Result = std::array<double, ZOLTA_RESULT_LENGTH>;

// The exports that are timed, of the library that is linked or of one that was loaded.
using Analyse = decltype(&ZOLTA_2state);
using AnalyseWithBaselines = decltype(&ZOLTA_2state_user_set_baselines);
struct Exports {
  Analyse midpoint[3];  // one entry per number of transitions, and so below
  Analyse analysis[3];
  AnalyseWithBaselines userSetBaselines;
};

// Those of the library that is linked.
inline constexpr Exports kLinkedExports{
    {ZOLTA_2state_chalf, ZOLTA_3state_chalf, ZOLTA_4state_chalf},
    {ZOLTA_2state, ZOLTA_3state, ZOLTA_4state},
    ZOLTA_2state_user_set_baselines};

// Microseconds of the processor that this thread has used; other programs do not count.
inline double processorTime() {
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return 1e6 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_nsec);
}

inline constexpr std::size_t kCurvesPerCell = 8;
inline constexpr int kPoints[] = {12, 24, 48, 96, 384};

// A kind of single fit: what is fitted from where, and which export does it.
struct Case {
  const char* name;
  int transitions;
  std::vector<int> free;
  bool callersBaselines;  // held at the true ones; otherwise at and from the ends of the curve
  bool hasExport;         // whether an export makes this fit alone
  int fewestPoints;       // fewer are handed to a model of fewer states
};
const std::vector<Case>& cases();

// A curve of a cell as the library takes it. Returns its result.
Result callEntry(const Exports& exports, const Case& kind, const GeneratedCurve& curve);
Result callAnalysis(const Exports& exports, int states, const GeneratedCurve& curve);

// The fit that the call makes, for other solvers.
SingleFit singleFit(const Case& kind, const GeneratedCurve& curve);

// The curves of a cell.
std::vector<GeneratedCurve> curvesOf(const Exports& exports, const Case& kind, int points);

// Curves for whole analyses.
std::vector<GeneratedCurve> analysisCurves(int states, int points);
