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

// The system of one iteration. The parameters stand in a square array of `free` columns whose
// filler no model reads, so the full system has free * free columns. The filler's columns and
// damping rows are exactly zero: they take no part in the factorisation, and count only in the
// extent that scales the rank tolerance.
struct DampedSystem {
  int points;
  int free;
  int pitch;          // points, filled up to whole registers
  int stride;         // doubles in a row, filled up likewise
  double* columns;    // the Jacobian, `free` columns `pitch` apart
  double* residuals;  // the column behind them
  double* rows;       // the same by rows, the damping rows below, then kPaddingRows of zeros
  double* trial;      // what a trial makes of the rows
  double* scratch;
  double squares[kWidestRow];  // sum of squares of each column, without its damping

  DampedSystem(int points, int free, FitWorkspace& workspace);
};

// Takes in the Jacobian and the residuals that stand in the columns. No residual is NaN.
void assemble(DampedSystem& system);

// The step for a damping factor: zeros when a column of the damped system does not sum to a number.
void solveDamped(DampedSystem& system, double lambda, double* step);

}  // namespace zolt
