#include "fit/levenberg_marquardt.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "fit/damped_step.h"
#include "fit/linear_algebra.h"
#include "fit/machine_constants.h"
#include "fit/scaled_norm.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// Damping starts low, since most starts are good; it falls by ten after a step that lowered the sum
// of squares and rises by ten after one that raised it, between rounding and a value at which a
// step no longer moves anything.
constexpr double kFirstDamping = 0.01;
constexpr double kDampingFall = 0.1;
constexpr double kDampingRise = 10.0;
constexpr double kDampingFloor = kEpsilon;
constexpr double kDampingCeiling = 1e16;

constexpr int kMostIterations = 200;

// Relative change of the parameters, and of the sum of squares, at which a fit has converged.
constexpr double kStepTolerance = 1e-8;
constexpr double kSumTolerance = 1e-8;

// Relative step of the forward difference: the cube root of the machine epsilon. That is the usual
// choice for central differences, kept here with forward ones, whose own optimum is near 1.5e-8.
// The larger step biases the derivatives by some 1e-6 of their size, by the curvature of the model,
// and makes them insensitive to rounding (design.md: difference step).
constexpr double kDifferenceStep = 6.0555e-06;

using FreeValues = std::array<double, kMostFree>;

FreeValues gather(std::span<const int> free, const double* p) {
  FreeValues beta{};
  for (std::size_t j = 0; j < free.size(); ++j) {
    beta[j] = p[free[j]];
  }
  return beta;
}

// The 2-norm of the square array that the free parameters stand in: they fill its first column, the
// others are filled up with ones (design.md: array norm with ones).
double normOf(std::span<const int> free, const FreeValues& beta) {
  return matrixNorm2(std::span(beta).first(free.size()));
}

// Residuals of the last evaluation, and the sum of their squares.
double residualsAndSum(Row y, const double* values, double* residuals) {
  double sse = 0.0;
  for (std::size_t i = 0; i < y.size(); ++i) {
    residuals[i] = y[i] - values[i];
    sse += residuals[i] * residuals[i];
  }
  return sse;
}

bool anyNaN(const double* values, std::size_t n) {
  return std::any_of(values, values + n, isNaNValue);
}

// 1e-8 (sqrt(eps) + |beta|) > |step|
bool stepIsSmall(std::span<const int> free, const double* p, double stepNorm) {
  // No norm exceeds the sum of all magnitudes, filler included. Most steps are far larger than
  // that allows, so that the norm itself is seldom needed.
  double sum = static_cast<double>(free.size() * free.size());
  for (int place : free) {
    sum += absValue(p[place]);
  }
  if (2.0 * kStepTolerance * (kSqrtEpsilon + sum) < stepNorm) {
    return false;
  }
  return kStepTolerance * (kSqrtEpsilon + normOf(free, gather(free, p))) > stepNorm;
}

// |sse - sseold| <= 1e-8 sse
bool sumHasSettled(double sse, double sseold) {
  return absValue(sse - sseold) <= kSumTolerance * sse;
}

}  // namespace

template <class Model>
void jacobianFD(Model& model, std::span<const int> free, double* p, const double* values,
                double* columns, std::ptrdiff_t pitch, double* scratch) {
  const FreeValues beta = gather(free, p);

  // Every parameter but the moved one has 0 added to it, which turns -0.0 into 0.0; a division by
  // a midpoint can tell the two apart, so the stored terms are then made anew.
  bool negativeZero = false;
  for (std::size_t j = 0; j < free.size(); ++j) {
    negativeZero = negativeZero || (beta[j] == 0.0 && std::signbit(beta[j]));
    p[free[j]] = beta[j] + 0.0;
  }
  if (negativeZero) {
    evaluate(model, p, scratch);
  }

  for (std::size_t j = 0; j < free.size(); ++j) {
    double increment = kDifferenceStep * beta[j];
    if (beta[j] == 0.0) {
      const double size = std::sqrt(normOf(free, beta));
      increment = kDifferenceStep * (size == 0.0 ? size + 1.0 : size);
    }
    differenceQuotient(model, p, free[j], beta[j] + increment, values, increment,
                       columns + static_cast<std::ptrdiff_t>(j) * pitch);
  }
  for (std::size_t j = 0; j < free.size(); ++j) {
    p[free[j]] = beta[j];
  }
}

template <class Model>
Misfit fitLM(Model& model, Row y, std::span<const int> free, double* p, FitWorkspace& workspace) {
  const auto n = static_cast<int>(y.size());
  double* values = workspace.take(n);
  DampedSystem system(n, static_cast<int>(free.size()), workspace);
  double* const residuals = system.residuals;

  evaluate(model, p, values);
  double sse = residualsAndSum(y, values, residuals);
  if (anyNaN(values, y.size()) || anyNaN(y.data(), y.size())) {
    return {values[0], sse};
  }

  double lambda = kFirstDamping;
  bool done = false;
  bool stalled = false;
  for (int iteration = 0; iteration < kMostIterations && !done; ++iteration) {
    const FreeValues betaold = gather(free, p);
    const double sseold = sse;
    FreeValues step{};
    jacobianFD(model, free, p, values, system.columns, system.pitch, system.scratch);
    assemble(system);

    // A residual that is no number leaves the step at zero.
    const bool solvable = !isNaNValue(sse);
    const auto tryStep = [&] {
      if (solvable) {
        solveDamped(system, lambda, step.data());
      }
      for (std::size_t j = 0; j < free.size(); ++j) {
        p[free[j]] = betaold[j] + step[j];
      }
      evaluate(model, p, values);
      sse = residualsAndSum(y, values, residuals);
    };

    tryStep();
    if (sseold > sse) {
      lambda = std::max(kDampingFall * lambda, kDampingFloor);
    } else {
      while (sse > sseold) {
        lambda *= kDampingRise;
        stalled = lambda > kDampingCeiling;
        if (stalled) {
          break;
        }
        tryStep();
      }
    }

    const double stepNorm = scaledNorm(step.data(), static_cast<int>(free.size()));
    done = stepIsSmall(free, p, stepNorm) || sumHasSettled(sse, sseold) || stalled;
  }
  return {values[0], sse};
}

#define ZOLT_INSTANTIATE(Model)                                                           \
  template Misfit fitLM(Model&, Row, std::span<const int>, double*, FitWorkspace&);       \
  template void jacobianFD(Model&, std::span<const int>, double*, const double*, double*, \
                           std::ptrdiff_t, double*);
ZOLT_INSTANTIATE(model2State)
ZOLT_INSTANTIATE(model3State)
ZOLT_INSTANTIATE(model4State)
ZOLT_INSTANTIATE(modelGauss1)
ZOLT_INSTANTIATE(modelGauss2)
ZOLT_INSTANTIATE(modelGauss3)
#undef ZOLT_INSTANTIATE

}  // namespace zolt
