#include "smoothing/smoothing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "fit/linear_algebra.h"
#include "fit/reflector.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// Output k of a filter with `m` coefficients b on values v. The filter starts from rest: at first
// it uses only the values seen so far.
template <class Coefficient, class Value>
double firFilter(Coefficient b, std::size_t m, Value v, std::size_t k) {
  double sum = 0.0;
  for (std::size_t j = 0; j < std::min(m, k + 1); ++j) {
    sum += b(j) * v(k - j);
  }
  return sum;
}

// Gives the mean of the window around each of n values to `emit`, with its place. `width` is odd.
template <class Value, class Emit>
void movingMeans(std::size_t n, std::size_t width, Value value, Emit emit) {
  if (width == 1) {
    for (std::size_t i = 0; i < n; ++i) {
      emit(i, value(i));
    }
    return;
  }
  double left = 0.0;
  double right = 0.0;
  for (std::size_t i = 0; i + 2 < width; ++i) {
    left += value(i);
    right += value(n - 1 - i);
    if (i % 2 == 0) {
      const auto count = static_cast<double>(i + 1);
      emit(i / 2, left / count);
      emit(n - 1 - i / 2, right / count);
    }
  }
  const double share = 1.0 / static_cast<double>(width);
  for (std::size_t k = width - 1; k < n; ++k) {
    emit(k - width / 2, firFilter([share](std::size_t) { return share; }, width, value, k));
  }
}

constexpr std::size_t kFrame = 5;
constexpr std::size_t kTerms = 3;  // of a parabola

// The smaller frames of short rows are odd, too.
std::size_t frameOf(std::size_t n) {
  const std::size_t frame = std::min(n, kFrame);
  return frame % 2 == 0 ? frame - 1 : frame;
}

using FrameColumn = std::array<double, kFrame>;

// Orthonormal columns that span 1, t and t squared on a frame of `f` points centred on 0, by
// Householder reflections without pivoting.
std::array<FrameColumn, kTerms> orthonormalParabola(std::size_t f) {
  std::array<FrameColumn, kTerms> q{};
  for (std::size_t i = 0; i < f; ++i) {
    const double t = static_cast<double>(i) - static_cast<double>(f / 2);
    q[0][i] = 1.0;
    q[1][i] = t;
    q[2][i] = t * t;
  }
  std::array<double, kTerms> tau{};
  for (std::size_t j = 0; j < kTerms; ++j) {
    double* column = q[j].data() + j;
    const int below = static_cast<int>(f - j - 1);
    const Reflector made = makeReflector(*column, scaledNorm(column + 1, below), column + 1, below);
    tau[j] = made.tau;
    for (int i = 1; i <= below; ++i) {
      column[i] *= made.scale;
    }
    for (std::size_t k = j + 1; k < kTerms; ++k) {
      reflectColumn(tau[j], column + 1, below, q[k].data() + j, 1);
    }
  }
  for (std::size_t j = kTerms; j-- > 0;) {
    FrameColumn& v = q[j];
    const int below = static_cast<int>(f - j - 1);
    for (std::size_t k = j + 1; k < kTerms; ++k) {
      reflectColumn(tau[j], v.data() + j + 1, below, q[k].data() + j, 1);
    }
    for (std::size_t i = j + 1; i < f; ++i) {
      v[i] *= -tau[j];
    }
    v[j] = 1.0 - tau[j];
    std::fill_n(v.begin(), j, 0.0);
  }
  return q;
}

// Row i holds the weights that give the fitted parabola's value at point i of a frame.
std::array<FrameColumn, kFrame> parabolaWeights(std::size_t f) {
  const auto q = orthonormalParabola(f);
  std::array<FrameColumn, kFrame> weights{};
  for (std::size_t i = 0; i < f; ++i) {
    for (std::size_t j = 0; j < f; ++j) {
      for (std::size_t k = 0; k < kTerms; ++k) {
        weights[i][j] += q[k][i] * q[k][j];
      }
    }
  }
  return weights;
}

void filterFrames(Row y, std::size_t f, std::span<double> out) {
  const std::size_t n = y.size();
  const std::size_t half = f / 2;
  const auto weights = parabolaWeights(f);
  const auto atEnd = [&weights, f](std::size_t row, Row frame) {
    double sum = 0.0;
    for (std::size_t j = 0; j < f; ++j) {
      sum += weights[row][j] * frame[j];
    }
    return sum;
  };
  for (std::size_t i = 0; i < half; ++i) {
    out[i] = atEnd(i, y.first(f));
    out[n - half + i] = atEnd(half + 1 + i, y.last(f));
  }
  const auto centre = [&weights, half](std::size_t j) { return weights[half][j]; };
  const auto value = [y](std::size_t i) { return y[i]; };
  for (std::size_t k = f - 1; k < n; ++k) {
    out[k - half] = firFilter(centre, f, value, k);
  }
}

// The value at place i of the polynomial through the points of its frame that are not missing.
double localPolynomial(Row y, std::size_t f, std::size_t i) {
  const std::size_t half = f / 2;
  const std::size_t first = std::min(i < half ? 0 : i - half, y.size() - f);
  const std::size_t last = std::min(std::max(i + half, first + f - 1), y.size() - 1);
  std::array<double, kFrame + 1> t{};
  std::array<double, kFrame + 1> kept{};
  int m = 0;
  for (std::size_t k = first; k <= last; ++k) {
    if (!isNaNValue(y[k])) {
      t[static_cast<std::size_t>(m)] = static_cast<double>(k) - static_cast<double>(i);
      kept[static_cast<std::size_t>(m++)] = y[k];
    }
  }
  if (m == 0) {
    return storedNaN;
  }
  const int terms = std::min(m, static_cast<int>(kTerms));
  // A row of zeros keeps a square system in the least-squares branch.
  const int rows = m == terms ? m + 1 : m;
  Matrix basis(rows, terms);
  Matrix values(rows, 1);
  for (int r = 0; r < m; ++r) {
    double power = 1.0;
    for (int c = 0; c < terms; ++c) {
      basis.at(r, c) = power;
      power *= t[static_cast<std::size_t>(r)];
    }
    values.at(r, 0) = kept[static_cast<std::size_t>(r)];
  }
  return solveLeastSquares(basis, values).at(0, 0);
}

}  // namespace

double moduloTwo(double v) {
  const double remainder = std::fmod(v, 2.0);
  if (isNaNValue(remainder)) {
    return 0.0;
  }
  return remainder < 0.0 ? remainder + 2.0 : remainder;
}

bool isUniformGrid(Row y) { return std::none_of(y.begin(), y.end(), isNaNValue); }

void smoothMoving(Row y, double span, std::span<double> out) {
  if (y.empty()) {
    return;
  }
  const auto n = static_cast<double>(y.size());
  const double whole = std::floor(span);
  const double points = whole <= n ? whole : n;
  const auto width = static_cast<std::size_t>(std::max(points - 1.0 + moduloTwo(points), 1.0));
  const auto write = [out](std::size_t i, double mean) { out[i] = mean; };
  if (isUniformGrid(y)) {
    movingMeans(
        y.size(), width, [y](std::size_t i) { return y[i]; }, write);
    return;
  }
  // The mean of the valid values of a window is their share of the window over the share of valid
  // points; a window without any gives 0/0.
  movingMeans(
      y.size(), width, [y](std::size_t i) { return isNaNValue(y[i]) ? 0.0 : y[i]; }, write);
  movingMeans(
      y.size(), width, [y](std::size_t i) { return isNaNValue(y[i]) ? 0.0 : 1.0; },
      [out](std::size_t i, double valid) { out[i] /= valid; });
}

void smoothSGolay(Row y, std::span<double> out) {
  if (y.empty()) {
    return;
  }
  const std::size_t f = frameOf(y.size());
  if (!isUniformGrid(y)) {
    for (std::size_t i = 0; i < y.size(); ++i) {
      out[i] = localPolynomial(y, f, i);
    }
  } else if (f < kTerms) {
    std::copy(y.begin(), y.end(), out.begin());
  } else {
    filterFrames(y, f, out);
  }
}

}  // namespace zolt
