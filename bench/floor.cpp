// How far each cell is from what its results cost at least. A fit's bits fix the order of its sums,
// so that each addition waits for the one before; whatever else happens can be done meanwhile. The
// floor of a fit is the number of such additions times the time of one:
//   - one a point for the sum of squared residuals at the start and after each trial;
//   - one a point for the squares of the columns in each iteration, all columns side by side;
//   - in each trial, for step i of the c that factor n + c rows, n + c - 1 - i for the norm of the
//     column and as many for its products with the others, these side by side.
// Prints the rows of a Markdown table.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cells.h"
#include "support/literal_solver.h"

namespace {

constexpr int kRounds = 40;

// Microseconds of one addition that waits for the one before.
double additionTime() {
  constexpr int kAdditions = 100000;
  volatile double one = 1.0;
  double least = INFINITY;
  for (int round = 0; round < kRounds; ++round) {
    const double term = one;
    double sum = 0.0;
    const double begin = processorTime();
    for (int i = 0; i < kAdditions; ++i) {
      sum += term;
    }
    least = std::min(least, (processorTime() - begin) / kAdditions);
    one = sum / sum;
  }
  return least;
}

double orderedAdditions(const SingleFit& fit) {
  std::vector<std::uint8_t> mask(fit.start.size(), 1);
  for (int place : fit.free) {
    mask[static_cast<std::size_t>(place)] = 0;
  }
  const auto solved = literal::maskedFit(mask, fit.x, fit.y, fit.start);
  const auto n = static_cast<int>(fit.x.size());
  const auto c = static_cast<int>(fit.free.size());
  double factorisation = 0.0;
  for (int i = 0; i < c; ++i) {
    factorisation += 2.0 * (n + c - 1 - i);
  }
  return (1.0 + solved.trials + solved.iterations) * n + solved.trials * factorisation;
}

double microsecondsOf(const Exports& exports, const Case& kind, const GeneratedCurve& curve) {
  constexpr int kRepeats = 20;
  double least = INFINITY;
  for (int round = 0; round < kRounds; ++round) {
    const double begin = processorTime();
    for (int i = 0; i < kRepeats; ++i) {
      callEntry(exports, kind, curve);
    }
    least = std::min(least, (processorTime() - begin) / kRepeats);
  }
  return least;
}

}  // namespace

int main() {
  const double addition = additionTime();
  std::printf("| Fit | Readings | µs | Floor, µs | Times the floor |\n|---|---:|---:|---:|---:|\n");
  for (const Case& kind : cases()) {
    for (int points : kPoints) {
      if (!kind.hasExport || points < kind.fewestPoints) {
        continue;
      }
      double time = 0.0;
      double floor = 0.0;
      const auto curves = curvesOf(kLinkedExports, kind, points);
      for (const GeneratedCurve& curve : curves) {
        time += microsecondsOf(kLinkedExports, kind, curve);
        floor += orderedAdditions(singleFit(kind, curve)) * addition;
      }
      const auto count = static_cast<double>(curves.size());
      std::printf("| %s | %d | %.1f | %.1f | %.1f |\n", kind.name, points, time / count,
                  floor / count, time / floor);
    }
  }
  return 0;
}
