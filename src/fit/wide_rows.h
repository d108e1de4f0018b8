// What a factorisation does to the rows of a matrix: each operation runs over contiguous rows whose
// columns stand side by side in wide registers. A row is `Blocks` registers wide; its columns never
// meet, and each column's sum takes the rows in ascending order.
#pragma once

#include "fit/scaled_norm.h"
#include "fit/wide.h"

namespace zolt {

// One row in registers.
template <int Blocks>
struct WideRow {
  static constexpr int kWidth = Blocks * kLanes;
  Lanes4 block[Blocks];
};

template <int Blocks>
ZOLT_INLINE WideRow<Blocks> loadRow(const double* row) {
  WideRow<Blocks> loaded;
  for (int b = 0; b < Blocks; ++b) {
    loaded.block[b] = loadLanes(row + b * kLanes);
  }
  return loaded;
}

template <int Blocks>
ZOLT_INLINE void storeRow(double* row, const WideRow<Blocks>& stored) {
  for (int b = 0; b < Blocks; ++b) {
    storeLanes(row + b * kLanes, stored.block[b]);
  }
}

// to[j] = from[j] + w[j] * v in each column j.
template <int Blocks>
ZOLT_INLINE void addMultiple(const double* from, const WideRow<Blocks>& w, double v, double* to) {
  for (int b = 0; b < Blocks; ++b) {
    storeLanes(to + b * kLanes, loadLanes(from + b * kLanes) + w.block[b] * v);
  }
}

// w[j] = -tau (top[j] + sum of rows[k][j] * v[k] over the `count` rows below), v[k] = tail[k] *
// scale; 0 in a column whose sum is 0, which the reflector leaves as it is.
template <int Blocks>
ZOLT_INLINE WideRow<Blocks> projectRows(const double* top, const double* tail, double scale,
                                        double tau, int count) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  WideRow<Blocks> w = loadRow<Blocks>(top);
  const double* row = top + kWidth;
#pragma GCC unroll 4
  for (int k = 0; k < count; ++k, row += kWidth) {
    const double v = tail[k] * scale;
    for (int b = 0; b < Blocks; ++b) {
      w.block[b] += loadLanes(row + b * kLanes) * v;
    }
  }
  for (int b = 0; b < Blocks; ++b) {
    w.block[b] = w.block[b] == 0.0 ? Lanes4{} : -tau * w.block[b];
  }
  return w;
}

// Adds four elements, the first lane first. The scale before each of them does not depend on the
// sum, so that all quotients are formed side by side; only the sum takes the elements one by one.
ZOLT_INLINE void addFourToScaledSum(ScaledSum& state, const Lanes4& elements) {
  const Lanes4 a = magnitude(elements);
  double sum = state.sum;
  if (!anyLane(a > state.scale)) {
    const Lanes4 t = a / state.scale;
    const Lanes4 squares = t * t;
    for (int k = 0; k < kLanes; ++k) {
      sum = sum + squares[k];
    }
    state.sum = sum;
    return;
  }
  // Where an element exceeds the scale, sum becomes sum * t * t + 1, else sum * 1 * 1 + t * t.
  Lanes4 scale;
  for (int k = 0; k < kLanes; ++k) {
    scale[k] = state.scale;
    state.scale = a[k] > state.scale ? a[k] : state.scale;
  }
  const auto grows = a > scale;
  const Lanes4 t = (grows ? scale : a) / (grows ? a : scale);
  const Lanes4 one = Lanes4{} + 1.0;
  const Lanes4 factor = grows ? t : one;
  const Lanes4 addend = grows ? one : t * t;
  for (int k = 0; k < kLanes; ++k) {
    sum = sum * factor[k] * factor[k] + addend[k];
  }
  state.sum = sum;
}

// tail[k] = rows[k][column] for the `count` rows from `rows` on and for those behind them that fill
// up a register. Returns the running norm of the tail; rows of zeros do not change it.
template <int Blocks>
ZOLT_INLINE ScaledSum takeTail(const double* rows, int count, int column, double* tail) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  ScaledSum norm;
  for (int k = 0; k < count; k += kLanes) {
    const Lanes4 taken = gatherLanes(rows + k * kWidth + column, kWidth);
    storeLanes(tail + k, taken);
    addFourToScaledSum(norm, taken);
  }
  storeLanes(tail + count, Lanes4{});
  return norm;
}

// Adds w * v[k] to each of the `count` rows, v[k] = tail[k] * scale, and meanwhile takes out the
// tail of the column that comes next, below the first of the rows, in place of the old one. Up to
// three rows of zeros behind the others fill up a register. Returns the running norm of the new
// tail. `from` and `to` may be the same rows.
template <int Blocks>
ZOLT_INLINE ScaledSum updateRows(const double* from, double* to, const WideRow<Blocks>& w,
                                 double scale, int count, int next, double* tail) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  addMultiple(from, w, tail[0] * scale, to);
  ScaledSum norm;
  for (int k = 1; k < count; k += kLanes) {
    const double* fromFour = from + k * kWidth;
    double* toFour = to + k * kWidth;
#pragma GCC unroll 4
    for (int i = 0; i < kLanes; ++i) {
      addMultiple(fromFour + i * kWidth, w, tail[k + i] * scale, toFour + i * kWidth);
    }
    const Lanes4 taken = gatherLanes(toFour + next, kWidth);
    storeLanes(tail + k - 1, taken);
    addFourToScaledSum(norm, taken);
  }
  storeLanes(tail + count - 1, Lanes4{});
  return norm;
}

}  // namespace zolt
