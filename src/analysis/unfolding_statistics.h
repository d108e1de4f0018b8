// The measures by which every candidate fit is judged: R-squared, the filter of plausible
// parameters, the order of the transitions, and the agreement with the ends of the curve. One
// template over the number of transitions serves the three models.
#pragma once

#include <algorithm>

#include "fit/levenberg_marquardt.h"
#include "frame/curve.h"
#include "frame/scalar_kit.h"

namespace zolt {

// What a curve's candidates are measured against: the sum of squares of y about its mean, and the
// range of y.
struct Yardstick {
  double sst;
  double range;
};
Yardstick yardstickOf(Row y);

// 1 - sse/sst of fitted values against y, or -1 when that cannot be formed, is negative, or the
// first fitted value is exactly -1 (design.md: failed candidates). A fitted value that is NaN adds
// nothing to sse (design.md: powers).
double rSquared(Row y, Row fitted);
double rSquared(const Misfit& misfit, const Yardstick& yardstick);

// The misfit of any parameters. A point at which the model is NaN adds nothing.
template <int Transitions>
Misfit misfitOf(const Curve& curve, const Parameters<Transitions>& p) {
  const auto weights = weightsOf<Transitions>(p.data());
  Misfit misfit{0.0, 0.0};
  for (std::size_t i = 0; i < curve.x.size(); ++i) {
    const double value = unfoldingSignal<Transitions>(p, weights, curve.x[i]);
    if (i == 0) {
      misfit.firstValue = value;
    }
    misfit.sse += scalarPower(curve.y[i] - value, 2.0);
  }
  return misfit;
}

// Accepted range of the m-value dG/Cm in cal/mol per unit of x.
inline constexpr double kSmallestMValue = 100.0;
inline constexpr double kLargestMValue = 15000.0;

// Accepted range of each explicit weight. The strict range serves the midpoint fits, which have
// nothing but this filter to guard them.
struct WeightRange {
  double least;
  double most;
};
template <int Transitions>
inline constexpr WeightRange kWeights =
    Transitions == 2 ? WeightRange{0.08, 0.92} : WeightRange{0.06, 0.94};
template <int Transitions>
inline constexpr WeightRange kStrictWeights =
    Transitions == 2 ? WeightRange{0.15, 0.85} : WeightRange{0.12, 0.88};

// Whether every midpoint lies from 0 to the last x, every m-value and weight in its range. A NaN
// fails. The last x stands for the largest.
template <int Transitions>
bool plausible(const Parameters<Transitions>& p, Row x,
               WeightRange weights = kWeights<Transitions>) {
  using Order = ParameterOrder<Transitions>;
  for (int t = 0; t < Transitions; ++t) {
    const double dG = p[Order::dG(t)];
    const double Cm = p[Order::Cm(t)];
    if (!(Cm >= 0.0 && x.back() >= Cm && dG / Cm >= kSmallestMValue && dG / Cm <= kLargestMValue)) {
      return false;
    }
  }
  for (int t = 0; t + 1 < Transitions; ++t) {
    const double f = p[Order::weight(t)];
    if (!(f >= weights.least && f <= weights.most)) {
      return false;
    }
  }
  if constexpr (Transitions == 3) {
    const double sum = p[Order::weight(0)] + p[Order::weight(1)];
    return sum > 0.0 && sum < 1.0;
  }
  return true;
}

template <int Transitions>
bool plausibleStrict(const Parameters<Transitions>& p, Row x) {
  return plausible<Transitions>(p, x, kStrictWeights<Transitions>);
}

// Puts the transitions in order of their midpoints; each keeps its weight. Returns whether anything
// moved.
template <int Transitions>
bool orderTransitions(Parameters<Transitions>& p) {
  using Order = ParameterOrder<Transitions>;
  const auto swapTransitions = [&p](int a, int b) {
    std::swap(p[Order::dG(a)], p[Order::dG(b)]);
    std::swap(p[Order::Cm(a)], p[Order::Cm(b)]);
  };
  if constexpr (Transitions == 2) {
    double& f = p[Order::weight(0)];
    if (p[Order::Cm(0)] > p[Order::Cm(1)] && p[Order::dG(0)] != -1.0) {
      swapTransitions(0, 1);
      f = 1.0 - f;
      return true;
    }
  } else if constexpr (Transitions == 3) {
    double& f1 = p[Order::weight(0)];
    double& f2 = p[Order::weight(1)];
    const bool firstTwo = p[Order::Cm(0)] > p[Order::Cm(1)];
    if (firstTwo) {
      swapTransitions(0, 1);
      std::swap(f1, f2);
    }
    if (p[Order::Cm(0)] > p[Order::Cm(2)]) {
      swapTransitions(1, 2);
      swapTransitions(0, 1);
      const double third = 1.0 - f1 - f2;
      f2 = f1;
      f1 = third;
      return true;
    }
    if (p[Order::Cm(1)] > p[Order::Cm(2)]) {
      swapTransitions(1, 2);
      f2 = 1.0 - f1 - f2;
      return true;
    }
    return firstTwo;
  }
  return false;
}

// Fraction denatured of a parameter vector at x. A weight multiplies K before the division here,
// and K/(1 + K) in the drawn curves; the two round differently (design.md: weighted fractions).
template <int Transitions>
double unfoldingFraction(const Parameters<Transitions>& p, double x) {
  using Order = ParameterOrder<Transitions>;
  const auto weights = weightsOf<Transitions>(p.data());
  double fraction = 0.0;
  for (int t = 0; t < Transitions; ++t) {
    const double K = equilibriumConstant(x, p[Order::dG(t)], p[Order::Cm(t)], p[Order::RT]);
    const double term = weights[static_cast<std::size_t>(t)] * K / (1.0 + K);
    fraction = t == 0 ? term : fraction + term;
  }
  return fraction;
}

// Whether the model's own transitions agree with the data at the two ends of the curve.
struct EndAgreement {
  bool native = false;
  bool denatured = false;
};

// An end agrees when at least 3 of its 5 points, read as a fraction of the range of y from the
// native intercept, lie within 0.02 of the fraction denatured. The native intercept serves at both
// ends, and the slopes play no part (design.md: end agreement).
template <int Transitions>
EndAgreement baselineCheck(const Curve& curve, const Parameters<Transitions>& p,
                           const Yardstick& yardstick) {
  using Order = ParameterOrder<Transitions>;
  constexpr double kTolerance = 0.02;
  constexpr std::size_t kEndPoints = 5;
  constexpr int kAgreeing = 3;
  const std::size_t n = curve.x.size();
  if (!(p[Order::dG(0)] >= 0.0) || n < kEndPoints || curve.y.size() != n) {
    return {};
  }
  const double first = unfoldingFraction<Transitions>(p, curve.x[0]);
  // A first fraction that is NaN stops the models of several transitions only.
  if (Transitions == 1 ? first <= -1.0 : !(first > -1.0)) {
    return {};
  }
  const auto agrees = [&](std::size_t begin) {
    int count = 0;
    for (std::size_t i = begin; i < begin + kEndPoints; ++i) {
      const double measured = absValue(curve.y[i] - p[Order::aN]) / yardstick.range;
      const double modelled = unfoldingFraction<Transitions>(p, curve.x[i]);
      count += absValue(measured - modelled) <= kTolerance ? 1 : 0;
    }
    return count >= kAgreeing;
  };
  return {agrees(0), agrees(n - kEndPoints)};
}

}  // namespace zolt
