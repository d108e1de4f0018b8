// Intervals of a global fit. The curves that an interval does not speak of count by their
// curvature, so that each interval costs no more than that of one or two curves.
#include <cmath>

#include "inference/global_fit.h"
#include "inference/reach.h"

namespace zolt::inference {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The gradient of Cm or dG by the parameters of a covariance.
SmallVector<ZOLTI_PARAMETERS> gradientOf(const Setup& setup, const Shape& shape, Quantity quantity,
                                         int t) {
  SmallVector<ZOLTI_PARAMETERS> gradient;
  gradient.setZero(ZOLTI_PARAMETERS);
  const bool energy = quantity == Quantity::dG;
  gradient[placeOfCm(t)] = energy ? estimateOf(setup, shape, Quantity::m, t) : 1.0;
  gradient[placeOfM(t)] = energy ? estimateOf(setup, shape, Quantity::Cm, t) : 0.0;
  return gradient;
}

struct Pair {
  const GlobalFit& global;
  const Member& member;
  const Member& reference;
  const MemberErrors& errors;
  const MemberErrors& referenceErrors;
  Shared rest;  // of the other curves
};

// The variance of a difference, by the models' errors or with those for unequal scatter.
double varianceOfDifference(const Pair& pair, Quantity quantity, int t, bool robust) {
  const auto mine = gradientOf(pair.member.setup, pair.member.together.shape, quantity, t);
  const auto other = gradientOf(pair.reference.setup, pair.reference.together.shape, quantity, t);
  const auto& a = robust ? pair.errors.own.hc2 : pair.errors.own.model;
  const auto& b = robust ? pair.referenceErrors.own.hc2 : pair.referenceErrors.own.model;
  const SmallVector<kMostTransitions> common =
      pair.errors.own.byShared.transpose().lazyProduct(mine) -
      pair.referenceErrors.own.byShared.transpose().lazyProduct(other);
  return mine.dot(a.lazyProduct(mine)) + other.dot(b.lazyProduct(other)) +
         common.dot(pair.global.sharedCovariance.lazyProduct(common));
}

Interval profileOfDifference(const Pair& pair, Quantity quantity, int t, double estimate,
                             double step, double quantile, double wider) {
  const GlobalFit& global = pair.global;
  const int k = global.transitions;
  HeldDifference held{quantity, t, estimate};
  const double Cm =
      estimateOf(pair.reference.setup, pair.reference.together.shape, Quantity::Cm, t);
  const Interval mine = rangeOf(pair.member.setup, quantity);
  const Interval other = rangeOf(pair.reference.setup, quantity);
  const Interval ofCm = rangeOf(pair.reference.setup, Quantity::Cm);
  Searched lower(k + 1), upper(k + 1), scale(k + 1), best(k + 1);
  for (int i = 0; i < k; ++i) {
    lower[i] = global.shared.at[i] - 20.0;
    upper[i] = global.shared.at[i] + 20.0;
    scale[i] = 0.3;
  }
  lower[k] = ofCm.lower;
  upper[k] = ofCm.upper;
  scale[k] = 0.02 * pair.reference.setup.readings.xSpan;
  best << global.shared.at, Cm;

  SharedModel model(global.share, k);
  model.add(pair.reference, pair.reference.together);
  model.add(pair.member, pair.member.together);
  model.setRest(pair.rest);
  model.holdDifference(held);
  Expansion at;
  if (!model(best, at)) {
    return {-kInfinity, kInfinity};
  }
  const double least = at.sse;
  SearchLimits limits;
  limits.polished = false;
  double ends[2];
  for (int side = 0; side < 2; ++side) {
    Searched near = best;
    const auto z = [&](double value) {
      held.value = value;
      const Minimum found = minimise(model, near, lower, upper, scale, limits);
      if (!std::isfinite(found.sse)) {
        return kInfinity;
      }
      near = found.at;
      return std::sqrt(std::max(0.0, found.sse - least) / global.scatter);
    };
    const double limit = side == 0 ? mine.lower - other.upper : mine.upper - other.lower;
    const double end = reach(z, estimate, side == 0 ? -step : step, limit, quantile);
    ends[side] = std::isfinite(end) ? estimate + wider * (end - estimate) : end;
  }
  return {ends[0], ends[1]};
}

}  // namespace

Interval sharedInterval(const GlobalFit& global, int t, double level) {
  const int k = global.transitions;
  const double estimate = global.shared.at[t];
  const double step = global.quantile(level) * std::sqrt(global.sharedCovariance(t, t));
  SharedModel model(global.share, k);
  for (const Member& member : global.members) {
    if (member.status == ZOLTI_FITTED) {
      model.add(member, member.together);
    }
  }
  double ends[2];
  for (int side = 0; side < 2; ++side) {
    Searched near = global.shared.at;
    const auto z = [&](double value) {
      near[t] = value;
      Searched lower = Searched::Constant(k, -kInfinity), upper = Searched::Constant(k, kInfinity);
      lower[t] = upper[t] = value;
      SearchLimits limits;
      limits.polished = false;
      const Minimum found = minimise(model, near, lower, upper, Searched::Constant(k, 0.3), limits);
      if (!std::isfinite(found.sse)) {
        return kInfinity;
      }
      near = found.at;
      return std::sqrt(std::max(0.0, found.sse - global.whole.sse) / global.scatter);
    };
    const double direction = side == 0 ? -1.0 : 1.0;
    const double limit = estimate + direction * std::max(30.0 * step, 3.0);
    const double end = reach(z, estimate, direction * step, limit, global.quantile(level));
    ends[side] = std::isfinite(end) ? toCallers(global.share, end) : end;
  }
  return {ends[0], ends[1]};
}

void intervalsOf(const GlobalFit& global, int index, const MemberErrors& errors, double level,
                 ZOLTI_Intervals& intervals) {
  const Member& member = global.members[static_cast<std::size_t>(index)];
  // The rest in units of the curve's own sum of squares.
  Shared rest = global.restWithout(index);
  rest.rest.slope *= member.noise;
  rest.rest.curvature *= member.noise;
  Uncertainty all = errors.own;
  all.model = errors.model;
  all.hc2 = errors.hc2;
  intervals.status = ZOLTI_FITTED;
  intervals.transitions = global.transitions;
  intervals.method = ZOLTI_PROFILE;
  intervals.level = level;
  for (int t = 0; t < global.transitions; ++t) {
    const auto ask = [&](Quantity quantity, double* row) {
      const Interval one =
          profile(member.setup, member.together, all, quantity, t, global.quantile(level), &rest);
      row[0] = one.lower;
      row[1] = one.upper;
    };
    ask(Quantity::dG, intervals.dG[t]);
    ask(Quantity::Cm, intervals.Cm[t]);
    ask(Quantity::m, intervals.m[t]);
  }
}

void differenceOf(const GlobalFit& global, int index, int reference, const MemberErrors& errors,
                  const MemberErrors& referenceErrors, double level, ZOLTI_Difference& out) {
  const Pair pair{global,
                  global.members[static_cast<std::size_t>(index)],
                  global.members[static_cast<std::size_t>(reference)],
                  errors,
                  referenceErrors,
                  global.restWithout(index, reference)};
  out.status = ZOLTI_FITTED;
  if (index == reference) {
    return;
  }
  const double quantile = global.quantile(level);
  for (int t = 0; t < global.transitions; ++t) {
    const auto tell = [&](Quantity quantity, double& value, double& error, double* interval) {
      value = estimateOf(pair.member.setup, pair.member.together.shape, quantity, t) -
              estimateOf(pair.reference.setup, pair.reference.together.shape, quantity, t);
      const double model = varianceOfDifference(pair, quantity, t, false);
      const double robust = varianceOfDifference(pair, quantity, t, true);
      error = errorOf(model);
      const double wider = robust > model && model > 0.0 ? std::sqrt(robust / model) : 1.0;
      const Interval ends =
          profileOfDifference(pair, quantity, t, value, quantile * error, quantile, wider);
      interval[0] = ends.lower;
      interval[1] = ends.upper;
    };
    tell(Quantity::Cm, out.dCm[t], out.dCm_se[t], out.dCm_interval[t]);
    if (global.share == ZOLTI_SHARE_M) {
      tell(Quantity::dG, out.ddG[t], out.ddG_se[t], out.ddG_interval[t]);
    }
  }
}

}  // namespace zolt::inference
