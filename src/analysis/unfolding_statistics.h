// The measures by which every candidate fit is judged, and the packager that turns a candidate into
// a ResultVector. One template over the number of transitions serves the three models.
#pragma once

#include <algorithm>

#include "elementary/exponential.h"
#include "fit/masked_fit.h"
#include "frame/curve.h"
#include "frame/result_vector.h"
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
// first fitted value is exactly -1. A fitted value that is NaN adds nothing to sse.
double rSquared(Row y, Row fitted);

// One-sided 0.95 quantile of Student's t for `degrees` (1 to 384) degrees of freedom.
double tQuantileTable(std::size_t degrees);

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

double rSquared(const Misfit& misfit, const Yardstick& yardstick);

template <int Transitions>
double rSquaredOfParameters(const Curve& curve, const Parameters<Transitions>& p) {
  return rSquared(misfitOf<Transitions>(curve, p), yardstickOf(curve.y));
}

// A parameter vector with its misfit. Whoever has both never evaluates the curve again.
template <int Transitions>
struct Candidate {
  Parameters<Transitions> p;
  Misfit misfit;
};

template <int Transitions>
Candidate<Transitions> candidateOf(const Curve& curve, const Parameters<Transitions>& p) {
  return {p, misfitOf<Transitions>(curve, p)};
}

// What a masked fit leaves, as a candidate. The fit's own sum of squares serves unless a NaN is in
// it, which the measure of candidates passes over.
template <int Transitions>
Candidate<Transitions> asCandidate(const Curve& curve,
                                   const Fitted<ParameterOrder<Transitions>::count>& fitted) {
  return isNaNValue(fitted.misfit.sse) ? candidateOf<Transitions>(curve, fitted.p)
                                       : Candidate<Transitions>{fitted.p, fitted.misfit};
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
    const bool firstPair = p[Order::Cm(0)] > p[Order::Cm(1)];
    if (firstPair) {
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
    return firstPair;
  }
  return false;
}

// Fraction denatured of a parameter vector at x.
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
// ends, and the slopes play no part.
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

// Student t quantile times the residual standard error, or -1. The quantile is entered at the
// number of points and the error formed with two fewer; the two counts differ on purpose.
double confidenceWidth(double Cm1, const Curve& curve, const Misfit& misfit);

// Fills all 24 elements from a curve, a candidate and a fit code. A candidate whose first dG is
// negative or NaN gives the failure shape of its model with this code.
template <int Transitions>
void packageCandidate(const Curve& curve, const Candidate<Transitions>& candidate,
                      const Yardstick& yardstick, int code, ResultVector result) {
  using Order = ParameterOrder<Transitions>;
  const auto& [p, misfit] = candidate;
  if (!(p[Order::dG(0)] >= 0.0)) {
    writeFailure(Transitions, code, result);
    return;
  }
  const double width = confidenceWidth(p[Order::Cm(0)], curve, misfit);
  writeParameters<Transitions>(p, result);
  result[ZOLTA_FIT_CODE] = code;
  result[ZOLTA_R_SQUARED] = rSquared(misfit, yardstick);
  for (int t = 0; t < Transitions; ++t) {
    const double dG = p[Order::dG(t)];
    result[static_cast<std::size_t>(ZOLTA_DG1_WIDTH + t)] = dG * width;
    result[static_cast<std::size_t>(ZOLTA_K1_PPM + t)] = exponential(-(dG / p[Order::RT])) * 1e6;
  }
}

// The same from parameters alone.
template <int Transitions>
void package(const Curve& curve, const Parameters<Transitions>& p, int code, ResultVector result) {
  packageCandidate<Transitions>(curve, candidateOf<Transitions>(curve, p), yardstickOf(curve.y),
                                code, result);
}

inline constexpr auto& twoStateFraction = unfoldingFraction<1>;
inline constexpr auto& twoStatePlausible = plausible<1>;
inline constexpr auto& twoStateBaselineCheck = baselineCheck<1>;
inline constexpr auto& packageTwoState = package<1>;

inline constexpr auto& threeStateFraction = unfoldingFraction<2>;
inline constexpr auto& threeStatePlausible = plausible<2>;
inline constexpr auto& threeStatePlausibleStrict = plausibleStrict<2>;
inline constexpr auto& threeStateOrder = orderTransitions<2>;
inline constexpr auto& threeStateBaselineCheck = baselineCheck<2>;
inline constexpr auto& threeStateRSquared = rSquaredOfParameters<2>;
inline constexpr auto& threeStateConfidenceWidth = confidenceWidth;
inline constexpr auto& packageThreeState = package<2>;

inline constexpr auto& fourStateFraction = unfoldingFraction<3>;
inline constexpr auto& fourStatePlausible = plausible<3>;
inline constexpr auto& fourStatePlausibleStrict = plausibleStrict<3>;
inline constexpr auto& fourStateOrder = orderTransitions<3>;
inline constexpr auto& fourStateBaselineCheck = baselineCheck<3>;
inline constexpr auto& packageFourState = package<3>;

}  // namespace zolt
