// Single fits against other least-squares libraries, whole analyses, and a batch on two threads.
// Every outcome is verified while it is timed; the table of ratios comes last.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include "cells.h"
#include "peers.h"

namespace {

const Exports kExports{{ZOLTA_2state_chalf, ZOLTA_3state_chalf, ZOLTA_4state_chalf},
                       {ZOLTA_2state, ZOLTA_3state, ZOLTA_4state},
                       ZOLTA_2state_user_set_baselines};

std::vector<double> parametersOf(const Result& r, int transitions) {
  std::vector<double> p{r[ZOLTA_DG1], r[ZOLTA_CM1]};
  if (transitions > 1) {
    p.insert(p.end(), {r[ZOLTA_DG2], r[ZOLTA_CM2]});
  }
  if (transitions > 2) {
    p.insert(p.end(), {r[ZOLTA_DG3], r[ZOLTA_CM3], r[ZOLTA_WEIGHT1], r[ZOLTA_WEIGHT2]});
  } else if (transitions > 1) {
    p.push_back(r[ZOLTA_WEIGHT1]);
  }
  p.insert(p.end(), r.begin(), r.begin() + 4);
  p.push_back(r[ZOLTA_RT]);
  return p;
}

// Smallest sum of squares that any solver reaches, and whether this one comes within 0.1 % of it
// on at least half of the curves.
bool reachesTheMinimum(const std::vector<double>& sums, const std::vector<double>& best) {
  std::size_t reached = 0;
  for (std::size_t i = 0; i < sums.size(); ++i) {
    reached += sums[i] <= 1.001 * best[i] ? 1 : 0;
  }
  return 2 * reached >= sums.size();
}

struct Cell {
  std::vector<GeneratedCurve> curves;
  std::vector<SingleFit> fits;
  std::vector<double> best;  // smallest sum of squares that a solver reaches

  Cell(const Case& kind, int points) : curves(curvesOf(kExports, kind, points)) {
    for (const GeneratedCurve& curve : curves) {
      fits.push_back(singleFit(kind, curve));
      double least = INFINITY;
      for (const Peer& peer : peers()) {
        least = std::min(least, sumOfSquares(fits.back(), peer.solve(fits.back())));
      }
      if (kind.hasExport) {
        const Result result = callEntry(kExports, kind, curve);
        least = std::min(least,
                         sumOfSquares(fits.back(), parametersOf(result, fits.back().transitions)));
      }
      best.push_back(least);
    }
  }
};

// Times `solve`, which returns the parameters found for fit i of the cell.
void timeCell(benchmark::State& state, const Cell& cell,
              const std::function<std::vector<double>(std::size_t)>& solve) {
  std::vector<double> sums(cell.fits.size());
  for (std::size_t i = 0; i < sums.size(); ++i) {
    sums[i] = sumOfSquares(cell.fits[i], solve(i));
  }
  if (cell.fits.size() < kCurvesPerCell || !reachesTheMinimum(sums, cell.best)) {
    state.SkipWithError("does not reach the minimum");
  }
  for (auto _ : state) {
    for (std::size_t i = 0; i < sums.size(); ++i) {
      std::vector<double> found = solve(i);
      benchmark::DoNotOptimize(found.data());
    }
  }
}

bool sameBytes(const Result& a, const Result& b) {
  return std::memcmp(a.data(), b.data(), sizeof(a)) == 0;
}

void timeAnalysis(benchmark::State& state, int states, int points) {
  const std::vector<GeneratedCurve> curves = analysisCurves(states, points);
  std::vector<Result> wanted;
  for (const GeneratedCurve& curve : curves) {
    wanted.push_back(callAnalysis(kExports, states, curve));
  }
  bool same = true;
  for (auto _ : state) {
    for (std::size_t i = 0; i < curves.size(); ++i) {
      same = sameBytes(callAnalysis(kExports, states, curves[i]), wanted[i]) && same;
    }
  }
  if (!same) {
    state.SkipWithError("other results the second time");
  }
}

constexpr std::size_t kBatch = 10000;

void timeBatch(benchmark::State& state, std::size_t threads) {
  static const std::vector<GeneratedCurve> curves = [] {
    std::vector<GeneratedCurve> made;
    for (std::uint64_t seed = 0; seed < kBatch; ++seed) {
      made.push_back(generateCurve({.points = 24, .noise = 0.01, .slopes = 0.01}, seed));
    }
    return made;
  }();
  static std::vector<Result> wanted;
  std::vector<Result> results(kBatch);
  for (auto _ : state) {
    std::vector<std::thread> pool;
    for (std::size_t t = 0; t < threads; ++t) {
      pool.emplace_back([&, t] {
        for (std::size_t i = kBatch * t / threads; i < kBatch * (t + 1) / threads; ++i) {
          results[i] = callAnalysis(kExports, 2, curves[i]);
        }
      });
    }
    for (std::thread& thread : pool) {
      thread.join();
    }
  }
  if (wanted.empty()) {
    wanted = results;
  } else if (!std::equal(results.begin(), results.end(), wanted.begin(), sameBytes)) {
    state.SkipWithError("results differ from those of the other number of threads");
  }
}

// Keeps the seconds of all runs for the table: of the processor, but of the wall where threads
// share the work.
class Collector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (!run.error_occurred && run.iterations > 0) {
        const bool threaded = run.run_name.time_type == "real_time";
        seconds[run.run_name.function_name] =
            (threaded ? run.real_accumulated_time : run.cpu_accumulated_time) /
            static_cast<double>(run.iterations);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Microseconds for one of the curves of a run, or NaN where it was left out.
  double of(const std::string& name, std::size_t curves = kCurvesPerCell) const {
    const auto found = seconds.find(name);
    return found == seconds.end() ? NAN : 1e6 * found->second / static_cast<double>(curves);
  }

 private:
  std::map<std::string, double> seconds;
};

std::string cellName(const std::string& solver, const std::string& kind, int points) {
  return kind + "/" + std::to_string(points) + "/" + solver;
}
std::string analysisName(int states, int points) {
  return std::to_string(states) + "state/" + std::to_string(points);
}
std::string batchName(std::size_t threads) { return "batch/threads:" + std::to_string(threads); }

double fastestPeer(const Collector& figures, const char* kind, int points) {
  double fastest = NAN;
  for (const Peer& peer : peers()) {
    fastest = std::fmin(fastest, figures.of(cellName(peer.name, kind, points)));
  }
  return fastest;
}

void printRatios(const Collector& figures) {
  std::printf("\nOne fit, microseconds, and its ratio to the fastest peer\n");
  double logarithms = 0.0;
  double worst = 0.0;
  int cells = 0;
  for (const Case& kind : cases()) {
    for (int points : kPoints) {
      const double own = figures.of(cellName("zolt", kind.name, points));
      const double ratio = own / fastestPeer(figures, kind.name, points);
      if (!std::isnan(ratio)) {
        std::printf("  %-26s %4d points %9.2f  %6.3f\n", kind.name, points, own, ratio);
        logarithms += std::log(ratio);
        worst = std::max(worst, ratio);
        ++cells;
      }
    }
  }
  std::printf("  geometric mean %.3f, worst %.3f of %d cells\n", std::exp(logarithms / cells),
              worst, cells);

  std::printf(
      "\nOne analysis, microseconds; at 96 points its ratio to the fastest peer's one fit\n");
  constexpr const char* kYardsticks[] = {"2state_all_free", "3state_chalf", "4state_chalf"};
  for (int states : {2, 3, 4}) {
    const double middle = figures.of(analysisName(states, 96));
    const double low = figures.of(analysisName(states, 24));
    const double high = figures.of(analysisName(states, 384));
    std::printf("  %d states %9.0f %9.0f %9.0f  %6.1f, growth from 24 to 384: exponent %.2f\n",
                states, low, middle, high,
                middle / fastestPeer(figures, kYardsticks[states - 2], 96),
                std::log(high / low) / std::log(384.0 / 24.0));
  }
  const double one = 1e6 / figures.of(batchName(1), kBatch);
  const double two = 1e6 / figures.of(batchName(2), kBatch);
  std::printf("\n%zu curves of 24 points: %.0f a second on one thread, %.0f on two, scaling %.2f\n",
              kBatch, one, two, two / one);
}

void registerAll() {
  for (const Case& kind : cases()) {
    for (int points : kPoints) {
      // Each curve of a cell is looked for and fitted once, before the first run that needs it.
      const auto cell = [&kind, points]() -> const Cell& {
        static std::map<std::pair<const Case*, int>, Cell> made;
        return made.try_emplace({&kind, points}, kind, points).first->second;
      };
      if (kind.hasExport) {
        benchmark::RegisterBenchmark(
            cellName("zolt", kind.name, points).c_str(), [&kind, cell](benchmark::State& state) {
              timeCell(state, cell(), [&](std::size_t i) {
                return parametersOf(callEntry(kExports, kind, cell().curves[i]), kind.transitions);
              });
            });
      }
      for (const Peer& peer : peers()) {
        benchmark::RegisterBenchmark(
            cellName(peer.name, kind.name, points).c_str(), [&peer, cell](benchmark::State& state) {
              timeCell(state, cell(), [&](std::size_t i) { return peer.solve(cell().fits[i]); });
            });
      }
    }
  }
  for (int states : {2, 3, 4}) {
    for (int points : kPoints) {
      benchmark::RegisterBenchmark(
          analysisName(states, points).c_str(),
          [=](benchmark::State& state) { timeAnalysis(state, states, points); })
          ->Unit(benchmark::kMicrosecond);
    }
  }
  for (std::size_t threads : {1, 2}) {
    benchmark::RegisterBenchmark(batchName(threads).c_str(),
                                 [=](benchmark::State& state) { timeBatch(state, threads); })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  registerAll();
  Collector figures;
  benchmark::RunSpecifiedBenchmarks(&figures);
  printRatios(figures);
  return 0;
}
