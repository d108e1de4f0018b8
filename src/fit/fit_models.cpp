#include "fit/fit_models.h"

#include <algorithm>
#include <cmath>

#include "fit/wide.h"
#include "frame/scalar_kit.h"

namespace zolt {
namespace {

// The loops below run over points. All but the exponentials themselves are cheap arithmetic that
// wide registers take several points at a time.

void expInPlace(double* values, int n) {
  for (int i = 0; i < n; ++i) {
    values[i] = std::exp(values[i]);
  }
}

ZOLT_WIDE void lines(const double* x, int n, double intercept, double slope,
                     double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = intercept + slope * x[i];
  }
}

ZOLT_WIDE void distances(const double* x, int n, double Cm, double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = distanceFromMidpoint(x[i], Cm);
  }
}

ZOLT_WIDE void exponents(const double* distance, int n, double dG, double RT,
                         double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = unfoldingExponent(dG, distance[i], RT);
  }
}

ZOLT_WIDE void signals(const double* native, const double* denatured, const double* K, int n,
                       double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = transitionSignal(native[i], denatured[i], K[i]);
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

template <std::size_t Terms>
ZOLT_WIDE void sumQuotients(TermArrays<Terms> terms, TermWeights<Terms> weights, int n,
                            const double* base, double increment, double* __restrict out) {
  for (int i = 0; i < n; ++i) {
    out[i] = (weightedSum(terms, weights, i) - base[i]) / increment;
  }
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
  const auto takeEach = [&](auto& arrays) {
    for (double*& array : arrays) {
      array = workspace.take(n);
    }
  };
  native = workspace.take(n);
  denatured = workspace.take(n);
  takeEach(distance);
  takeEach(K);
  takeEach(signal);
  movedK = workspace.take(n);
  movedLine = workspace.take(n);
  takeEach(movedSignal);
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
  const int n = static_cast<int>(model.x.size());
  lines(model.x.data(), n, p[Order::aN], p[Order::bN], model.native);
  lines(model.x.data(), n, p[Order::aU], p[Order::bU], model.denatured);
  for (int t = 0; t < Transitions; ++t) {
    const auto i = static_cast<std::size_t>(t);
    distances(model.x.data(), n, p[Order::Cm(t)], model.distance[i]);
    exponents(model.distance[i], n, p[Order::dG(t)], p[Order::RT], model.K[i]);
    expInPlace(model.K[i], n);
    signals(model.native, model.denatured, model.K[i], n, model.signal[i]);
  }
  weightedSums(model.signal, weightsOf<Transitions>(p), n, values);
}

template <int Transitions>
void differenceQuotient(UnfoldingModel<Transitions>& model, const double* p, int moved,
                        double value, const double* base, double increment, double* column) {
  using Order = ParameterOrder<Transitions>;
  const int n = static_cast<int>(model.x.size());
  Parameters<Transitions> q;
  std::copy_n(p, Order::count, q.begin());
  q[static_cast<std::size_t>(moved)] = value;
  auto terms = model.signal;
  if (moved < Order::weight(0)) {
    const int t = moved / 2;
    const auto i = static_cast<std::size_t>(t);
    const double* distance = model.distance[i];
    if (moved == Order::Cm(t)) {
      distances(model.x.data(), n, value, model.movedLine);
      distance = model.movedLine;
    }
    exponents(distance, n, q[static_cast<std::size_t>(Order::dG(t))], q[Order::RT], model.movedK);
    expInPlace(model.movedK, n);
    signals(model.native, model.denatured, model.movedK, n, model.movedSignal[i]);
    terms[i] = model.movedSignal[i];
  } else if (moved >= Order::aN) {
    const bool native = moved < Order::aU;
    const std::size_t intercept = native ? Order::aN : Order::aU;
    lines(model.x.data(), n, q[intercept], q[intercept + 1], model.movedLine);
    for (std::size_t i = 0; i < Transitions; ++i) {
      signals(native ? model.movedLine : model.native, native ? model.denatured : model.movedLine,
              model.K[i], n, model.movedSignal[i]);
    }
    terms = model.movedSignal;
  }
  sumQuotients(terms, weightsOf<Transitions>(q.data()), n, base, increment, column);
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
  sumQuotients(terms, heights, static_cast<int>(model.x.size()), base, increment, column);
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
