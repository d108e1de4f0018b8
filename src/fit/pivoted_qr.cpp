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

// The least diagonal against whose rounding a column vanishes that PivotSquares calls vanished.
constexpr double kLeastBesideVanished = 1e-80;

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
ZOLT_INLINE int eliminate(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                          double* tail) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  using Trust = PivotSquares::Trust;
  const int n = a.columns;
  PivotSquares sums(a.rows, n, squares);
  const double* from = a.data;  // the top row of the step, those below behind it
  double* to = factored;        // where the step leaves them
  int below = a.rows - 1;
  int column = sums.choose<Blocks>();
  ScaledSum tailSum = takeTail<Blocks>(from + kWidth, below, column < 0 ? 0 : column, tail);
  for (int i = 0;; ++i, --below) {
    if (column < 0) {
      return column == PivotSquares::kVanished ? i : 0;
    }
    jpvt[i] = column;
    const double norm = below > 1 ? tailSum.norm() : std::fabs(tail[0]);
    const Reflector reflector = makeReflector(from[column], norm, tail, below);
    const auto w = projectRows<Blocks>(from, tail, reflector.scale, reflector.tau, below);
    auto top = loadRow<Blocks>(from);
    Lanes4 zero = {};  // times anything finite
    for (int b = 0; b < Blocks; ++b) {
      top.block[b] += w.block[b];
      zero += top.block[b] * 0.0;
    }
    if (reflector.tau == 0.0 || anyLane(zero != 0.0)) {
      return 0;
    }
    storeRow(to, top);
    to[column] = reflector.beta;
    if (i + 1 == n) {
      return n;  // nobody reads the rows below the triangle
    }
    // A single column left needs no comparison.
    const Trust trust = i + 2 == n ? Trust::kAll : sums.subtract(top);
    from += kWidth;
    to += kWidth;
    if (trust == Trust::kAll) {
      column = sums.choose<Blocks>();
      tailSum = updateRows(from, to, w, below, column < 0 ? 0 : column, tail);
    } else if (trust == Trust::kSome) {
      updateRows(from, to, w, below, 0, tail);
      sums.renew(to, below, kWidth);
      column = sums.choose<Blocks>();
      tailSum = takeTail<Blocks>(to + kWidth, below - 1, column < 0 ? 0 : column, tail);
    } else {
      return 0;
    }
    from = to;
  }
}

ZOLT_WIDE int eliminate4(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                         double* tail) {
  return eliminate<1>(a, factored, squares, jpvt, tail);
}
ZOLT_WIDE int eliminate8(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                         double* tail) {
  return eliminate<2>(a, factored, squares, jpvt, tail);
}
ZOLT_WIDE int eliminate12(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                          double* tail) {
  return eliminate<3>(a, factored, squares, jpvt, tail);
}
ZOLT_WIDE int eliminate16(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                          double* tail) {
  return eliminate<4>(a, factored, squares, jpvt, tail);
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

int factorBySquares(const RowMatrix& a, double* factored, const double* squares, int* jpvt,
                    double* scratch) {
  if (a.rows <= a.columns) {
    return 0;
  }
  const auto eliminateRows = [stride = a.stride] {
    switch (stride / kLanes) {
      case 1:
        return eliminate4;
      case 2:
        return eliminate8;
      case 3:
        return eliminate12;
      default:
        return eliminate16;
    }
  }();
  const int done = eliminateRows(a, factored, squares, jpvt, scratch);
  // What vanished must do so against the first diagonal, too.
  const bool clear =
      done == 0 || done == a.columns || std::fabs(factored[jpvt[0]]) > kLeastBesideVanished;
  return clear ? done : 0;
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
  for (int i = 0; i < r.columns; ++i) {
    x[jpvt[i]] = i < rank ? r.row(i)[rhs] : 0.0;
  }
  for (int j = rank - 1; j >= 0; --j) {
    const double solved = x[jpvt[j]] /= r.row(j)[jpvt[j]];
    for (int i = 0; i < j; ++i) {
      x[jpvt[i]] -= solved * r.row(i)[jpvt[j]];
    }
  }
}

}  // namespace zolt
