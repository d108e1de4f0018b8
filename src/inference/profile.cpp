// Profile-likelihood intervals of one curve.
#include "inference/profile.h"

#include "inference/reach.h"

namespace zolt::inference {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// How near to a bound the logarithm of a steepness counts as standing at it.
constexpr double kAtBound = 0.05;

bool atBoundOfM(const Setup& setup, double logS) {
  return logS > setup.bounds.mostLogS - kAtBound || logS < setup.bounds.leastLogS + kAtBound;
}

double steepnessToM(const Setup& setup, double logS) {
  return std::exp(logS) * setup.readings.RT / setup.readings.xSpan;
}

}  // namespace

double estimateOf(const Setup& setup, const Shape& shape, Quantity quantity, int t) {
  const double Cm = setup.readings.xFirst + setup.readings.xSpan * shape.c[t];
  const double m = steepnessToM(setup, shape.logS[t]);
  return quantity == Quantity::Cm ? Cm : quantity == Quantity::m ? m : m * Cm;
}

double varianceOf(const SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS>& V, const Setup& setup,
                  const Shape& shape, Quantity quantity, int t) {
  if (quantity == Quantity::dG) {
    return varianceOfDG(V, estimateOf(setup, shape, Quantity::Cm, t),
                        estimateOf(setup, shape, Quantity::m, t), t);
  }
  const int place = quantity == Quantity::Cm ? placeOfCm(t) : placeOfM(t);
  return V(place, place);
}

bool isHeld(const Held& held, Quantity quantity) {
  const bool both = held.Cm && held.m;
  return both || (quantity == Quantity::Cm && held.Cm) || (quantity == Quantity::m && held.m) ||
         (quantity == Quantity::dG && held.dG);
}

bool hold(Held& held, Quantity quantity, double value) {
  if (isHeld(held, quantity)) {
    return false;
  }
  if (quantity == Quantity::dG && (held.Cm || held.m)) {
    (held.m ? held.CmValue : held.mValue) = value / (held.m ? held.mValue : held.CmValue);
    held.Cm = held.m = true;
  } else if (quantity != Quantity::dG && held.dG) {
    held.dG = false;
    held.Cm = held.m = true;
    held.CmValue = quantity == Quantity::Cm ? value : held.dGValue / value;
    held.mValue = quantity == Quantity::m ? value : held.dGValue / value;
  } else if (quantity == Quantity::dG) {
    held.dG = true;
    held.dGValue = value;
  } else if (quantity == Quantity::Cm) {
    held.Cm = true;
    held.CmValue = value;
  } else {
    held.m = true;
    held.mValue = value;
  }
  return !held.m || held.mValue > 0.0;
}

Interval rangeOf(const Setup& setup, Quantity quantity) {
  const Readings& r = setup.readings;
  const double leastCm = r.xFirst + r.xSpan * setup.bounds.leastC;
  const double mostCm = r.xFirst + r.xSpan * setup.bounds.mostC;
  const double leastM = steepnessToM(setup, setup.bounds.leastLogS);
  const double mostM = steepnessToM(setup, setup.bounds.mostLogS);
  switch (quantity) {
    case Quantity::Cm:
      return {leastCm, mostCm};
    case Quantity::m:
      return {leastM, mostM};
    default:
      return {leastCm * (leastCm < 0.0 ? mostM : leastM), mostCm * (mostCm < 0.0 ? leastM : mostM)};
  }
}

double widening(const Setup& setup, const Shape& shape, const Uncertainty& uncertainty,
                Quantity quantity, int t) {
  const double model = varianceOf(uncertainty.model, setup, shape, quantity, t);
  const double robust = varianceOf(uncertainty.hc2, setup, shape, quantity, t);
  return model > 0.0 && robust > model ? std::sqrt(robust / model) : 1.0;
}

Interval profile(const Setup& setup, const Solution& solution, const Uncertainty& uncertainty,
                 Quantity quantity, int t, double quantile, const Shared* shared) {
  const double estimate = estimateOf(setup, solution.shape, quantity, t);
  if (isHeld(setup.held[t], quantity)) {
    return {estimate, estimate};
  }
  // m is followed by its logarithm, in which the profile is nearly even and which keeps it above 0.
  const bool logarithmic = quantity == Quantity::m;
  const auto inward = [&](double value) { return logarithmic ? std::log(value) : value; };
  const auto outward = [&](double value) { return logarithmic ? std::exp(value) : value; };
  const Interval range = rangeOf(setup, quantity);
  const double variance = varianceOf(uncertainty.model, setup, solution.shape, quantity, t);
  const double at = inward(estimate);
  const double span = inward(range.upper) - inward(range.lower);
  double step = std::sqrt(std::max(variance, 0.0)) * quantile / (logarithmic ? estimate : 1.0);
  step = step > 0.0 && step < span ? step : 0.1 * span;
  const double wider = widening(setup, solution.shape, uncertainty, quantity, t);

  const auto held = setup.held;
  const int k = solution.shape.transitions;
  Separable separable(setup.readings, setup.baselines);
  double ends[2];
  for (int side = 0; side < 2; ++side) {
    Shape near = solution.shape;
    const auto z = [&](double value) {
      auto moved = held;
      if (!hold(moved[t], quantity, outward(value))) {
        return kInfinity;
      }
      const ShapeMap map(setup.readings, k, setup.bounds, moved);
      if (!map.feasible()) {
        return kInfinity;
      }
      SearchLimits limits;
      limits.polished = false;
      const CurveModel model{separable, map, shared};
      const auto from = [&](const Shape& start) {
        return minimise(model, map.searchedFrom(start), map.lower(), map.upper(), map.scale(),
                        limits);
      };
      const auto rise = [&](const Minimum& least) {
        return std::sqrt(std::max(0.0, least.sse - solution.sse) / uncertainty.variance);
      };
      // A step too far can end in another valley, from which no search comes back. So what lies
      // beyond the quantile is looked at from the optimum as well, and only what lies within it is
      // a start of further searches.
      Minimum least = from(near);
      if (!(rise(least) <= quantile)) {
        const Minimum again = from(solution.shape);
        least = again.sse < least.sse ? again : least;
      }
      if (rise(least) <= quantile) {
        near = map.shapeAt(least.at);
      }
      return rise(least);
    };
    const double limit = inward(side == 0 ? range.lower : range.upper);
    double end = reach(z, at, side == 0 ? -step : step, limit, quantile);
    // A dG that only the bounds of m hold back is not held back by the readings.
    if (quantity == Quantity::dG && !held[t].m && atBoundOfM(setup, near.logS[t])) {
      end = std::copysign(kInfinity, end - at);
    }
    if (std::isfinite(end)) {
      end = at + (end - at) * wider;
      const bool beyond = side == 0 ? end < limit : end > limit;
      end = beyond ? std::copysign(kInfinity, end - at) : end;
    }
    ends[side] = std::isfinite(end) ? outward(end) : end;
  }
  return {ends[0], ends[1]};
}

}  // namespace zolt::inference
