// QR factorisation with column pivoting of a matrix whose rows stand contiguously in memory.
//
// The method is the unblocked one of LAPACK's DGEQP3 (DLAQP2 with DLARFG reflectors): Businger and
// Golub, Numer. Math. 7 (1965) 269. Rows are contiguous so that the dot products of all trailing
// columns run side by side, one lane a column, each in its own ascending order. Columns are never
// moved; `jpvt` names the column that each pivot step took. Right sides stand as further columns
// of the same rows and are carried through the reflectors, which equals applying them afterwards.
#pragma once

#include <cstddef>
#include <vector>

namespace zolt {

// A matrix for qrPivot: `rows` rows of `stride` doubles. The first `columns` of a row are factored,
// the rest are right sides or zeros.
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
int rowStride(int columns);

// Doubles of scratch that qrPivot needs for a matrix.
inline int qrScratchSize(const RowMatrix& a) { return a.rows + 5 * a.stride; }

// Factors `a` in place. Afterwards R(i, j) = a.row(i)[jpvt[j]] for i <= j, and every right side
// has been multiplied by the transposed orthogonal factor; what stands below the diagonal is of no
// use. `jpvt` has one entry a column; `norms` holds the columns' scaled norms when the caller
// already has them, else null.
void qrPivot(const RowMatrix& a, int* jpvt, const double* norms, double* scratch);

// The running state of a scaled norm: the largest magnitude so far, and the sum of squares of the
// elements relative to it.
struct ScaledSum {
  double scale;
  double sum;
};
ScaledSum emptyScaledSum();
void addToScaledSum(ScaledSum& state, double element);

// Euclidean norm that neither overflows nor underflows on the way; a NaN makes it NaN.
double scaledNorm(const double* v, int count, int stride = 1);

// The number of leading diagonal elements of R that stand clear of rounding, where `largerExtent`
// is the larger extent of the matrix. A zero matrix has full rank by this rule.
int qrRank(const RowMatrix& r, const int* jpvt, int largerExtent);

// Solves the leading `rank` by `rank` triangle of R against right side `rhs` (a column of `r`).
// Elements of x beyond the rank are exactly 0.
void backSubstitute(const RowMatrix& r, const int* jpvt, int rank, int rhs, double* x);

}  // namespace zolt
