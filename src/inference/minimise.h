// The search for a least sum of squares between bounds.
#pragma once

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <limits>

#include "inference/linear_types.h"

namespace zolt::inference {

struct Minimum {
  Searched at;
  double sse = 0.0;
  int iterations = 0;
  bool converged = false;
};

struct SearchLimits {
  int mostIterations = 200;
  bool polished = true;  // to the last digits, by Newton steps
  double gain = 1e-9;    // a step that promises less than this share of the sum ends the search
};

// Parameters that may move: all but those at a bound that the sum of squares pushes against.
inline int freeParameters(const Searched& at, const Searched& slope, const Searched& lower,
                          const Searched& upper, std::array<int, kMostSearched>& free) {
  int count = 0;
  for (int i = 0; i < at.size(); ++i) {
    const bool below = at[i] <= lower[i] && slope[i] <= 0.0;
    const bool above = at[i] >= upper[i] && slope[i] >= 0.0;
    if (!below && !above) {
      free[count++] = i;
    }
  }
  return count;
}

// The step that solves (curvature + damping) step = slope over the free parameters, 0 elsewhere.
inline bool solveStep(const Expansion& e, const std::array<int, kMostSearched>& free, int count,
                      double damping, Searched& step) {
  // A parameter that moves nothing here is damped as if it moved a little.
  constexpr double kLeastShare = 1e-12;
  SearchedMatrix A(count, count);
  Searched b(count);
  double most = 0.0;
  for (int i = 0; i < count; ++i) {
    most = std::max(most, e.curvature(free[i], free[i]));
  }
  for (int i = 0; i < count; ++i) {
    b[i] = e.slope[free[i]];
    for (int j = 0; j < count; ++j) {
      A(i, j) = e.curvature(free[i], free[j]);
    }
    A(i, i) += damping * std::max(A(i, i), kLeastShare * most);
  }
  const Eigen::LLT<SearchedMatrix> factor(A);
  if (factor.info() != Eigen::Success) {
    return false;
  }
  b = factor.solve(b).eval();
  step.setZero(e.slope.size());
  for (int i = 0; i < count; ++i) {
    step[free[i]] = b[i];
  }
  return b.allFinite();
}

// Newton steps with the second derivatives taken once, as differences of the slope. Gauss-Newton
// steps alone close in only as fast as the residuals are small; these find the last digits.
template <class Model>
void polish(Model& model, const Searched& lower, const Searched& upper, const Searched& scale,
            Minimum& best, Expansion& e) {
  constexpr double kDifference = 1e-5;  // in scales of the parameters
  constexpr int kMostSteps = 6;
  constexpr double kEnough = 1e-26;  // of the sum of squares
  std::array<int, kMostSearched> free;
  const int count = freeParameters(best.at, e.slope, lower, upper, free);
  if (count == 0) {
    return;
  }
  SearchedMatrix hessian(count, count);
  Expansion moved;
  for (int j = 0; j < count; ++j) {
    Searched at = best.at;
    const double h = kDifference * scale[free[j]];
    at[free[j]] += h;
    if (!model(at, moved)) {
      return;
    }
    for (int i = 0; i < count; ++i) {
      hessian(i, j) = (e.slope[free[i]] - moved.slope[free[i]]) / h;
    }
  }
  hessian = (0.5 * (hessian + hessian.transpose())).eval();
  const Eigen::LLT<SearchedMatrix> factor(hessian);
  if (factor.info() != Eigen::Success) {
    return;
  }
  double lastGain = std::numeric_limits<double>::infinity();
  for (int round = 0; round < kMostSteps; ++round) {
    Searched b(count);
    for (int i = 0; i < count; ++i) {
      b[i] = e.slope[free[i]];
    }
    const Searched step = factor.solve(b);
    const double gain = step.dot(b);
    if (!(gain > kEnough * e.sse) || !(gain < 0.25 * lastGain)) {
      return;
    }
    Searched at = best.at;
    for (int i = 0; i < count; ++i) {
      at[free[i]] += step[i];
      if (at[free[i]] < lower[free[i]] || at[free[i]] > upper[free[i]]) {
        return;
      }
    }
    if (!model(at, moved) || !(moved.sse <= e.sse * (1.0 + 1e-9))) {
      return;
    }
    lastGain = gain;
    best.at = at;
    best.sse = moved.sse;
    e = moved;
  }
}

// Levenberg-Marquardt between bounds from a start within them. `model(at, expansion)` expands the
// sum of squares at a point and answers false where it is not finite. `enough(at)` ends the search
// early, as unpolished.
template <class Model, class Enough>
Minimum minimise(Model&& model, const Searched& start, const Searched& lower, const Searched& upper,
                 const Searched& scale, const SearchLimits& limits, Enough&& enough) {
  Minimum best;
  best.at = start;
  best.sse = std::numeric_limits<double>::infinity();
  Expansion e, moved;
  if (!model(best.at, e)) {
    return best;
  }
  best.sse = e.sse;
  // Below this the sum of squares is rounding: signals have the size 1.
  constexpr double kRounding = 1e-31;
  double damping = 1e-3, growth = 2.0;
  std::array<int, kMostSearched> free;
  for (; best.iterations < limits.mostIterations; ++best.iterations) {
    if (enough(best.at)) {
      return best;
    }
    const int count = freeParameters(best.at, e.slope, lower, upper, free);
    Searched step;
    if (count == 0 || best.sse <= kRounding) {
      best.converged = true;
      break;
    }
    if (!solveStep(e, free, count, damping, step)) {
      damping = std::max(damping, 1e-10) * 10.0;
      continue;
    }
    Searched at = best.at;
    double moveInScales = 0.0;
    for (int i = 0; i < at.size(); ++i) {
      at[i] = std::min(std::max(at[i] + step[i], lower[i]), upper[i]);
      step[i] = at[i] - best.at[i];
      moveInScales = std::max(moveInScales, std::abs(step[i]) / scale[i]);
    }
    const double promised = 2.0 * step.dot(e.slope) - step.dot(e.curvature.lazyProduct(step));
    if (damping <= 1e-3 && std::abs(promised) <= limits.gain * best.sse) {
      best.converged = true;
      break;
    }
    if (moveInScales < 1e-13) {
      best.converged = true;
      break;
    }
    const bool finite = model(at, moved);
    const double gained = finite ? best.sse - moved.sse : -1.0;
    if (finite && gained > 0.0) {
      const double ratio = promised > 0.0 ? std::min(gained / promised, 2.0) : 1.0;
      const double fit = 2.0 * ratio - 1.0;
      damping = std::max(damping * std::max(1.0 / 10.0, 1.0 - fit * fit * fit), 1e-12);
      growth = 2.0;
      best.at = at;
      best.sse = moved.sse;
      e = moved;
    } else {
      damping *= growth;
      growth *= 2.0;
      if (damping > 1e16) {
        best.converged = true;  // No step gains: what is left is rounding.
        break;
      }
    }
  }
  if (best.converged && limits.polished) {
    polish(model, lower, upper, scale, best, e);
  }
  return best;
}

template <class Model>
Minimum minimise(Model&& model, const Searched& start, const Searched& lower, const Searched& upper,
                 const Searched& scale, const SearchLimits& limits = {}) {
  return minimise(model, start, lower, upper, scale, limits, [](const Searched&) { return false; });
}

}  // namespace zolt::inference
