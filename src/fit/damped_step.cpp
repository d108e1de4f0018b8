#include "fit/damped_step.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "fit/machine_constants.h"
#include "fit/wide.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// Writes the columns as rows, four by four.
ZOLT_WIDE void transposeColumns(const DampedSystem& system) {
  const std::ptrdiff_t n = system.points;
  const std::ptrdiff_t stride = system.stride;
  for (std::ptrdiff_t j = 0; j < stride; j += 4) {
    const double* column = system.columns + j * n;
    std::ptrdiff_t k = 0;
    for (; k + 4 <= n; k += 4) {
      const Lanes4 a = lanesAt<Lanes4>(column + k);
      const Lanes4 b = lanesAt<Lanes4>(column + n + k);
      const Lanes4 c = lanesAt<Lanes4>(column + 2 * n + k);
      const Lanes4 d = lanesAt<Lanes4>(column + 3 * n + k);
      const Lanes4 abLow = __builtin_shufflevector(a, b, 0, 4, 2, 6);
      const Lanes4 abHigh = __builtin_shufflevector(a, b, 1, 5, 3, 7);
      const Lanes4 cdLow = __builtin_shufflevector(c, d, 0, 4, 2, 6);
      const Lanes4 cdHigh = __builtin_shufflevector(c, d, 1, 5, 3, 7);
      double* row = system.rows + k * stride + j;
      lanesTo<Lanes4>(row) = __builtin_shufflevector(abLow, cdLow, 0, 1, 4, 5);
      lanesTo<Lanes4>(row + stride) = __builtin_shufflevector(abHigh, cdHigh, 0, 1, 4, 5);
      lanesTo<Lanes4>(row + 2 * stride) = __builtin_shufflevector(abLow, cdLow, 2, 3, 6, 7);
      lanesTo<Lanes4>(row + 3 * stride) = __builtin_shufflevector(abHigh, cdHigh, 2, 3, 6, 7);
    }
    for (; k < n; ++k) {
      for (std::ptrdiff_t i = 0; i < 4; ++i) {
        system.rows[k * stride + j + i] = column[i * n + k];
      }
    }
  }
}

// Sums of squares and scaled norms of neighbouring columns side by side, rows in ascending order.
// Scales seldom grow; where none does in four rows, the rows need no choice between two formulas.
template <class Lanes>
ZOLT_INLINE void measureLanes(const double* rows, int count, int stride, double* squares,
                              ScaledSum* norms) {
  constexpr int kRows = 4;
  Lanes square = {};
  Lanes sum = {};
  Lanes scale = Lanes{} + kSmallestNormal;
  const auto addRow = [&](const double* row) {
    const Lanes element = lanesAt<Lanes>(row);
    square += element * element;
    const Lanes a = magnitude(element);
    const auto grows = a > scale;
    const Lanes t = (grows ? scale : a) / (grows ? a : scale);
    sum = grows ? 1.0 + sum * t * t : sum + t * t;
    scale = grows ? a : scale;
  };
  int k = 0;
  for (; k + kRows <= count; k += kRows, rows += kRows * stride) {
    Lanes a[kRows];
    Lanes largest = {};
    for (int i = 0; i < kRows; ++i) {
      a[i] = magnitude(lanesAt<Lanes>(rows + i * stride));
      largest = a[i] > largest ? a[i] : largest;
    }
    if (anyLane(largest > scale)) {
      for (int i = 0; i < kRows; ++i) {
        addRow(rows + i * stride);
      }
      continue;
    }
    for (int i = 0; i < kRows; ++i) {
      square += a[i] * a[i];
      const Lanes t = a[i] / scale;
      sum += t * t;
    }
  }
  for (; k < count; ++k, rows += stride) {
    addRow(rows);
  }
  for (int lane = 0; lane < laneCount<Lanes>; ++lane) {
    squares[lane] = square[lane];
    norms[lane] = {scale[lane], sum[lane]};
  }
}

// The residual behind the columns is measured along where it shares their register.
ZOLT_WIDE void measureColumns(DampedSystem& system) {
  for (int j = 0; j < system.free;) {
    if (system.free - j > laneCount<Lanes4>) {
      measureLanes<Lanes8>(system.rows + j, system.points, system.stride, system.squares + j,
                           system.norms + j);
      j += laneCount<Lanes8>;
    } else {
      measureLanes<Lanes4>(system.rows + j, system.points, system.stride, system.squares + j,
                           system.norms + j);
      j += laneCount<Lanes4>;
    }
  }
}

// The full system of free * free columns as it stands, for the rare case in which its zeros are not
// neutral: 0 times an infinity is NaN.
void solveFullSystem(const DampedSystem& system, const double* damping, double* step) {
  const int n = system.points;
  const int p = system.free * system.free;
  const int stride = rowStride(p + 1);
  std::vector<double> storage(static_cast<std::size_t>(n + p) * static_cast<std::size_t>(stride));
  const RowMatrix a{storage.data(), n + p, p, stride};
  for (int k = 0; k < n; ++k) {
    const double* from = system.rows + static_cast<std::ptrdiff_t>(k) * system.stride;
    std::copy_n(from, system.free, a.row(k));
    a.row(k)[p] = from[system.free];
  }
  for (int j = 0; j < system.free; ++j) {
    a.row(n + j)[j] = damping[j];
  }
  std::vector<int> jpvt(static_cast<std::size_t>(p));
  std::vector<double> scratch(static_cast<std::size_t>(qrScratchSize(a)));
  qrPivot(a, jpvt.data(), nullptr, scratch.data());
  std::vector<double> x(static_cast<std::size_t>(p));
  backSubstitute(a, jpvt.data(), qrRank(a, jpvt.data(), n + p), p, x.data());
  std::copy_n(x.data(), system.free, step);
}

// Whether leaving the zeros out of the factored system made no difference. A zero row comes to
// matter only when an infinite factor turns it into NaN, which shows beside a finite diagonal. A
// column that this happens to is lost either way if its own diagonal is NaN, since the rank ends
// there; and once a diagonal is not finite, all columns follow it alike.
bool zerosAreNeutral(const RowMatrix& r, const int* jpvt) {
  for (int i = 0; i < r.columns; ++i) {
    const double* row = r.row(i);
    if (!std::isfinite(row[jpvt[i]])) {
      return true;
    }
    if (!std::isfinite(row[r.columns])) {
      return false;
    }
    for (int j = i + 1; j < r.columns; ++j) {
      if (!std::isfinite(row[jpvt[j]]) && !isNaNValue(r.row(j)[jpvt[j]])) {
        return false;
      }
    }
  }
  return true;
}

bool sumsToNumber(const DampedSystem& system, const double* damping) {
  for (int j = 0; j < system.free; ++j) {
    // A finite sum of squares leaves no room for a NaN or for infinities of both signs.
    if (std::isfinite(system.squares[j])) {
      continue;
    }
    const double* column = system.columns + static_cast<std::ptrdiff_t>(j) * system.points;
    double sum = 0.0;
    for (int k = 0; k < system.points; ++k) {
      sum += column[k];
    }
    if (isNaNValue(sum + damping[j])) {
      return false;
    }
  }
  return true;
}

}  // namespace

DampedSystem::DampedSystem(int n, int c, FitWorkspace& workspace)
    : points(n),
      free(c),
      stride(rowStride(c + 1)),
      columns(workspace.take(stride * n)),
      residuals(columns + static_cast<std::ptrdiff_t>(c) * n),
      rows(workspace.take(n * stride)),
      trial(workspace.take((n + c) * stride)),
      scratch(workspace.take(qrScratchSize({nullptr, n + c, c, stride}))) {
  std::fill(residuals + n, columns + static_cast<std::ptrdiff_t>(stride) * n, 0.0);
}

void assemble(DampedSystem& system) {
  transposeColumns(system);
  measureColumns(system);
}

void solveDamped(DampedSystem& system, double lambda, double* step) {
  const int n = system.points;
  const int c = system.free;
  double damping[kMostFree];
  double norms[kMostFree];
  for (int j = 0; j < c; ++j) {
    damping[j] = std::sqrt(lambda * system.squares[j]);
    ScaledSum norm = system.norms[j];
    addToScaledSum(norm, damping[j]);
    norms[j] = norm.scale * std::sqrt(norm.sum);
  }
  if (!sumsToNumber(system, damping)) {
    std::fill_n(step, c, 0.0);
    return;
  }
  const std::ptrdiff_t measured = static_cast<std::ptrdiff_t>(n) * system.stride;
  std::copy_n(system.rows, measured, system.trial);
  std::fill_n(system.trial + measured, static_cast<std::ptrdiff_t>(c) * system.stride, 0.0);
  for (int j = 0; j < c; ++j) {
    system.trial[measured + static_cast<std::ptrdiff_t>(j) * system.stride + j] = damping[j];
  }
  const RowMatrix a{system.trial, n + c, c, system.stride};
  int jpvt[kMostFree];
  qrPivot(a, jpvt, norms, system.scratch);
  const int largerExtent = n + c * c;
  if (!zerosAreNeutral(a, jpvt)) {
    return solveFullSystem(system, damping, step);
  }
  const int rank = qrRank(a, jpvt, largerExtent);
  // A tolerance of 0 lets the filler's zero diagonals pass, and the division by them spoils every
  // element of the step.
  const bool fillerPasses = largerExtent * std::fabs(a.data[jpvt[0]]) * kEpsilon == 0.0;
  if (fillerPasses && rank == c && c > 1) {
    std::fill_n(step, c, std::numeric_limits<double>::quiet_NaN());
    return;
  }
  backSubstitute(a, jpvt, rank, c, step);
}

}  // namespace zolt
