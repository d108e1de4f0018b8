// The search for the shared values, and the errors that follow.
#include "inference/global_fit.h"

#include <algorithm>
#include <cmath>

#include "inference/distributions.h"

namespace zolt::inference {
namespace {

// By how many degrees of freedom a curve's noise is drawn toward that of all.
constexpr double kCommonDegrees = 4.0;
// Signals of span 1 without any noise still have that of their rounding.
constexpr double kLeastNoise = 1e-28;

// Takes in a curve and fits it alone; its status tells whether it takes part.
void fitAlone(const ZOLTI_Curve& curve, int transitions, const ZOLTI_Options* options,
              Member& member) {
  member.status = prepare(&curve, options, member.setup);
  if (member.status == ZOLTI_FITTED) {
    member.status =
        member.setup.nothingHeld() ? enoughFor(member.setup, transitions) : ZOLTI_BAD_HELD;
  }
  if (member.status != ZOLTI_FITTED) {
    return;
  }
  member.setup.engine = member.setup.engine && transitions > 1;
  member.alone = leastSquares(curve, member.setup, transitions, Analysis::light, nullptr);
  if (!member.alone.found || !member.alone.converged) {
    member.status = ZOLTI_NOT_CONVERGED;
  }
}

void estimateNoise(GlobalFit& global) {
  double sse = 0.0;
  global.freeDegrees = 0.0;
  global.noiseKnown = true;
  const auto ownDegrees = [&](const Member& member) {
    return member.setup.readings.n - member.setup.freeCount(global.transitions);
  };
  for (const Member& member : global.members) {
    if (member.status == ZOLTI_FITTED) {
      sse += member.alone.sse;
      global.freeDegrees += ownDegrees(member);
      global.noiseKnown = global.noiseKnown && member.setup.readings.sdKnown;
    }
  }
  const double common = sse / global.freeDegrees;
  for (Member& member : global.members) {
    if (member.status == ZOLTI_FITTED) {
      const double own =
          (member.alone.sse + kCommonDegrees * common) / (ownDegrees(member) + kCommonDegrees);
      member.noise =
          global.noiseKnown ? 1.0 / member.setup.readings.sseUnit : std::max(own, kLeastNoise);
      global.freeChiSquared += member.alone.sse / member.noise;
    }
  }
}

// Starts in the middle of the curves' own values; bounds as wide as those of any curve.
void frameSearch(const GlobalFit& global, Searched& start, Searched& lower, Searched& upper) {
  const int k = global.transitions;
  start.resize(k);
  lower.resize(k);
  upper.resize(k);
  std::vector<double> values;
  for (int t = 0; t < k; ++t) {
    values.clear();
    for (const Member& member : global.members) {
      if (member.status != ZOLTI_FITTED) {
        continue;
      }
      values.push_back(sharedValue(global.share, member.setup.readings, member.alone.shape, t));
      const Interval range =
          rangeOf(member.setup, global.share == ZOLTI_SHARE_M ? Quantity::m : Quantity::dG);
      const double least = fromCallers(global.share, range.lower);
      const double most = fromCallers(global.share, range.upper);
      lower[t] = values.size() == 1 ? least : std::min(lower[t], least);
      upper[t] = values.size() == 1 ? most : std::max(upper[t], most);
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    start[t] = *middle;
  }
}

}  // namespace

int fitTogether(const ZOLTI_Curve* curves, int count, int transitions, int share,
                const ZOLTI_Options* options, GlobalFit& global) {
  global.share = share;
  global.transitions = transitions;
  global.members.resize(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Member& member = global.members[static_cast<std::size_t>(i)];
    fitAlone(curves[i], transitions, options, member);
    global.fitted += member.status == ZOLTI_FITTED;
  }
  if (global.fitted < 2) {
    return ZOLTI_NOTHING_SHARED;
  }
  estimateNoise(global);
  Searched start, lower, upper;
  frameSearch(global, start, lower, upper);
  SharedModel model(share, transitions);
  for (const Member& member : global.members) {
    if (member.status == ZOLTI_FITTED) {
      model.add(member, member.alone);
    }
  }
  const Searched scale = Searched::Constant(transitions, 0.3);
  global.shared = minimise(model, start, lower, upper, scale);
  if (!global.shared.converged || !model(global.shared.at, global.whole)) {
    return ZOLTI_NOT_CONVERGED;
  }
  global.parts.resize(global.members.size());
  int index = 0, readings = 0;
  global.freeParameters = transitions;
  for (std::size_t i = 0; i < global.members.size(); ++i) {
    Member& member = global.members[i];
    if (member.status == ZOLTI_FITTED) {
      global.parts[i] = model.part(index);
      member.together = model.solution(index++);
      readings += member.setup.readings.n;
      global.freeParameters += member.setup.freeCount(transitions) - transitions;
    }
  }
  global.chiSquared = global.whole.sse;
  global.degrees = readings - global.freeParameters;
  global.scatter = global.noiseKnown ? 1.0 : global.chiSquared / global.degrees;
  const Eigen::LLT<SearchedMatrix> factor(global.whole.curvature);
  if (factor.info() != Eigen::Success) {
    return ZOLTI_UNDETERMINED;
  }
  global.sharedCovariance =
      global.scatter * factor.solve(SearchedMatrix::Identity(transitions, transitions));
  return global.sharedCovariance.allFinite() ? ZOLTI_FITTED : ZOLTI_UNDETERMINED;
}

Shared GlobalFit::restWithout(int one, int other) const {
  Shared rest;
  rest.share = share;
  rest.at = shared.at;
  rest.rest = whole;
  for (const int index : {one, other}) {
    if (index >= 0) {
      const Expansion& part = parts[static_cast<std::size_t>(index)];
      rest.rest.slope -= part.slope;
      rest.rest.curvature -= part.curvature;
    }
  }
  return rest;
}

Setup GlobalFit::heldSetup(int index) const {
  Setup setup = members[static_cast<std::size_t>(index)].setup;
  holdShared(share, shared.at, transitions, setup.held);
  return setup;
}

double GlobalFit::quantile(double level) const {
  return noiseKnown ? normalQuantile(level) : studentQuantile(level, degrees);
}

bool errorsOf(const GlobalFit& global, int index, MemberErrors& errors) {
  const Member& member = global.members[static_cast<std::size_t>(index)];
  assessShared(global.heldSetup(index), member.together, global.share,
               member.noise * global.scatter, errors.own);
  if (!errors.own.determined) {
    return false;
  }
  const auto& by = errors.own.byShared;
  const SmallMatrix<ZOLTI_PARAMETERS, kMostTransitions> half =
      by.lazyProduct(global.sharedCovariance);
  const SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS> common = half.lazyProduct(by.transpose());
  errors.model = errors.own.model + common;
  errors.hc2 = errors.own.hc2 + common;
  errors.hc3 = errors.own.hc3 + common;
  return true;
}

}  // namespace zolt::inference
