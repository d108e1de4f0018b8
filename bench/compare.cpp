// Two builds of the library against each other: both are loaded into one process and take turns on
// the same curves, so that whatever else the machine does hits both alike. A figure is the least
// time of all rounds, since a disturbance only ever adds.
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "cells.h"

namespace {

template <class Function>
Function find(void* library, const char* name) {
  void* const found = dlsym(library, name);
  if (found == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  return reinterpret_cast<Function>(found);
}

Exports load(const char* path) {
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  const auto entry = [library](const char* name) { return find<Analyse>(library, name); };
  return {{entry("ZOLTA_2state_chalf"), entry("ZOLTA_3state_chalf"), entry("ZOLTA_4state_chalf")},
          {entry("ZOLTA_2state"), entry("ZOLTA_3state"), entry("ZOLTA_4state")},
          find<AnalyseWithBaselines>(library, "ZOLTA_2state_user_set_baselines")};
}

// Microseconds of one call of `work`.
double timeOf(const std::function<void()>& work, int repeats) {
  const double begin = processorTime();
  for (int i = 0; i < repeats; ++i) {
    work();
  }
  return (processorTime() - begin) / repeats;
}

// What both libraries do, on one curve.
using Work = std::function<Result(const Exports&, const GeneratedCurve&)>;

// Least microseconds per curve of each library, summed over the curves of a cell.
struct Times {
  double a = 0.0;
  double b = 0.0;
};

Times compare(const Exports& a, const Exports& b, const std::vector<GeneratedCurve>& curves,
              const Work& work, int rounds) {
  constexpr double kSpan = 200.0;
  Times times;
  for (const GeneratedCurve& curve : curves) {
    const Result fromA = work(a, curve);
    const Result fromB = work(b, curve);
    if (std::memcmp(fromA.data(), fromB.data(), sizeof(Result)) != 0) {
      std::printf("  results differ\n");
    }
    const auto runA = [&] { work(a, curve); };
    const auto runB = [&] { work(b, curve); };
    const int repeats = std::max(1, static_cast<int>(kSpan / timeOf(runA, 1)));
    double leastA = INFINITY;
    double leastB = INFINITY;
    for (int round = 0; round < rounds; ++round) {
      leastA = std::min(leastA, timeOf(runA, repeats));
      leastB = std::min(leastB, timeOf(runB, repeats));
    }
    times.a += leastA / static_cast<double>(curves.size());
    times.b += leastB / static_cast<double>(curves.size());
  }
  return times;
}

void printRow(const std::string& name, int points, const Times& times) {
  std::printf("  %-26s %4d %9.2f %9.2f  %6.3f\n", name.c_str(), points, times.a, times.b,
              times.b / times.a);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s A.so B.so [rounds]\n", argv[0]);
    return 2;
  }
  const Exports a = load(argv[1]);
  const Exports b = load(argv[2]);
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 40;

  std::printf("  %-26s %4s %9s %9s  %6s\n", "microseconds per fit", "n", "A", "B", "B/A");
  double logarithms = 0.0;
  int cells = 0;
  for (const Case& kind : cases()) {
    for (int points : kPoints) {
      if (!kind.hasExport || points < kind.fewestPoints) {
        continue;
      }
      const Times times = compare(
          a, b, curvesOf(a, kind, points),
          [&kind](const Exports& exports, const GeneratedCurve& curve) {
            return callEntry(exports, kind, curve);
          },
          rounds);
      printRow(kind.name, points, times);
      logarithms += std::log(times.b / times.a);
      ++cells;
    }
  }
  std::printf("  geometric mean of %d cells: %.3f\n", cells, std::exp(logarithms / cells));

  for (int states : {2, 3, 4}) {
    constexpr int kAnalysisPoints = 96;
    const Times times = compare(
        a, b, analysisCurves(states, kAnalysisPoints),
        [states](const Exports& exports, const GeneratedCurve& curve) {
          return callAnalysis(exports, states, curve);
        },
        std::max(3, rounds / 2));
    printRow(std::to_string(states) + "-state analysis", kAnalysisPoints, times);
  }
  return 0;
}
