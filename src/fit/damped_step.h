// The damped Gauss-Newton step: the least-squares solution of the Jacobian on top of the diagonal
// of damping weights.
//
// Marquardt, J. SIAM 11 (1963) 431, in the scaled form: the damping of a column is proportional to
// its sum of squares. The solution is found by orthogonal factorisation; the normal equations are
// never formed.
#pragma once

#include "fit/pivoted_qr.h"
#include "fit/workspace.h"

namespace zolt {

// The system of one fit, filled anew by each iteration.
//
// Its memory, for n points and c free parameters:
//   columns   stride columns of pitch doubles: c of the Jacobian (signal per unit of the
//   parameter),
//             the residuals (signal), zeros. Behind the n points of a column are zeros.
//   rows      n + c + kPaddingRows rows of stride doubles: the columns by rows; below them the
//             damping, row n + j holding the weight of parameter j in place j; rows of zeros.
//   triangle  c rows of stride doubles: what a trial makes of the rows.
//   scratch   rows in work, and the column in hand.
// fitLM() writes columns and residuals and calls assemble() once an iteration, then solveDamped()
// for one trial after the other; neither may be called from elsewhere meanwhile.
//
// The parameters stand in a square array of `free` columns whose filler no model reads, so the full
// system has free * free columns (design.md: filler columns). The filler's columns and damping rows
// are exactly zero: they take no part in the factorisation, and count only in the extent that
// scales the rank tolerance.
struct DampedSystem {
  int points;
  int free;
  int pitch;   // points, filled up to whole registers
  int stride;  // free parameters and residual, filled up likewise
  double* columns;
  double* residuals;  // the column behind the Jacobian
  double* rows;
  double* triangle;
  double* scratch;
  double squares[kWidestRow];  // sum of squares of each column, without its damping

  DampedSystem(int points, int free, FitWorkspace& workspace);

  // Doubles that the constructor takes from a workspace; fewer for fewer points or parameters.
  static constexpr std::size_t storage(int points, int free);

 private:
  struct Sizes {
    int pitch, stride, columns, rows, triangle, scratch;
  };
  static constexpr Sizes sizes(int points, int free) {
    const int pitch = (points + kLanes - 1) / kLanes * kLanes;
    const int stride = rowStride(free + 1);
    const int m = points + free;
    return {pitch,          stride,
            stride * pitch, (m + kPaddingRows) * stride,
            free * stride,  fastScratchSize(m, stride)};
  }
};

constexpr std::size_t DampedSystem::storage(int points, int free) {
  const Sizes s = sizes(points, free);
  return FitWorkspace::padded(s.columns) + FitWorkspace::padded(s.rows) +
         FitWorkspace::padded(s.triangle) + FitWorkspace::padded(s.scratch);
}

// Takes in the Jacobian and the residuals that stand in the columns. No residual is NaN.
void assemble(DampedSystem& system);

// The step for a damping factor, `free` changes of parameters: zeros when a column of the damped
// system does not sum to a number.
void solveDamped(DampedSystem& system, double lambda, double* step);

}  // namespace zolt
