// QR factorisation with column pivoting of a matrix whose rows stand contiguously in memory.
//
// The method is the unblocked one of LAPACK's DGEQP3 (DLAQP2 with DLARFG reflectors): Businger and
// Golub, Numer. Math. 7 (1965) 269. Rows are contiguous so that the dot products of all trailing
// columns run side by side, one lane a column, each in its own ascending order. Columns are never
// moved; `jpvt` names the column that each pivot step took. Right sides stand as further columns
// of the same rows and are carried through the reflectors, which equals applying them afterwards.
#pragma once

#include <cstddef>

#include "fit/wide_rows.h"

namespace zolt {

// A matrix of `rows` rows of `stride` doubles. The first `columns` of a row are factored, the rest
// are right sides or zeros.
struct RowMatrix {
  double* data;
  int rows;
  int columns;
  int stride;

  double* row(int i) const {
    return data + static_cast<std::ptrdiff_t>(i) * static_cast<std::ptrdiff_t>(stride);
  }
};

// Doubles a row needs for `columns` columns and right sides, padded to whole registers.
constexpr int rowStride(int columns) { return (columns + 3) / 4 * 4; }

// Doubles of scratch that qrPivot() and factorBySquares() need.
constexpr int qrScratchSize(int rows, int columns) { return rows + 2 * columns; }
constexpr int fastScratchSize(int rows, int stride) { return (rows + kPaddingRows) * (stride + 1); }

// Factors `a` in place. Afterwards R(i, j) = a.row(i)[jpvt[j]] for i <= j, and every right side
// has been multiplied by the transposed orthogonal factor; what stands below the diagonal is of no
// use. `jpvt` has one entry a column.
void qrPivot(const RowMatrix& a, int* jpvt, double* scratch);

// The same in a fraction of the time and bit for bit, for more rows than columns, rows at most 16
// doubles wide and kPaddingRows behind them: leaves `a` as it was and writes the triangle with its
// right sides to the first rows of `r`, R(i, j) = r[i * a.stride + jpvt[j]]. `squares` holds the
// sum of squares of each column.
//
// Returns the columns factored. Those that are left, if any, vanish against rounding, so that the
// rank ends before them. Returns 0, `r` and `jpvt` being of no use then, where sums of squares
// cannot tell the order of the columns for sure, and where something is not finite.
int factorBySquares(const RowMatrix& a, double* r, const double* squares, int* jpvt,
                    double* scratch);

// The number of leading diagonal elements of R that stand clear of rounding, where `largerExtent`
// is the larger extent of the matrix. A zero matrix has full rank by this rule.
int qrRank(const RowMatrix& r, const int* jpvt, int largerExtent);

// Solves the leading `rank` by `rank` triangle of R against right side `rhs` (a column of `r`).
// Elements of x beyond the rank are exactly 0.
void backSubstitute(const RowMatrix& r, const int* jpvt, int rank, int rhs, double* x);

}  // namespace zolt
