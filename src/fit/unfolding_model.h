// Unfolding by 1, 2 or 3 independent two-state transitions on one shared pair of baselines.
//
// A transition has the equilibrium constant K(x) = exp(-(dG (1 - x/Cm)) / RT), the linear
// extrapolation of Pace, Methods Enzymol. 131 (1986) 266, with dG in cal/mol and x in M, and the
// signal S(x) = ((aN + bN x) + (aU + bU x) K) / (1 + K). A curve of several transitions is their
// sum by weight, the last weight being what the others leave of 1.
#pragma once

#include <array>
#include <cmath>
#include <span>
#include <type_traits>

#include "elementary/exponential.h"
#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// Places in the parameter vector of a model:
//   1 transition:  dG, Cm, aN, bN, aU, bU, RT
//   2 transitions: dG1, Cm1, dG2, Cm2, f, aN, bN, aU, bU, RT
//   3 transitions: dG1, Cm1, dG2, Cm2, dG3, Cm3, f1, f2, aN, bN, aU, bU, RT
template <int Transitions>
struct ParameterOrder {
  static constexpr int dG(int transition) { return 2 * transition; }
  static constexpr int Cm(int transition) { return 2 * transition + 1; }
  static constexpr int weight(int transition) { return 2 * Transitions + transition; }
  static constexpr int aN = 3 * Transitions - 1;
  static constexpr int bN = aN + 1;
  static constexpr int aU = aN + 2;
  static constexpr int bU = aN + 3;
  static constexpr int RT = aN + 4;
  static constexpr int count = aN + 5;
};

template <int Transitions>
using Parameters = std::array<double, ParameterOrder<Transitions>::count>;

// Calls `f` with the number of transitions as a compile-time constant. Anything but 2 and 3 counts
// as 1.
template <class F>
decltype(auto) withTransitions(int transitions, F f) {
  switch (transitions) {
    case 2:
      return f(std::integral_constant<int, 2>{});
    case 3:
      return f(std::integral_constant<int, 3>{});
    default:
      return f(std::integral_constant<int, 1>{});
  }
}

// The weights of the transitions; a single one has the whole signal.
template <int Transitions>
std::array<double, Transitions> weightsOf(const double* p) {
  using Order = ParameterOrder<Transitions>;
  if constexpr (Transitions == 1) {
    return {1.0};
  } else if constexpr (Transitions == 2) {
    return {p[Order::weight(0)], 1.0 - p[Order::weight(0)]};
  } else {
    return {p[Order::weight(0)], p[Order::weight(1)],
            1.0 - p[Order::weight(0)] - p[Order::weight(1)]};
  }
}

// How far a concentration lies below the midpoint, in units of the midpoint.
inline double distanceFromMidpoint(double x, double Cm) { return 1.0 - x / Cm; }

// ln K of a transition at that distance.
inline double unfoldingExponent(double dG, double distance, double RT) {
  return -(dG * distance) / RT;
}

inline double equilibriumConstant(double x, double dG, double Cm, double RT) {
  return exponential(unfoldingExponent(dG, distanceFromMidpoint(x, Cm), RT));
}

inline double transitionSignal(double native, double denatured, double K) {
  return (native + denatured * K) / (1.0 + K);
}

// The model's signal at x.
template <int Transitions>
double unfoldingSignal(const Parameters<Transitions>& p,
                       const std::array<double, Transitions>& weights, double x) {
  using Order = ParameterOrder<Transitions>;
  const double native = p[Order::aN] + p[Order::bN] * x;
  const double denatured = p[Order::aU] + p[Order::bU] * x;
  double signal = 0.0;
  for (int t = 0; t < Transitions; ++t) {
    const double K = equilibriumConstant(x, p[Order::dG(t)], p[Order::Cm(t)], p[Order::RT]);
    const double term =
        weights[static_cast<std::size_t>(t)] * transitionSignal(native, denatured, K);
    signal = t == 0 ? term : signal + term;
  }
  return signal;
}

// The model's signal at every x.
template <int Transitions>
void unfoldingCurve(const Parameters<Transitions>& p, Row x, std::span<double> signal) {
  const auto weights = weightsOf<Transitions>(p.data());
  for (std::size_t i = 0; i < x.size(); ++i) {
    signal[i] = unfoldingSignal<Transitions>(p, weights, x[i]);
  }
}

// The parameters of a ResultVector in the order of the model with that many transitions.
template <int Transitions>
Parameters<Transitions> parametersOf(ConstResultVector result);

// Writes the parameter elements of a ResultVector, all others becoming 0.
template <int Transitions>
void writeParameters(const Parameters<Transitions>& p, ResultVector result);

// Element of the ResultVector that holds each parameter, in the model's order.
template <int Transitions>
constexpr auto parameterElements() {
  using Elements = std::array<int, ParameterOrder<Transitions>::count>;
  if constexpr (Transitions == 1) {
    return Elements{ZOLTA_DG1,
                    ZOLTA_CM1,
                    ZOLTA_NATIVE_INTERCEPT,
                    ZOLTA_NATIVE_SLOPE,
                    ZOLTA_DENATURED_INTERCEPT,
                    ZOLTA_DENATURED_SLOPE,
                    ZOLTA_RT};
  } else if constexpr (Transitions == 2) {
    return Elements{ZOLTA_DG1,
                    ZOLTA_CM1,
                    ZOLTA_DG2,
                    ZOLTA_CM2,
                    ZOLTA_WEIGHT1,
                    ZOLTA_NATIVE_INTERCEPT,
                    ZOLTA_NATIVE_SLOPE,
                    ZOLTA_DENATURED_INTERCEPT,
                    ZOLTA_DENATURED_SLOPE,
                    ZOLTA_RT};
  } else {
    return Elements{ZOLTA_DG1,
                    ZOLTA_CM1,
                    ZOLTA_DG2,
                    ZOLTA_CM2,
                    ZOLTA_DG3,
                    ZOLTA_CM3,
                    ZOLTA_WEIGHT1,
                    ZOLTA_WEIGHT2,
                    ZOLTA_NATIVE_INTERCEPT,
                    ZOLTA_NATIVE_SLOPE,
                    ZOLTA_DENATURED_INTERCEPT,
                    ZOLTA_DENATURED_SLOPE,
                    ZOLTA_RT};
  }
}

template <int Transitions>
Parameters<Transitions> parametersOf(ConstResultVector result) {
  constexpr auto elements = parameterElements<Transitions>();
  Parameters<Transitions> p;
  for (std::size_t i = 0; i < p.size(); ++i) {
    p[i] = result[static_cast<std::size_t>(elements[i])];
  }
  return p;
}

template <int Transitions>
void writeParameters(const Parameters<Transitions>& p, ResultVector result) {
  constexpr auto elements = parameterElements<Transitions>();
  for (double& element : result) {
    element = 0.0;
  }
  for (std::size_t i = 0; i < p.size(); ++i) {
    result[static_cast<std::size_t>(elements[i])] = p[i];
  }
}

}  // namespace zolt
