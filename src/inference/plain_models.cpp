// Least squares of the curves that compete with a transition.
#include "inference/plain_models.h"

#include <boost/math/tools/minima.hpp>
#include <cmath>

namespace zolt::inference {
namespace {

// The rates of the exponential, per range of the concentrations: from a parabola to the eye up to
// a decay between two readings.
constexpr double kLeastRate = 0.05, kMostRate = 300.0;
constexpr int kRates = 24;
constexpr int kBits = 30;  // of the rate at the minimum

using Columns = SmallMatrix<kMostReadings, 3>;

// Projects the signal off the columns, one after the other made orthogonal.
PlainFit project(const Readings& r, Columns& columns) {
  PlainFit fit;
  fit.residuals = r.root.array() * r.y.array();
  for (int j = 0; j < columns.cols(); ++j) {
    for (int pass = 0; pass < 2; ++pass) {
      for (int i = 0; i < j; ++i) {
        columns.col(j) -= columns.col(i).dot(columns.col(j)) * columns.col(i);
      }
    }
    const double length = columns.col(j).norm();
    if (length > 1e-12) {
      columns.col(j) /= length;
      fit.residuals -= columns.col(j).dot(fit.residuals) * columns.col(j);
    } else {
      columns.col(j).setZero();
    }
  }
  fit.sse = fit.residuals.squaredNorm();
  return fit;
}

PlainFit fitPowers(const Readings& r, int degree) {
  Columns columns(r.n, degree + 1);
  columns.col(0) = r.root;
  for (int j = 1; j <= degree; ++j) {
    columns.col(j) = columns.col(j - 1).array() * (r.u.array() - 0.5);
  }
  return project(r, columns);
}

PlainFit fitRate(const Readings& r, double rate) {
  Columns columns(r.n, 2);
  columns.col(0) = r.root;
  // A rate below 0 grows toward the last reading; written from there it cannot overflow.
  if (rate > 0.0) {
    columns.col(1) = r.root.array() * (-rate * r.u.array()).exp();
  } else {
    columns.col(1) = r.root.array() * (rate * (1.0 - r.u.array())).exp();
  }
  return project(r, columns);
}

PlainFit fitExponential(const Readings& r) {
  const double step = std::log(kMostRate / kLeastRate) / (kRates - 1);
  double leastSse = 0.0, best = 0.0, sign = 1.0;
  for (const double side : {1.0, -1.0}) {
    for (int i = 0; i < kRates; ++i) {
      const double at = std::log(kLeastRate) + i * step;
      const double sse = fitRate(r, side * std::exp(at)).sse;
      if ((side > 0.0 && i == 0) || sse < leastSse) {
        leastSse = sse;
        best = at;
        sign = side;
      }
    }
  }
  const auto sseAt = [&](double at) { return fitRate(r, sign * std::exp(at)).sse; };
  const auto least = boost::math::tools::brent_find_minima(sseAt, best - step, best + step, kBits);
  return fitRate(r, sign * std::exp(least.first));
}

}  // namespace

int plainParameters(int model) { return model == ZOLTI_MODEL_LINE ? 2 : 3; }

PlainFit fitPlain(const Readings& readings, int model) {
  return model == ZOLTI_MODEL_EXPONENTIAL ? fitExponential(readings)
                                          : fitPowers(readings, model == ZOLTI_MODEL_LINE ? 1 : 2);
}

}  // namespace zolt::inference
