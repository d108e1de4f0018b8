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
Reflector makeReflector(double alpha, double tailNorm, double* tail, int count) {
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

// Applies the reflector (tau, v) of step `top` to all columns from row `top` on: row `top` meets
// the leading 1 of u, the rows below it meet v. A column whose dot product is 0 stays as it is.
template <class Lanes, int Blocks>
ZOLT_INLINE void reflectRows(double* rows, int count, double tau, const double* v) {
  constexpr int kStride = Blocks * laneCount<Lanes>;
  Lanes w[Blocks];
  for (int b = 0; b < Blocks; ++b) {
    w[b] = lanesAt<Lanes>(rows + b * laneCount<Lanes>);
  }
  const double* below = rows + kStride;
  for (int k = 0; k < count; ++k, below += kStride) {
    for (int b = 0; b < Blocks; ++b) {
      w[b] += lanesAt<Lanes>(below + b * laneCount<Lanes>) * v[k];
    }
  }
  for (int b = 0; b < Blocks; ++b) {
    w[b] = w[b] == 0.0 ? Lanes{} : -tau * w[b];
    lanesAt<Lanes>(rows + b * laneCount<Lanes>) += w[b];
  }
  double* row = rows + kStride;
  for (int k = 0; k < count; ++k, row += kStride) {
    for (int b = 0; b < Blocks; ++b) {
      lanesAt<Lanes>(row + b * laneCount<Lanes>) += w[b] * v[k];
    }
  }
}

ZOLT_WIDE void reflectRows4(double* rows, int count, double tau, const double* v) {
  reflectRows<Lanes4, 1>(rows, count, tau, v);
}
ZOLT_WIDE void reflectRows8(double* rows, int count, double tau, const double* v) {
  reflectRows<Lanes8, 1>(rows, count, tau, v);
}
ZOLT_WIDE void reflectRows16(double* rows, int count, double tau, const double* v) {
  reflectRows<Lanes8, 2>(rows, count, tau, v);
}

// Any stride, column by column. Only matrices beyond every model of the library come here.
void reflectColumns(const RowMatrix& a, int top, double tau, const double* v) {
  for (int j = 0; j < a.stride; ++j) {
    double w = a.row(top)[j];
    for (int k = top + 1; k < a.rows; ++k) {
      w += a.row(k)[j] * v[k - top - 1];
    }
    if (w == 0.0) {
      continue;
    }
    w = -tau * w;
    a.row(top)[j] += w;
    for (int k = top + 1; k < a.rows; ++k) {
      a.row(k)[j] += w * v[k - top - 1];
    }
  }
}

void applyReflector(const RowMatrix& a, int top, double tau, const double* v) {
  const int below = a.rows - top - 1;
  switch (a.stride) {
    case 4:
      return reflectRows4(a.row(top), below, tau, v);
    case 8:
      return reflectRows8(a.row(top), below, tau, v);
    case 16:
      return reflectRows16(a.row(top), below, tau, v);
    default:
      return reflectColumns(a, top, tau, v);
  }
}

}  // namespace

int rowStride(int columns) {
  if (columns <= 4) {
    return 4;
  }
  return columns <= 8 ? 8 : (columns + 15) / 16 * 16;
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
  const int m = a.rows;
  const int n = a.columns;
  double* v = scratch;
  double* vn1 = v + m;
  double* vn2 = vn1 + a.stride;
  std::iota(jpvt, jpvt + n, 0);
  for (int j = 0; j < n; ++j) {
    vn1[j] = vn2[j] = norms != nullptr ? norms[j] : scaledNorm(a.data + j, m, a.stride);
  }
  for (int i = 0; i < std::min(m, n); ++i) {
    // The pivot is the first of the remaining columns with the greatest norm.
    int pivot = i;
    for (int j = i + 1; j < n; ++j) {
      if (vn1[jpvt[j]] > vn1[jpvt[pivot]]) {
        pivot = j;
      }
    }
    std::swap(jpvt[i], jpvt[pivot]);
    const int column = jpvt[i];
    const int below = m - i - 1;

    if (below > 0) {
      for (int k = 0; k < below; ++k) {
        v[k] = a.row(i + 1 + k)[column];
      }
      const auto [tau, beta] = makeReflector(a.row(i)[column], scaledNorm(v, below), v, below);
      if (tau != 0.0) {
        applyReflector(a, i, tau, v);
      }
      a.row(i)[column] = beta;
    }

    // Each remaining norm loses the element that has moved into R. When too little of it is left
    // for the difference to be trusted, it is taken afresh.
    for (int j = i + 1; j < n; ++j) {
      double& partial = vn1[jpvt[j]];
      double& reference = vn2[jpvt[j]];
      if (partial == 0.0) {
        continue;
      }
      const double moved = std::fabs(a.row(i)[jpvt[j]]) / partial;
      double t = 1.0 - moved * moved;
      t = t < 0.0 ? 0.0 : t;
      const double u = partial / reference;
      if (t * (u * u) > kSqrtEpsilon) {
        partial *= std::sqrt(t);
      } else {
        partial = reference = below > 0 ? scaledNorm(a.row(i + 1) + jpvt[j], below, a.stride) : 0.0;
      }
    }
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
