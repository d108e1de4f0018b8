#include "fit/damped_step.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <vector>

#include "fit/machine_constants.h"
#include "fit/wide_rows.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// Writes the columns as rows, four by four, and sums the squares of each column, rows in ascending
// order. Behind the points the columns are zero, and so become the first rows behind.
template <int Blocks>
ZOLT_INLINE void assembleRows(DampedSystem& system) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  const std::ptrdiff_t pitch = system.pitch;
  WideRow<Blocks> squares = {};
  for (std::ptrdiff_t k = 0; k < pitch; k += kLanes) {
    for (int b = 0; b < Blocks; ++b) {
      const double* column = system.columns + b * kLanes * pitch + k;
      double* row = system.rows + k * kWidth + b * kLanes;
      Lanes4 square[kLanes];
      for (int i = 0; i < kLanes; ++i) {
        square[i] = loadLanes(column + i * pitch);
      }
      transposeLanes(square);
      for (int i = 0; i < kLanes; ++i) {
        storeLanes(row + i * kWidth, square[i]);
        squares.block[b] += square[i] * square[i];
      }
    }
  }
  storeRow(system.squares, squares);
}

ZOLT_WIDE void assemble4(DampedSystem& system) { assembleRows<1>(system); }
ZOLT_WIDE void assemble8(DampedSystem& system) { assembleRows<2>(system); }
ZOLT_WIDE void assemble12(DampedSystem& system) { assembleRows<3>(system); }
ZOLT_WIDE void assemble16(DampedSystem& system) { assembleRows<4>(system); }

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
  std::vector<double> scratch(static_cast<std::size_t>(qrScratchSize(n + p, p)));
  qrPivot(a, jpvt.data(), scratch.data());
  std::vector<double> x(static_cast<std::size_t>(p));
  backSubstitute(a, jpvt.data(), qrRank(a, jpvt.data(), n + p), p, x.data());
  std::copy_n(x.data(), system.free, step);
}

// Whether the factorisation without the filler gave what the full system would have given. The
// filler's columns and damping rows are zeros, and a reflector adds multiples of zero to them: that
// is still zero as long as every multiple is finite, but NaN for an infinite one. So the answer is
// yes where the whole triangle is finite. Where it is not, the rows are looked at from the top:
//   - A diagonal that is not finite comes first: from there on the real columns hold what the full
//     system's would, since NaN spreads to all of them either way.
//   - Beside a finite diagonal, a right side that is not finite: zeros that became NaN may matter.
//   - Beside a finite diagonal, a column that is not finite: they may matter, too, unless that
//     column's own diagonal is NaN in any case. The rank ends at a NaN, so nothing is read of it.
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

// The step by the factorisation that decides pivots by exact norms, whatever the system holds.
void solveExactly(const DampedSystem& system, const double* damping, double* step) {
  const int m = system.points + system.free;
  const int c = system.free;
  std::vector<double> storage(system.rows, system.rows + m * system.stride);
  std::vector<double> scratch(static_cast<std::size_t>(qrScratchSize(m, c)));
  const RowMatrix r{storage.data(), m, c, system.stride};
  int jpvt[kMostFree];
  qrPivot(r, jpvt, scratch.data());
  if (!zerosAreNeutral(r, jpvt)) {
    return solveFullSystem(system, damping, step);
  }
  const int largerExtent = system.points + c * c;
  const int rank = qrRank(r, jpvt, largerExtent);
  // A tolerance of 0 lets the filler's zero diagonals pass, and the division by them spoils every
  // element of the step.
  const bool fillerPasses = largerExtent * std::fabs(r.data[jpvt[0]]) * kEpsilon == 0.0;
  if (fillerPasses && rank == c && c > 1) {
    std::fill_n(step, c, std::numeric_limits<double>::quiet_NaN());
    return;
  }
  backSubstitute(r, jpvt, rank, c, step);
}

bool sumsToNumber(const DampedSystem& system, const double* damping) {
  for (int j = 0; j < system.free; ++j) {
    // A finite sum of squares leaves no room for a NaN or for infinities of both signs.
    if (std::isfinite(system.squares[j])) {
      continue;
    }
    const double* column = system.columns + static_cast<std::ptrdiff_t>(j) * system.pitch;
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
      pitch(sizes(n, c).pitch),
      stride(sizes(n, c).stride),
      columns(workspace.take(sizes(n, c).columns)),
      residuals(columns + static_cast<std::ptrdiff_t>(c) * pitch),
      rows(workspace.take(sizes(n, c).rows)),
      triangle(workspace.take(sizes(n, c).triangle)),
      scratch(workspace.take(sizes(n, c).scratch)) {
  assert(0 < c && c <= kMostFree);
  for (int j = 0; j < stride; ++j) {
    double* column = columns + static_cast<std::ptrdiff_t>(j) * pitch;
    std::fill(column + (j <= c ? n : 0), column + pitch, 0.0);
  }
  double* behind = rows + static_cast<std::ptrdiff_t>(n) * stride;
  std::fill_n(behind, (c + kPaddingRows) * stride, 0.0);
}

void assemble(DampedSystem& system) {
  switch (system.stride / kLanes) {
    case 1:
      return assemble4(system);
    case 2:
      return assemble8(system);
    case 3:
      return assemble12(system);
    default:
      return assemble16(system);
  }
}

void solveDamped(DampedSystem& system, double lambda, double* step) {
  const int n = system.points;
  const int c = system.free;
  const RowMatrix a{system.rows, n + c, c, system.stride};
  double damping[kMostFree];
  double squares[kWidestRow] = {};
  for (int j = 0; j < c; ++j) {
    damping[j] = std::sqrt(lambda * system.squares[j]);
    squares[j] = system.squares[j] + damping[j] * damping[j];
    a.row(n + j)[j] = damping[j];
  }
  if (!sumsToNumber(system, damping)) {
    std::fill_n(step, c, 0.0);
    return;
  }
  int jpvt[kMostFree];
  const int done = factorBySquares(a, system.triangle, squares, jpvt, system.scratch);
  if (done == 0) {
    return solveExactly(system, damping, step);
  }
  std::fill_n(step, c, 0.0);
  const RowMatrix r{system.triangle, done, done, system.stride};
  backSubstitute(r, jpvt, qrRank(r, jpvt, n + c * c), c, step);
}

}  // namespace zolt
