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
// the test itself.
//
// Sums above 1e300 are left to the exact rule, since squares might overflow. A column whose sum is
// below 1e-200 can never lead one that is above, whatever its last digits are, and once nothing but
// such columns is left, the rank ends: see vanished().
#pragma once

#include <bit>
#include <limits>

#include "fit/machine_constants.h"
#include "fit/wide_rows.h"
#include "fit/workspace.h"

namespace zolt {

// The sums of squares of the columns that stand in the lanes of a row. Lanes without such a column
// (right sides, filler, columns that are done) take part in no decision.
class PivotSquares {
 public:
  static constexpr int kUndecided = -1;
  static constexpr int kVanished = -2;

  // What is known of the columns that are left after a step.
  enum class Trust {
    kAll,       // enough is left of every column
    kSome,      // little is left of some, whose sums must be renewed from the rows
    kUndecided  // too close to tell
  };

  // `squares` holds the sum of squares of each of the columns, `rows` elements long, and anything
  // behind them up to kWidestRow.
  PivotSquares(int rows, int columns, const double* squares)
      : bound_(4.0 * kEpsilon * (rows + 16)) {
    Lanes4 lane = {0.0, 1.0, 2.0, 3.0};
    for (int first = 0; first < kWidestRow; first += kLanes, lane += 4.0) {
      const Mask4 holds = lane < static_cast<double>(columns);
      const Lanes4 sums = loadLanes(squares + first);
      storeLanes(current_ + first, holds ? sums : Lanes4{} + kNoColumn);
      storeLanes(reference_ + first, holds ? sums : Lanes4{} + kNoReference);
    }
  }

  // Takes out the column of the greatest norm and returns its lane; kUndecided where it does not
  // lead all others by more than the bound, kVanished where nothing but vanishing columns is left.
  template <int Blocks>
  ZOLT_INLINE int choose() {
    Lanes4 greatestOfLane = loadLanes(current_);
    for (int b = 1; b < Blocks; ++b) {
      greatestOfLane = greaterOf(greatestOfLane, loadLanes(current_ + b * kLanes));
    }
    const double greatest = greatestLane(greatestOfLane);
    if (!(greatest > kLeastSum && greatest < kGreatestSum)) {
      return allVanish<Blocks>() ? kVanished : kUndecided;
    }
    unsigned holders = 0;
    for (int b = 0; b < Blocks; ++b) {
      holders |= bitsOf(loadLanes(current_ + b * kLanes) == greatest) << (b * kLanes);
    }
    const int pivot = std::countr_zero(holders);
    const double reference = reference_[pivot];
    // The pivot leaves by whole registers: a single double would have to reach memory before its
    // register could be read again.
    Mask4 close = {};
    for (int b = 0; b < Blocks; ++b) {
      Lanes4 current = loadLanes(current_ + b * kLanes);
      const Mask4 holds = current == greatest;
      current = holds ? Lanes4{} + kNoColumn : current;
      const Lanes4 others = holds ? Lanes4{} + kNoReference : loadLanes(reference_ + b * kLanes);
      storeLanes(current_ + b * kLanes, current);
      storeLanes(reference_ + b * kLanes, others);
      close |= ~(greatest - current > bound_ * (reference + others));
    }
    const bool onlyOne = (holders & (holders - 1)) == 0;
    return onlyOne && !anyLane(close) ? pivot : kUndecided;
  }

  // Takes from each sum the square of the element that has moved into the top row.
  template <int Blocks>
  ZOLT_INLINE Trust subtract(const WideRow<Blocks>& top) {
    Mask4 some = {};
    Mask4 unclear = {};
    for (int b = 0; b < Blocks; ++b) {
      const Lanes4 reference = loadLanes(reference_ + b * kLanes);
      const Lanes4 rest = loadLanes(current_ + b * kLanes) - top.block[b] * top.block[b];
      const Lanes4 least = kSqrtEpsilon * reference;
      const Lanes4 doubt = bound_ * reference;
      const Mask4 enough = (rest > least + doubt) | (reference <= kLeastSum);
      const Mask4 little = ~enough & (rest < least - doubt);
      storeLanes(current_ + b * kLanes, little ? Lanes4{} + kUnknown : rest);
      some |= little;
      unclear |= ~(enough | little);
    }
    if (!anyLane(some | unclear)) {
      return Trust::kAll;
    }
    return anyLane(unclear) ? Trust::kUndecided : Trust::kSome;
  }

  // Takes the sums that subtract() gave up from the `count` rows below the top one.
  void renew(const double* rows, int count, int stride) {
    for (int lane = 0; lane < stride; ++lane) {
      if (current_[lane] == kUnknown) {
        double sum = 0.0;
        for (int k = 0; k < count; ++k) {
          const double element = rows[k * stride + lane];
          sum += element * element;
        }
        current_[lane] = reference_[lane] = sum;
      }
    }
  }

  // A column stands in another lane from now on.
  void move(int from, int to) {
    current_[to] = current_[from];
    reference_[to] = reference_[from];
  }

 private:
  static constexpr double kLeastSum = 1e-200;
  static constexpr double kGreatestSum = 1e300;
  static constexpr double kNoColumn = -1.0;
  static constexpr double kNoReference = -std::numeric_limits<double>::infinity();
  static constexpr double kUnknown = -std::numeric_limits<double>::infinity();

  template <int Blocks>
  bool allVanish() const {
    for (int lane = 0; lane < Blocks * kLanes; ++lane) {
      if (!(current_[lane] <= kLeastSum)) {
        return false;
      }
    }
    return true;
  }

  double bound_;
  double current_[kWidestRow];    // sum of squares of what is left of each column
  double reference_[kWidestRow];  // the same when it was last taken afresh
};

}  // namespace zolt
