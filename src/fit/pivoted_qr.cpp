#include "fit/pivoted_qr.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "fit/machine_constants.h"
#include "fit/wide.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// A reflector I - tau u u', u = (1, v), that sends (alpha, tail) to (beta, 0).
struct Reflector {
  double tau;
  double beta;
};

// Builds the reflector and overwrites the tail, whose norm is `tailNorm`, by v.
ZOLT_INLINE Reflector makeReflector(double alpha, double tailNorm, double* tail, int count) {
  if (tailNorm == 0.0) {
    return {0.0, alpha};
  }
  const auto signedNorm = [&alpha](double norm) {
    const double length = scalarHypot(alpha, norm);
    return alpha >= 0.0 ? -length : length;
  };
  double beta = signedNorm(tailNorm);
  int rescalings = 0;
  while (std::fabs(beta) < kSafeMinimum) {
    ++rescalings;
    for (int k = 0; k < count; ++k) {
      tail[k] *= kSafeMinimumReciprocal;
    }
    beta *= kSafeMinimumReciprocal;
    alpha *= kSafeMinimumReciprocal;
  }
  if (rescalings > 0) {
    beta = signedNorm(scaledNorm(tail, count));
  }
  const double tau = (beta - alpha) / beta;
  const double inverse = 1.0 / (alpha - beta);
  for (int k = 0; k < count; ++k) {
    tail[k] *= inverse;
  }
  for (; rescalings > 0; --rescalings) {
    beta *= kSafeMinimum;
  }
  return {tau, beta};
}

// Adds eight elements to a scaled norm. As long as none exceeds the scale, their quotients can be
// formed side by side; the sum still takes them one by one.
ZOLT_INLINE void addEight(ScaledSum& state, const double* elements) {
  const Lanes8 a = magnitude(lanesAt<Lanes8>(elements));
  if (anyLane(a > state.scale)) {
    for (int k = 0; k < 8; ++k) {
      addToScaledSum(state, elements[k]);
    }
    return;
  }
  const Lanes8 t = a / state.scale;
  const Lanes8 squares = t * t;
  double sum = state.sum;
  for (int k = 0; k < 8; ++k) {
    sum = sum + squares[k];
  }
  state.sum = sum;
}

ZOLT_INLINE double normOfColumn(const double* v, int count) {
  if (count <= 1) {
    return scaledNorm(v, count);
  }
  ScaledSum state = emptyScaledSum();
  int k = 0;
  for (; k + 8 <= count; k += 8) {
    addEight(state, v + k);
  }
  for (; k < count; ++k) {
    addToScaledSum(state, v[k]);
  }
  return state.scale * std::sqrt(state.sum);
}

// Adds w times v to the rows below a reflector's top, and meanwhile takes `next`, the column that
// the next step eliminates, out of its rows into v. Row k of the block meets v[k]; the next
// column's diagonal is in row 0, so that its tail starts with row 1. Returns the norm of that tail.
template <class Lanes, int Blocks>
ZOLT_INLINE double updateRows(double* rows, int count, const Lanes (&w)[Blocks], double* v,
                              int next) {
  constexpr int kStride = Blocks * laneCount<Lanes>;
  const auto update = [&](int k) {
    for (int b = 0; b < Blocks; ++b) {
      lanesTo<Lanes>(rows + k * kStride + b * laneCount<Lanes>) += w[b] * v[k];
    }
  };
  update(0);
  ScaledSum state = emptyScaledSum();
  int k = 1;
  int normed = 0;
  for (; k + 8 <= count; k += 8) {
    for (int i = k; i < k + 8; ++i) {
      update(i);
      v[i - 1] = rows[i * kStride + next];
    }
    // The norm follows eight rows behind, so that it need not wait for what was stored just now.
    if (k > 8) {
      addEight(state, v + normed);
      normed += 8;
    }
  }
  for (; k < count; ++k) {
    update(k);
    v[k - 1] = rows[k * kStride + next];
  }
  for (; normed + 8 <= count - 1; normed += 8) {
    addEight(state, v + normed);
  }
  for (; normed < count - 1; ++normed) {
    addToScaledSum(state, v[normed]);
  }
  return count <= 2 ? scaledNorm(v, count - 1) : state.scale * std::sqrt(state.sum);
}

// w = -tau (top row + sum of the rows below, each times its element of v), column by column; 0 in
// a column whose sum is 0, which the reflector leaves as it is.
template <class Lanes, int Blocks>
ZOLT_INLINE void projectRows(const double* rows, int count, double tau, const double* v,
                             Lanes (&w)[Blocks]) {
  for (int b = 0; b < Blocks; ++b) {
    w[b] = lanesAt<Lanes>(rows + b * laneCount<Lanes>);
  }
  for (int k = 0; k < count; ++k) {
    rows += Blocks * laneCount<Lanes>;
    for (int b = 0; b < Blocks; ++b) {
      w[b] += lanesAt<Lanes>(rows + b * laneCount<Lanes>) * v[k];
    }
  }
  for (int b = 0; b < Blocks; ++b) {
    w[b] = w[b] == 0.0 ? Lanes{} : -tau * w[b];
  }
}

// The norms of the columns that are still to be eliminated, below the rows already done.
struct PartialNorms {
  double* current;
  double* reference;
};

// Brings the first of the columns from step `i` on with the greatest norm to place i.
ZOLT_INLINE void choosePivot(const PartialNorms& norms, int* jpvt, int i, int n) {
  int pivot = i;
  for (int j = i + 1; j < n; ++j) {
    if (norms.current[jpvt[j]] > norms.current[jpvt[pivot]]) {
      pivot = j;
    }
  }
  std::swap(jpvt[i], jpvt[pivot]);
}

// Takes from each remaining norm the element that has moved into the top row. Returns false, the
// norm being marked by a negative value, when too little is left of one for the difference to be
// trusted.
ZOLT_INLINE bool shrinkNorms(const PartialNorms& norms, const double* top, const int* jpvt, int i,
                             int n) {
  bool trusted = true;
  for (int j = i + 1; j < n; ++j) {
    double& partial = norms.current[jpvt[j]];
    if (partial == 0.0) {
      continue;
    }
    const double moved = std::fabs(top[jpvt[j]]) / partial;
    double t = 1.0 - moved * moved;
    t = t < 0.0 ? 0.0 : t;
    const double u = partial / norms.reference[jpvt[j]];
    if (t * (u * u) > kSqrtEpsilon) {
      partial *= std::sqrt(t);
    } else {
      partial = -1.0;
      trusted = false;
    }
  }
  return trusted;
}

// Takes the marked norms afresh from the rows below the top one.
void renewNorms(const RowMatrix& a, const PartialNorms& norms, const int* jpvt, int i) {
  const int below = a.rows - i - 1;
  for (int j = i + 1; j < a.columns; ++j) {
    double& partial = norms.current[jpvt[j]];
    if (partial == -1.0) {
      partial = norms.reference[jpvt[j]] =
          below > 0 ? scaledNorm(a.row(i + 1) + jpvt[j], below, a.stride) : 0.0;
    }
  }
}

// Copies the tail of a column, below row i, into v and returns its norm.
ZOLT_INLINE double takeTail(const RowMatrix& a, int i, int column, double* v) {
  const int below = a.rows - i - 1;
  for (int k = 0; k < below; ++k) {
    v[k] = a.row(i + 1 + k)[column];
  }
  return normOfColumn(v, below);
}

// The factorisation for rows of `Blocks` wide registers. The next pivot is known as soon as the top
// row is, unless a norm must be renewed, so that one pass over the rows both updates them and
// prepares the next column.
template <class Lanes, int Blocks>
ZOLT_INLINE void factorRows(const RowMatrix& a, int* jpvt, const PartialNorms& norms, double* v) {
  const int m = a.rows;
  const int n = a.columns;
  const int steps = std::min(m, n);
  choosePivot(norms, jpvt, 0, n);
  double tailNorm = takeTail(a, 0, jpvt[0], v);
  for (int i = 0; i < steps; ++i) {
    const int column = jpvt[i];
    const int below = m - i - 1;
    double* top = a.row(i);
    const auto [tau, beta] =
        below > 0 ? makeReflector(top[column], tailNorm, v, below) : Reflector{0.0, top[column]};
    Lanes w[Blocks] = {};
    if (tau != 0.0) {
      projectRows<Lanes, Blocks>(top, below, tau, v, w);
      for (int b = 0; b < Blocks; ++b) {
        lanesTo<Lanes>(top + b * laneCount<Lanes>) += w[b];
      }
    }
    top[column] = beta;
    if (i + 1 == steps) {
      break;  // nobody reads the rows below the triangle
    }
    // A single column left needs no norm to be chosen.
    const bool trusted = i + 2 == n || shrinkNorms(norms, top, jpvt, i, n);
    if (trusted) {
      choosePivot(norms, jpvt, i + 1, n);
    }
    if (tau != 0.0) {
      tailNorm = updateRows<Lanes, Blocks>(a.row(i + 1), below, w, v, jpvt[i + 1]);
    }
    if (!trusted || tau == 0.0) {
      renewNorms(a, norms, jpvt, i);
      if (!trusted) {
        choosePivot(norms, jpvt, i + 1, n);
      }
      tailNorm = takeTail(a, i + 1, jpvt[i + 1], v);
    }
  }
}

ZOLT_WIDE void factorRows4(const RowMatrix& a, int* jpvt, const PartialNorms& norms, double* v) {
  factorRows<Lanes4, 1>(a, jpvt, norms, v);
}
ZOLT_WIDE void factorRows8(const RowMatrix& a, int* jpvt, const PartialNorms& norms, double* v) {
  factorRows<Lanes8, 1>(a, jpvt, norms, v);
}
ZOLT_WIDE void factorRows12(const RowMatrix& a, int* jpvt, const PartialNorms& norms, double* v) {
  factorRows<Lanes4, 3>(a, jpvt, norms, v);
}
ZOLT_WIDE void factorRows16(const RowMatrix& a, int* jpvt, const PartialNorms& norms, double* v) {
  factorRows<Lanes8, 2>(a, jpvt, norms, v);
}

// Rows of any width, column by column. Only matrices beyond every model of the library come here.
void factorWideRows(const RowMatrix& a, int* jpvt, const PartialNorms& norms, double* v) {
  for (int i = 0; i < std::min(a.rows, a.columns); ++i) {
    choosePivot(norms, jpvt, i, a.columns);
    const int column = jpvt[i];
    const int below = a.rows - i - 1;
    const double tailNorm = takeTail(a, i, column, v);
    const auto [tau, beta] = below > 0 ? makeReflector(a.row(i)[column], tailNorm, v, below)
                                       : Reflector{0.0, a.row(i)[column]};
    for (int j = 0; tau != 0.0 && j < a.stride; ++j) {
      double w = a.row(i)[j];
      for (int k = 0; k < below; ++k) {
        w += a.row(i + 1 + k)[j] * v[k];
      }
      if (w == 0.0) {
        continue;
      }
      w = -tau * w;
      a.row(i)[j] += w;
      for (int k = 0; k < below; ++k) {
        a.row(i + 1 + k)[j] += w * v[k];
      }
    }
    a.row(i)[column] = beta;
    if (!shrinkNorms(norms, a.row(i), jpvt, i, a.columns)) {
      renewNorms(a, norms, jpvt, i);
    }
  }
}

}  // namespace

int rowStride(int columns) {
  return columns <= 16 ? (columns + 3) / 4 * 4 : (columns + 15) / 16 * 16;
}

ScaledSum emptyScaledSum() { return {kSmallestNormal, 0.0}; }

void addToScaledSum(ScaledSum& state, double element) {
  const double a = std::fabs(element);
  if (a > state.scale) {
    const double t = state.scale / a;
    state.sum = 1.0 + state.sum * t * t;
    state.scale = a;
  } else {
    const double t = a / state.scale;
    state.sum = state.sum + t * t;
  }
}

double scaledNorm(const double* v, int count, int stride) {
  if (count < 1) {
    return 0.0;
  }
  if (count == 1) {
    return std::fabs(v[0]);
  }
  ScaledSum state = emptyScaledSum();
  for (int k = 0; k < count; ++k) {
    addToScaledSum(state, v[static_cast<std::ptrdiff_t>(k) * stride]);
  }
  return state.scale * std::sqrt(state.sum);
}

void qrPivot(const RowMatrix& a, int* jpvt, const double* norms, double* scratch) {
  if (a.rows < 1 || a.columns < 1) {
    return;
  }
  double* v = scratch;
  const PartialNorms partial{v + a.rows, v + a.rows + a.stride};
  std::iota(jpvt, jpvt + a.columns, 0);
  for (int j = 0; j < a.columns; ++j) {
    partial.current[j] = partial.reference[j] =
        norms != nullptr ? norms[j] : scaledNorm(a.data + j, a.rows, a.stride);
  }
  switch (a.stride) {
    case 4:
      return factorRows4(a, jpvt, partial, v);
    case 8:
      return factorRows8(a, jpvt, partial, v);
    case 12:
      return factorRows12(a, jpvt, partial, v);
    case 16:
      return factorRows16(a, jpvt, partial, v);
    default:
      return factorWideRows(a, jpvt, partial, v);
  }
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
  std::fill_n(x, r.columns, 0.0);
  for (int i = 0; i < rank; ++i) {
    x[jpvt[i]] = r.row(i)[rhs];
  }
  for (int j = rank - 1; j >= 0; --j) {
    const double solved = x[jpvt[j]] /= r.row(j)[jpvt[j]];
    for (int i = 0; i < j; ++i) {
      x[jpvt[i]] -= solved * r.row(i)[jpvt[j]];
    }
  }
}

}  // namespace zolt
