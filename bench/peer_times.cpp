// One fit of each cell by the library and by each peer: the least time of many rounds, in which all
// take turns on the same curves. Prints  cell,readings,solver,microseconds  with nothing for a peer
// that does not reach the least sum of squares on at least half of the curves.
//   zolt_peer_times            the table
//   zolt_peer_times problems   the same fits as JSON, a line each, for peers in other languages
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "cells.h"
#include "peers.h"

namespace {

constexpr int kRounds = 30;

void printArray(const char* name, const std::vector<double>& values) {
  std::printf("\"%s\": [", name);
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::printf("%s%.17g", i == 0 ? "" : ", ", values[i]);
  }
  std::printf("], ");
}

void printProblem(const Case& kind, int points, const SingleFit& fit) {
  std::printf("{\"cell\": \"%s\", \"readings\": %d, \"transitions\": %d, ", kind.name, points,
              fit.transitions);
  printArray("x", fit.x);
  printArray("y", fit.y);
  printArray("start", fit.start);
  printArray("free", {fit.free.begin(), fit.free.end()});
  std::printf("\"unit\": \"us\"}\n");
}

template <class Work>
double microsecondsOf(Work&& work) {
  constexpr int kRepeats = 10;
  const double begin = processorTime();
  for (int i = 0; i < kRepeats; ++i) {
    work();
  }
  return (processorTime() - begin) / kRepeats;
}

void timeCell(const Case& kind, int points, const std::vector<GeneratedCurve>& curves) {
  std::vector<SingleFit> fits;
  for (const GeneratedCurve& curve : curves) {
    fits.push_back(singleFit(kind, curve));
  }
  double total = 0.0;
  std::vector<double> totals(peers().size());
  std::vector<int> reached(peers().size());
  for (std::size_t i = 0; i < fits.size(); ++i) {
    double least = INFINITY;
    std::vector<double> sums;
    for (const Peer& peer : peers()) {
      sums.push_back(sumOfSquares(fits[i], peer.solve(fits[i])));
      least = std::min(least, sums.back());
    }
    double own = INFINITY;
    std::vector<double> times(peers().size(), INFINITY);
    for (int round = 0; round < kRounds; ++round) {
      own = std::min(own, microsecondsOf([&] { callEntry(kLinkedExports, kind, curves[i]); }));
      for (std::size_t k = 0; k < times.size(); ++k) {
        times[k] = std::min(times[k], microsecondsOf([&] { peers()[k].solve(fits[i]); }));
      }
    }
    total += own;
    for (std::size_t k = 0; k < times.size(); ++k) {
      totals[k] += times[k];
      reached[k] += sums[k] <= 1.001 * least;
    }
  }
  const auto count = static_cast<double>(fits.size());
  std::printf("%s,%d,engine,%.2f\n", kind.name, points, total / count);
  for (std::size_t k = 0; k < totals.size(); ++k) {
    std::printf("%s,%d,%s,", kind.name, points, peers()[k].name.c_str());
    if (2 * static_cast<std::size_t>(reached[k]) >= fits.size()) {
      std::printf("%.2f", totals[k] / count);
    }
    std::printf("\n");
  }
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const bool problems = argc > 1 && std::strcmp(argv[1], "problems") == 0;
  for (const Case& kind : cases()) {
    for (int points : kPoints) {
      if (!kind.hasExport || points < kind.fewestPoints) {
        continue;
      }
      const auto curves = curvesOf(kLinkedExports, kind, points);
      if (!problems) {
        timeCell(kind, points, curves);
        continue;
      }
      for (const GeneratedCurve& curve : curves) {
        printProblem(kind, points, singleFit(kind, curve));
      }
    }
  }
}
