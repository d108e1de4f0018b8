#include "fit/pivoted_qr.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "fit/pivot_squares.h"
#include "fit/reflector.h"
#include "fit/scaled_norm.h"
#include "fit/wide_rows.h"

namespace zolt {
namespace {

// The norms of the columns that are still to be eliminated, below the rows already done, and the
// same when they were last taken from the rows: one entry a column.
struct ExactNorms {
  double* current;
  double* reference;
};

// Brings the first of the columns from step `i` on with the greatest norm to place i.
void choosePivot(const ExactNorms& norms, int* jpvt, int i, int n) {
  int pivot = i;
  for (int j = i + 1; j < n; ++j) {
    if (norms.current[jpvt[j]] > norms.current[jpvt[pivot]]) {
      pivot = j;
    }
  }
  std::swap(jpvt[i], jpvt[pivot]);
}

// Takes from each remaining norm the element that has moved into the top row, row i. Where too
// little is left for the difference to be trusted, the norm is taken afresh from the rows below.
void shrinkNorms(const RowMatrix& a, const ExactNorms& norms, const int* jpvt, int i) {
  const int below = a.rows - i - 1;
  for (int j = i + 1; j < a.columns; ++j) {
    const int column = jpvt[j];
    double& partial = norms.current[column];
    if (partial == 0.0) {
      continue;
    }
    const double moved = std::fabs(a.row(i)[column]) / partial;
    double t = 1.0 - moved * moved;
    t = t < 0.0 ? 0.0 : t;
    const double u = partial / norms.reference[column];
    if (t * (u * u) > kSqrtEpsilon) {
      partial *= std::sqrt(t);
    } else {
      partial = norms.reference[column] =
          below > 0 ? scaledNorm(a.row(i + 1) + column, below, a.stride) : 0.0;
    }
  }
}

// The fast factorisation for rows of `Blocks` registers. The next pivot is known as soon as the top
// row is, unless a sum must be renewed, so that one pass over the rows both updates them and takes
// out the next column. The first pass reads the rows of `a` and writes those of `factored`.
template <int Blocks>
ZOLT_INLINE bool factorWide(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                            double* tail) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  const int m = a.rows;
  const int n = a.columns;
  std::fill_n(factored + m * kWidth, kPaddingRows * kWidth, 0.0);
  PivotSquares pivots(m, n, squares);
  int column = pivots.choose();
  if (column == PivotSquares::kUndecided) {
    return false;
  }
  const double* from = a.data;
  double* to = factored;
  ScaledSum tailSum = takeTail<Blocks>(from + kWidth, m - 1, column, tail);
  Lanes4 nonFinite = {};
  for (int i = 0;; ++i, from = to += kWidth) {
    jpvt[i] = column;
    const int below = m - i - 1;
    const double norm = below > 1 ? tailSum.norm() : std::fabs(tail[0]);
    const Reflector reflector = makeReflector(from[column], norm, tail, below);
    const double scale = reflector.scale;
    const auto w = projectRows<Blocks>(from, tail, scale, reflector.tau, below);
    for (int b = 0; b < Blocks; ++b) {
      nonFinite += w.block[b] * 0.0;
    }
    addMultiple(from, w, 1.0, to);
    to[column] = reflector.beta;
    if (reflector.tau == 0.0) {
      return false;
    }
    if (i + 1 == n) {
      break;  // nobody reads the rows below the triangle
    }
    // A single column left needs no comparison.
    const auto trust = i + 2 == n ? PivotSquares::Trust::kAll : pivots.subtract(to);
    if (trust == PivotSquares::Trust::kUndecided) {
      return false;
    }
    if (trust == PivotSquares::Trust::kAll) {
      column = pivots.choose();
      if (column == PivotSquares::kUndecided) {
        return false;
      }
      tailSum = updateRows<Blocks>(from + kWidth, to + kWidth, w, scale, below, column, tail);
    } else {
      updateRows<Blocks>(from + kWidth, to + kWidth, w, scale, below, 0, tail);
      pivots.renew(to + kWidth, below, kWidth);
      column = pivots.choose();
      if (column == PivotSquares::kUndecided) {
        return false;
      }
      tailSum = takeTail<Blocks>(to + 2 * kWidth, below - 1, column, tail);
    }
  }
  return !anyLane(nonFinite != 0.0);
}

ZOLT_WIDE bool factorWide4(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                           double* tail) {
  return factorWide<1>(a, factored, squares, jpvt, tail);
}
ZOLT_WIDE bool factorWide8(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                           double* tail) {
  return factorWide<2>(a, factored, squares, jpvt, tail);
}
ZOLT_WIDE bool factorWide12(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                            double* tail) {
  return factorWide<3>(a, factored, squares, jpvt, tail);
}
ZOLT_WIDE bool factorWide16(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                            double* tail) {
  return factorWide<4>(a, factored, squares, jpvt, tail);
}

}  // namespace

void qrPivot(const RowMatrix& a, int* jpvt, double* scratch) {
  if (a.rows < 1 || a.columns < 1) {
    return;
  }
  double* tail = scratch;
  const ExactNorms norms{tail + a.rows, tail + a.rows + a.columns};
  std::iota(jpvt, jpvt + a.columns, 0);
  for (int j = 0; j < a.columns; ++j) {
    norms.current[j] = norms.reference[j] = scaledNorm(a.data + j, a.rows, a.stride);
  }
  for (int i = 0; i < std::min(a.rows, a.columns); ++i) {
    choosePivot(norms, jpvt, i, a.columns);
    const int column = jpvt[i];
    const int below = a.rows - i - 1;
    for (int k = 0; k < below; ++k) {
      tail[k] = a.row(i + 1 + k)[column];
    }
    const auto [tau, beta, scale] =
        makeReflector(a.row(i)[column], scaledNorm(tail, below), tail, below);
    for (int k = 0; k < below; ++k) {
      tail[k] *= scale;
    }
    for (int j = i + 1; tau != 0.0 && j < a.stride; ++j) {
      const int reflected = j < a.columns ? jpvt[j] : j;
      reflectColumn(tau, tail, below, a.row(i) + reflected, a.stride);
    }
    a.row(i)[column] = beta;
    shrinkNorms(a, norms, jpvt, i);
  }
}

bool factorBySquares(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                     double* scratch) {
  if (a.rows <= a.columns) {
    return false;
  }
  switch (a.stride) {
    case 4:
      return factorWide4(a, factored, squares, jpvt, scratch);
    case 8:
      return factorWide8(a, factored, squares, jpvt, scratch);
    case 12:
      return factorWide12(a, factored, squares, jpvt, scratch);
    case 16:
      return factorWide16(a, factored, squares, jpvt, scratch);
    default:
      return false;
  }
}

int qrRank(const RowMatrix& r, const int* jpvt, int largerExtent) {
  const int diagonal = std::min(r.rows, r.columns);
  if (diagonal < 1) {
    return 0;
  }
  const double tolerance = largerExtent * std::fabs(r.data[jpvt[0]]) * kEpsilon;
  int rank = 0;
  while (rank < diagonal && std::fabs(r.row(rank)[jpvt[rank]]) >= tolerance) {
    ++rank;
  }
  return rank;
}

void backSubstitute(const RowMatrix& r, const int* jpvt, int rank, int rhs, double* x) {
  std::fill_n(x, r.columns, 0.0);
  for (int i = 0; i < rank; ++i) {
    x[jpvt[i]] = r.row(i)[rhs];
  }
  for (int j = rank - 1; j >= 0; --j) {
    const double solved = x[jpvt[j]] /= r.row(j)[jpvt[j]];
    for (int i = 0; i < j; ++i) {
      x[jpvt[i]] -= solved * r.row(i)[jpvt[j]];
    }
  }
}

}  // namespace zolt
