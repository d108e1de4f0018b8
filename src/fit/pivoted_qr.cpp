#include "fit/pivoted_qr.h"

#include <algorithm>
#include <bit>
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

// The fast factorisation at the beginning of a step. Columns stand in lanes of the rows. Those that
// are done leave their lanes free; once as many are free as a register has, the columns of the last
// register move there, and all later steps run over rows that are a register narrower.
struct Elimination {
  const double* from;  // the top row of this step, those below behind it
  double* to;          // where this step leaves the rows below
  double* tail;        // of the column that this step eliminates, below the top row
  ScaledSum tailSum;   // its running norm
  int step = 0;
  int columns;
  int below;      // rows below the top row
  int lane;       // of the column that this step eliminates
  unsigned used;  // bit by bit, whether a lane holds a column still to be done or the right side
  int columnIn[kWidestRow];  // which column of the matrix stands in a lane
  PivotSquares squares;
  double* r;  // the triangle
  int rStride;
  int* jpvt;

  Elimination(const RowMatrix& a, const double* sums)
      : from(a.data),
        columns(a.columns),
        below(a.rows - 1),
        used((2u << a.columns) - 1),
        squares(a.rows, a.columns, sums),
        rStride(a.stride) {
    std::iota(columnIn, columnIn + kWidestRow, 0);
  }
};

// Writes row `step` of the triangle: the top row, reflected, with beta on the diagonal.
template <int Blocks>
ZOLT_INLINE void writeTriangle(const Elimination& e, const WideRow<Blocks>& top, double beta) {
  double lanes[WideRow<Blocks>::kWidth];
  storeRow(lanes, top);
  double* row = e.r + e.step * e.rStride;
  for (int lane = 0; lane < WideRow<Blocks>::kWidth; ++lane) {
    row[e.columnIn[lane]] = lanes[lane];
  }
  row[e.columnIn[e.lane]] = beta;
}

// Gives each column in the last of `Blocks` registers a free lane before it.
template <int Blocks>
LaneMoves leaveLastRegister(Elimination& e) {
  constexpr int kKept = (Blocks - 1) * kLanes;
  LaneMoves moves;
  for (int lane = kKept; lane < kKept + kLanes; ++lane) {
    if ((e.used >> lane & 1) != 0) {
      const int free = std::countr_one(e.used);
      moves.from[moves.count] = lane;
      moves.to[moves.count++] = free;
      e.used ^= 1u << lane | 1u << free;
      e.columnIn[free] = e.columnIn[lane];
      e.squares.move(lane, free);
    }
  }
  return moves;
}

// Adds w v to the rows below the top one, chooses the column of the next step and takes out its
// tail. The next pivot is known as soon as the top row is, unless a sum must be renewed, so that
// one pass over the rows does it all. Returns PivotSquares::kAll only if there is a next step.
template <int Blocks, int Written>
ZOLT_INLINE int prepareNext(Elimination& e, const WideRow<Blocks>& w, PivotSquares::Trust trust,
                            const LaneMoves& moves) {
  constexpr int kRead = Blocks * kLanes;
  constexpr int kWrite = Written * kLanes;
  const bool known = trust == PivotSquares::Trust::kAll;
  if (known) {
    e.lane = e.squares.choose<Written>();
    if (e.lane < 0) {
      return e.lane;
    }
  }
  e.tailSum = updateRows<Blocks, Written>(e.from + kRead, e.to, w, e.below, known ? e.lane : 0,
                                          e.tail, moves);
  --e.below;
  if (!known) {
    e.squares.renew(e.to, e.below + 1, kWrite);
    e.lane = e.squares.choose<Written>();
    if (e.lane < 0) {
      return e.lane;
    }
    e.tailSum = takeTail<Written>(e.to + kWrite, e.below, e.lane, e.tail);
  }
  e.from = e.to;
  e.to += kWrite;
  return e.lane;
}

// All steps from here on, over rows of `Blocks` registers. Returns the columns that are done when
// it ends, 0 where the exact factorisation has to start over.
template <int Blocks>
ZOLT_INLINE int eliminate(Elimination& e) {
  for (;;) {
    const double norm = e.below > 1 ? e.tailSum.norm() : std::fabs(e.tail[0]);
    const Reflector reflector = makeReflector(e.from[e.lane], norm, e.tail, e.below);
    const auto w = projectRows<Blocks>(e.from, e.tail, reflector.scale, reflector.tau, e.below);
    auto top = loadRow<Blocks>(e.from);
    Lanes4 finite = {};
    for (int b = 0; b < Blocks; ++b) {
      top.block[b] += w.block[b];
      finite += top.block[b] * 0.0;
    }
    if (reflector.tau == 0.0 || anyLane(finite != 0.0)) {
      return 0;
    }
    writeTriangle(e, top, reflector.beta);
    e.jpvt[e.step] = e.columnIn[e.lane];
    e.used ^= 1u << e.lane;
    if (++e.step == e.columns) {
      return e.step;  // nobody reads the rows below the triangle
    }
    // A single column left needs no comparison.
    const auto trust =
        e.step + 1 == e.columns ? PivotSquares::Trust::kAll : e.squares.subtract(top);
    if (trust == PivotSquares::Trust::kUndecided) {
      return 0;
    }
    int next;
    if (Blocks > 1 && std::popcount(e.used) == (Blocks - 1) * kLanes) {
      constexpr int kNarrower = Blocks > 1 ? Blocks - 1 : 1;
      const LaneMoves moves = leaveLastRegister<Blocks>(e);
      next = prepareNext<Blocks, kNarrower>(e, w, trust, moves);
      if (next >= 0) {
        return eliminate<kNarrower>(e);
      }
    } else {
      next = prepareNext<Blocks, Blocks>(e, w, trust, {});
    }
    if (next < 0) {
      return next == PivotSquares::kVanished ? e.step : 0;
    }
  }
}

template <int Blocks>
ZOLT_INLINE int eliminateAll(const RowMatrix& a, double* r, const double* squares, int* jpvt,
                             double* scratch) {
  constexpr int kWidth = Blocks * kLanes;
  double* tail = scratch;
  double* rows = tail + a.rows + kPaddingRows;
  Elimination e(a, squares);
  e.to = rows;
  e.tail = tail;
  e.r = r;
  e.jpvt = jpvt;
  e.lane = e.squares.choose<Blocks>();
  if (e.lane < 0) {
    return 0;
  }
  e.tailSum = takeTail<Blocks>(a.data + kWidth, e.below, e.lane, tail);
  return eliminate<Blocks>(e);
}

ZOLT_WIDE int eliminate4(const RowMatrix& a, double* r, const double* squares, int* jpvt,
                         double* scratch) {
  return eliminateAll<1>(a, r, squares, jpvt, scratch);
}
ZOLT_WIDE int eliminate8(const RowMatrix& a, double* r, const double* squares, int* jpvt,
                         double* scratch) {
  return eliminateAll<2>(a, r, squares, jpvt, scratch);
}
ZOLT_WIDE int eliminate12(const RowMatrix& a, double* r, const double* squares, int* jpvt,
                          double* scratch) {
  return eliminateAll<3>(a, r, squares, jpvt, scratch);
}
ZOLT_WIDE int eliminate16(const RowMatrix& a, double* r, const double* squares, int* jpvt,
                          double* scratch) {
  return eliminateAll<4>(a, r, squares, jpvt, scratch);
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

int factorBySquares(const RowMatrix& a, double* r, const double* squares, int* jpvt,
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
  const int done = eliminateRows(a, r, squares, jpvt, scratch);
  // What vanished must do so against the first diagonal, too.
  return done == 0 || done == a.columns || std::fabs(r[jpvt[0]]) > kLeastBesideVanished ? done : 0;
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
