// What a factorisation does to the rows of a matrix: each operation runs over contiguous rows whose
// columns stand side by side in wide registers. A row is `Blocks` registers wide; its columns never
// meet, and each column's sum takes the rows in ascending order.
#pragma once

#include "fit/scaled_norm.h"
#include "fit/wide.h"

namespace zolt {

// Rows of zeros behind those of a matrix, so that every pass takes four rows at a time.
inline constexpr int kPaddingRows = kLanes - 1;

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

// w[j] = -tau (top[j] + sum of rows[k][j] * v[k] over the `count` rows below); 0 in a column whose
// sum is 0, which the reflector leaves as it is. On the way the tail becomes v[k] = tail[k] *
// scale. Rows and tail go on with zeros until the last register is full.
template <int Blocks>
ZOLT_INLINE WideRow<Blocks> projectRows(const double* top, double* tail, double scale, double tau,
                                        int count) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  WideRow<Blocks> w = loadRow<Blocks>(top);
  const double* row = top + kWidth;
  for (int k = 0; k < count; k += kLanes) {
    const Lanes4 v = loadLanes(tail + k) * scale;
    storeLanes(tail + k, v);
#pragma GCC unroll 4
    for (int i = 0; i < kLanes; ++i, row += kWidth) {
      for (int b = 0; b < Blocks; ++b) {
        w.block[b] += loadLanes(row + b * kLanes) * v[i];
      }
    }
  }
  for (int b = 0; b < Blocks; ++b) {
    w.block[b] = w.block[b] == 0.0 ? Lanes4{} : -tau * w.block[b];
  }
  return w;
}

// Adds four elements to a scaled norm, the first lane first. The scale before each of them does not
// depend on the sum, so that all quotients are formed side by side; only the sum takes the elements
// one by one.
ZOLT_INLINE void addFour(ScaledSum& state, const Lanes4& elements) {
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
  Lanes4 scale;
  for (int k = 0; k < kLanes; ++k) {
    scale[k] = state.scale;
    state.scale = a[k] > state.scale ? a[k] : state.scale;
  }
  const Lanes4 smaller = a > kOverwhelming * scale ? Lanes4{} : a > scale ? scale : a;
  const Lanes4 t = smaller / (a > scale ? a : scale);
  const Lanes4 squares = t * t;
  for (int k = 0; k < kLanes; ++k) {
    sum = a[k] > scale[k] ? 1.0 + sum * t[k] * t[k] : sum + squares[k];
  }
  state.sum = sum;
}

// tail[k] = rows[k][lane] for the `count` rows from `rows` on, zeros behind. Returns the running
// norm of the tail, which zeros do not change.
template <int Blocks>
ZOLT_INLINE ScaledSum takeTail(const double* rows, int count, int lane, double* tail) {
  constexpr int kWidth = WideRow<Blocks>::kWidth;
  ScaledSum norm;
  for (int k = 0; k < count; k += kLanes) {
    const Lanes4 taken = gatherLanes(rows + k * kWidth + lane, kWidth);
    storeLanes(tail + k, taken);
    addFour(norm, taken);
  }
  storeLanes(tail + count, Lanes4{});
  return norm;
}

// Columns that move from the last register of a row to lanes that have come free.
struct LaneMoves {
  int count = 0;
  int from[kLanes];
  int to[kLanes];
};

// to[j] = from[j] + w[j] * v in each column j, where the row that is written may lack the last
// register of the one that is read.
template <int Blocks, int Written>
ZOLT_INLINE void addMultiple(const double* from, double* to, const WideRow<Blocks>& w, double v,
                             const LaneMoves& moves, const double* wLanes) {
  Lanes4 sum[Written];
  for (int b = 0; b < Written; ++b) {
    sum[b] = loadLanes(from + b * kLanes) + w.block[b] * v;
  }
  if constexpr (Written == Blocks) {
    for (int b = 0; b < Written; ++b) {
      storeLanes(to + b * kLanes, sum[b]);
    }
  } else {
    double moved[kLanes];
    for (int i = 0; i < moves.count; ++i) {
      moved[i] = from[moves.from[i]] + wLanes[moves.from[i]] * v;
    }
    for (int b = 0; b < Written; ++b) {
      storeLanes(to + b * kLanes, sum[b]);
    }
    for (int i = 0; i < moves.count; ++i) {
      to[moves.to[i]] = moved[i];
    }
  }
}

// Adds w * v[k] to each of the `count` rows, and meanwhile takes lane `next` of the rows below the
// first of them, the tail of the column that comes next, into v. Rows and v go on with zeros until
// the last register is full. Returns the running norm of that tail. The rows may be written in
// place, and be left a register narrower.
template <int Blocks, int Written>
ZOLT_INLINE ScaledSum updateRows(const double* from, double* to, const WideRow<Blocks>& w,
                                 int count, int next, double* v, const LaneMoves& moves) {
  constexpr int kRead = Blocks * kLanes;
  constexpr int kWrite = Written * kLanes;
  double wLanes[kRead];
  storeRow(wLanes, w);
  addMultiple<Blocks, Written>(from, to, w, v[0], moves, wLanes);
  ScaledSum norm;
  for (int k = 1; k < count; k += kLanes) {
#pragma GCC unroll 4
    for (int i = k; i < k + kLanes; ++i) {
      addMultiple<Blocks, Written>(from + i * kRead, to + i * kWrite, w, v[i], moves, wLanes);
    }
    const Lanes4 taken = gatherLanes(to + k * kWrite + next, kWrite);
    storeLanes(v + k - 1, taken);
    addFour(norm, taken);
  }
  storeLanes(v + count - 1, Lanes4{});
  for (int b = 0; b < kPaddingRows * Written; ++b) {
    storeLanes(to + count * kWrite + b * kLanes, Lanes4{});
  }
  return norm;
}

}  // namespace zolt
