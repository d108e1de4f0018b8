// The choice of pivots by plain sums of squares, as long as they leave no doubt.
//
// A factorisation with column pivoting compares the norms of what is left of its columns, and no
// digit of these norms reaches a result: only the order of the columns does. The rule that the
// results rest on takes scaled norms and updates them by square roots (ExactNorms in
// pivoted_qr.cpp). Sums of squares decide alike unless two of them come close.
//
// How close is derived here. Let u be half the machine epsilon, m the rows, k the steps since the
// sum of a column was last taken afresh, at most 12, and R that sum in exact arithmetic. What the
// steps leave of it, T = R less the squares of the elements that moved into the triangle, is the
// same for both ways, since they saw the same elements.
//   - A scaled norm rounds each square up to five times for each later element (a quotient that
//     enters squared, two products, one sum, and three at its own place and four at the end for
//     scale, root and product): its square is R within (5 m + 2) u R. One update,
//     norm * sqrt(1 - (element / norm)^2), adds at most 5 u R. Together (5 m + 5 k + 2) u R.
//   - The plain sum rounds each square and each addition: R within (m + 1) u R, and each
//     subtraction of a square adds at most u R. Together (m + k + 1) u R.
//   - So two columns a and b are in the same order by both ways when their sums differ by more than
//     (6 m + 6 k + 3) u (Ra + Rb), and both pass or both fail the test of what is left, T / R >
//     sqrt(epsilon), when their sum differs from sqrt(epsilon) R by more than (6 m + 6 k + 9) u R
//     plus sqrt(epsilon) times that much for the rounding of R.
// 8 (m + 16) u covers both for k up to 12, with room for the second order and for the rounding of
// the test itself. Sums below 1e-200 or above 1e300 are left to the exact rule: within these limits
// no square overflows, and what underflows is beyond the last digit of the bound.
#pragma once

#include "fit/machine_constants.h"
#include "fit/workspace.h"

namespace zolt {

class PivotSquares {
 public:
  static constexpr int kUndecided = -1;

  // What is known of the columns that are left after a step.
  enum class Trust {
    kAll,       // enough is left of every column
    kSome,      // little is left of some, whose sums must be renewed from the rows
    kUndecided  // too close to tell
  };

  // `squares` holds the sum of squares of each of the columns, `rows` elements long.
  PivotSquares(int rows, int columns, const double* squares)
      : bound_(4.0 * kEpsilon * (rows + 16)), left_(columns) {
    for (int j = 0; j < columns; ++j) {
      column_[j] = j;
      current_[j] = reference_[j] = squares[j];
    }
  }

  // Takes the column of the greatest norm out of those left. Only one that leads by more than the
  // bound is chosen.
  int choose() {
    int pivot = 0;
    for (int p = 1; p < left_; ++p) {
      pivot = current_[p] > current_[pivot] ? p : pivot;
    }
    const double greatest = current_[pivot];
    const double reference = reference_[pivot];
    bool clear = greatest > kLeastSum && greatest < kGreatestSum;
    for (int p = 0; p < left_; ++p) {
      clear &= p == pivot || greatest - current_[p] > bound_ * (reference + reference_[p]);
    }
    const int column = column_[pivot];
    --left_;
    column_[pivot] = column_[left_];
    current_[pivot] = current_[left_];
    reference_[pivot] = reference_[left_];
    return clear ? column : kUndecided;
  }

  // Takes from each sum the square of the element that has moved into the top row.
  Trust subtract(const double* top) {
    Trust trust = Trust::kAll;
    for (int p = 0; p < left_; ++p) {
      const double element = top[column_[p]];
      const double rest = current_[p] - element * element;
      const double least = kSqrtEpsilon * reference_[p];
      const double doubt = bound_ * reference_[p];
      current_[p] = rest;
      if (rest > least + doubt && reference_[p] > kLeastSum) {
        continue;
      }
      if (rest < least - doubt && reference_[p] > kLeastSum) {
        current_[p] = kUnknown;
        trust = Trust::kSome;
      } else {
        return Trust::kUndecided;
      }
    }
    return trust;
  }

  // Takes the sums that subtract() gave up from the `count` rows below the top one.
  void renew(const double* rows, int count, int stride) {
    for (int p = 0; p < left_; ++p) {
      if (current_[p] == kUnknown) {
        double sum = 0.0;
        for (int k = 0; k < count; ++k) {
          const double element = rows[k * stride + column_[p]];
          sum += element * element;
        }
        current_[p] = reference_[p] = sum;
      }
    }
  }

 private:
  static constexpr double kLeastSum = 1e-200;
  static constexpr double kGreatestSum = 1e300;
  static constexpr double kUnknown = -1.0;

  double bound_;
  int left_;
  // The columns not yet taken, the sum of squares of what is left of each, and the sum that was
  // last taken afresh.
  int column_[kWidestRow] = {};
  double current_[kWidestRow] = {};
  double reference_[kWidestRow] = {};
};

}  // namespace zolt
