#include "fit/fit_models.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "elementary/exponential.h"
#include "fit/wide.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// The loops below run over points. All but the exponentials themselves are cheap arithmetic that
// wide registers take several points at a time.

void expInPlace(double* values, int n) { exponentials(values, n); }

ZOLT_WIDE void lines(const double* x, int n, double intercept, double slope,
                     double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = intercept + slope * x[i];
  }
}

ZOLT_WIDE void distancesAndExponents(const double* x, int n, double dG, double Cm, double RT,
                                     double* __restrict distance, double* __restrict exponent) {
  for (int i = 0; i < n; ++i) {
    distance[i] = distanceFromMidpoint(x[i], Cm);
    exponent[i] = unfoldingExponent(dG, distance[i], RT);
  }
}

ZOLT_WIDE void exponentsAtDistances(const double* distance, int n, double dG, double RT,
                                    double* __restrict exponent) {
  for (int i = 0; i < n; ++i) {
    exponent[i] = unfoldingExponent(dG, distance[i], RT);
  }
}

ZOLT_WIDE void exponentsAtMidpoint(const double* x, int n, double dG, double Cm, double RT,
                                   double* __restrict exponent) {
  for (int i = 0; i < n; ++i) {
    exponent[i] = unfoldingExponent(dG, distanceFromMidpoint(x[i], Cm), RT);
  }
}

ZOLT_WIDE void bellExponents(const double* x, int n, double centre, double twiceVariance,
                             double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = -((x[i] - centre) * (x[i] - centre) / twiceVariance);
  }
}

template <std::size_t Terms>
using TermArrays = std::array<double*, Terms>;
template <std::size_t Terms>
using TermWeights = std::array<double, Terms>;

template <std::size_t Terms>
ZOLT_INLINE double weightedSum(const TermArrays<Terms>& terms, const TermWeights<Terms>& weights,
                               int i) {
  double sum = weights[0] * terms[0][i];
  for (std::size_t t = 1; t < Terms; ++t) {
    sum = sum + weights[t] * terms[t][i];
  }
  return sum;
}

template <std::size_t Terms>
ZOLT_WIDE void weightedSums(TermArrays<Terms> terms, TermWeights<Terms> weights, int n,
                            double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = weightedSum(terms, weights, i);
  }
}

// The signals of all transitions and their sum.
template <std::size_t Terms>
ZOLT_WIDE void signalSums(const double* native, const double* denatured, TermArrays<Terms> K,
                          TermWeights<Terms> weights, int n, TermArrays<Terms> signal,
                          double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (std::size_t t = 0; t < Terms; ++t) {
      const double value = transitionSignal(native[i], denatured[i], K[t][i]);
      signal[t][i] = value;
      sum = t == 0 ? weights[t] * value : sum + weights[t] * value;
    }
    out[i] = sum;
  }
}

// The difference quotient when the terms stay and a weight moves.
template <std::size_t Terms>
ZOLT_WIDE void weightQuotients(TermArrays<Terms> terms, TermWeights<Terms> weights, int n,
                               const double* base, double increment, double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = (weightedSum(terms, weights, i) - base[i]) / increment;
  }
}

// The same when one transition moves, its K with it.
template <std::size_t Terms, std::size_t Moved>
ZOLT_WIDE void transitionQuotients(const double* native, const double* denatured,
                                   const double* movedK, TermArrays<Terms> signal,
                                   TermWeights<Terms> weights, int n, const double* base,
                                   double increment, double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (std::size_t t = 0; t < Terms; ++t) {
      const double value =
          t == Moved ? transitionSignal(native[i], denatured[i], movedK[i]) : signal[t][i];
      sum = t == 0 ? weights[t] * value : sum + weights[t] * value;
    }
    out[i] = (sum - base[i]) / increment;
  }
}

// The same when a baseline moves, and with it the signals of all transitions.
template <std::size_t Terms, bool Native>
ZOLT_WIDE void baselineQuotients(const double* x, double intercept, double slope,
                                 const double* other, TermArrays<Terms> K,
                                 TermWeights<Terms> weights, int n, const double* base,
                                 double increment, double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    const double line = intercept + slope * x[i];
    double sum = 0.0;
    for (std::size_t t = 0; t < Terms; ++t) {
      const double value = Native ? transitionSignal(line, other[i], K[t][i])
                                  : transitionSignal(other[i], line, K[t][i]);
      sum = t == 0 ? weights[t] * value : sum + weights[t] * value;
    }
    out[i] = (sum - base[i]) / increment;
  }
}

// Calls `work` with `index`, one of 0 to Count - 1, as its template argument.
template <int Count, class Work>
void withIndex(int index, const Work& work) {
  assert(0 <= index && index < Count);
  const auto tryEach = [&]<std::size_t... I>(std::index_sequence<I...>) {
    ((index == static_cast<int>(I) ? work.template operator()<I>() : void()), ...);
  };
  tryEach(std::make_index_sequence<Count>());
}

template <int Peaks>
TermWeights<Peaks> heightsOf(const double* p) {
  TermWeights<Peaks> heights;
  for (std::size_t k = 0; k < Peaks; ++k) {
    heights[k] = p[3 * k];
  }
  return heights;
}

void bells(Row x, double centre, double width, double* out) {
  const int n = static_cast<int>(x.size());
  bellExponents(x.data(), n, centre, 2.0 * scalarPower(width, 2.0), out);
  expInPlace(out, n);
}

}  // namespace

template <int Transitions>
UnfoldingModel<Transitions>::UnfoldingModel(Row points, FitWorkspace& workspace) : x(points) {
  const int n = static_cast<int>(x.size());
  native = workspace.take(n);
  denatured = workspace.take(n);
  movedK = workspace.take(n);
  for (auto* arrays : {&distance, &K, &signal}) {
    for (double*& array : *arrays) {
      array = workspace.take(n);
    }
  }
}

template <int Peaks>
GaussianModel<Peaks>::GaussianModel(Row points, FitWorkspace& workspace) : x(points) {
  for (double*& array : bell) {
    array = workspace.take(static_cast<int>(x.size()));
  }
  movedBell = workspace.take(static_cast<int>(x.size()));
}

template <int Transitions>
void evaluate(UnfoldingModel<Transitions>& model, const double* p, double* values) {
  using Order = ParameterOrder<Transitions>;
  const double* x = model.x.data();
  const int n = static_cast<int>(model.x.size());
  lines(x, n, p[Order::aN], p[Order::bN], model.native);
  lines(x, n, p[Order::aU], p[Order::bU], model.denatured);
  for (int t = 0; t < Transitions; ++t) {
    const auto i = static_cast<std::size_t>(t);
    distancesAndExponents(x, n, p[Order::dG(t)], p[Order::Cm(t)], p[Order::RT], model.distance[i],
                          model.K[i]);
    expInPlace(model.K[i], n);
  }
  signalSums(model.native, model.denatured, model.K, weightsOf<Transitions>(p), n, model.signal,
             values);
}

template <int Transitions>
void differenceQuotient(UnfoldingModel<Transitions>& model, const double* p, int moved,
                        double value, const double* base, double increment, double* column) {
  using Order = ParameterOrder<Transitions>;
  const double* x = model.x.data();
  const int n = static_cast<int>(model.x.size());
  auto weights = weightsOf<Transitions>(p);
  if (moved < Order::weight(0)) {
    const int t = moved / 2;
    if (moved == Order::dG(t)) {
      exponentsAtDistances(model.distance[static_cast<std::size_t>(t)], n, value, p[Order::RT],
                           model.movedK);
    } else {
      exponentsAtMidpoint(x, n, p[Order::dG(t)], value, p[Order::RT], model.movedK);
    }
    expInPlace(model.movedK, n);
    withIndex<Transitions>(t, [&]<std::size_t Moved>() {
      transitionQuotients<Transitions, Moved>(model.native, model.denatured, model.movedK,
                                              model.signal, weights, n, base, increment, column);
    });
  } else if (moved < Order::aN) {
    Parameters<Transitions> q;
    std::copy_n(p, Order::count, q.begin());
    q[static_cast<std::size_t>(moved)] = value;
    weightQuotients(model.signal, weightsOf<Transitions>(q.data()), n, base, increment, column);
  } else if (moved < Order::aU) {
    const bool isSlope = moved == Order::bN;
    baselineQuotients<Transitions, true>(x, isSlope ? p[Order::aN] : value,
                                         isSlope ? value : p[Order::bN], model.denatured, model.K,
                                         weights, n, base, increment, column);
  } else {
    const bool isSlope = moved == Order::bU;
    baselineQuotients<Transitions, false>(x, isSlope ? p[Order::aU] : value,
                                          isSlope ? value : p[Order::bU], model.native, model.K,
                                          weights, n, base, increment, column);
  }
}

template <int Peaks>
void evaluate(GaussianModel<Peaks>& model, const double* p, double* values) {
  for (std::size_t k = 0; k < Peaks; ++k) {
    bells(model.x, p[3 * k + 1], p[3 * k + 2], model.bell[k]);
  }
  weightedSums(model.bell, heightsOf<Peaks>(p), static_cast<int>(model.x.size()), values);
}

template <int Peaks>
void differenceQuotient(GaussianModel<Peaks>& model, const double* p, int moved, double value,
                        const double* base, double increment, double* column) {
  const auto peak = static_cast<std::size_t>(moved / 3);
  auto heights = heightsOf<Peaks>(p);
  auto terms = model.bell;
  if (moved % 3 == 0) {
    heights[peak] = value;
  } else {
    const double centre = moved % 3 == 1 ? value : p[3 * peak + 1];
    const double width = moved % 3 == 2 ? value : p[3 * peak + 2];
    bells(model.x, centre, width, model.movedBell);
    terms[peak] = model.movedBell;
  }
  weightQuotients(terms, heights, static_cast<int>(model.x.size()), base, increment, column);
}

#define ZOLT_INSTANTIATE(Model)                                                               \
  template struct Model;                                                                      \
  template void evaluate(Model&, const double*, double*);                                     \
  template void differenceQuotient(Model&, const double*, int, double, const double*, double, \
                                   double*);
ZOLT_INSTANTIATE(UnfoldingModel<1>)
ZOLT_INSTANTIATE(UnfoldingModel<2>)
ZOLT_INSTANTIATE(UnfoldingModel<3>)
ZOLT_INSTANTIATE(GaussianModel<1>)
ZOLT_INSTANTIATE(GaussianModel<2>)
ZOLT_INSTANTIATE(GaussianModel<3>)
#undef ZOLT_INSTANTIATE

}  // namespace zolt
