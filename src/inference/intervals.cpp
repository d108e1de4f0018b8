// ZOLTI_intervals: by profiles, by standard errors, by the bootstrap.
#include <algorithm>
#include <cmath>

#include "inference/bootstrap.h"
#include "inference/distributions.h"
#include "inference/fit_record.h"

namespace zolt::inference {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kFewestRounds = 20, kMostRounds = 100000;

struct Question {
  const Setup& setup;
  const Solution& solution;
  const Uncertainty& uncertainty;
  double level, quantile;
};

Interval linear(const Question& q, Quantity quantity, int t) {
  const Shape& shape = q.solution.shape;
  const double estimate = estimateOf(q.setup, shape, quantity, t);
  if (isHeld(q.setup.held[t], quantity)) {
    return {estimate, estimate};
  }
  const double variance = varianceOf(q.uncertainty.model, q.setup, shape, quantity, t);
  if (!(variance > 0.0)) {
    return {-kInfinity, kInfinity};
  }
  const double half =
      q.quantile * std::sqrt(variance) * widening(q.setup, shape, q.uncertainty, quantity, t);
  return {estimate - half, estimate + half};
}

// Ends between which the middle share of the draws lies, widened as Student's t is wider than the
// normal distribution, since the noise itself is known from few readings only.
Interval percentile(const Question& q, Quantity quantity, int t, std::vector<double>& values) {
  const double estimate = estimateOf(q.setup, q.solution.shape, quantity, t);
  if (isHeld(q.setup.held[t], quantity)) {
    return {estimate, estimate};
  }
  std::sort(values.begin(), values.end());
  const double tail = 0.5 * (1.0 - q.level);
  const double wider = q.quantile / normalQuantile(q.level);
  const Interval range = rangeOf(q.setup, quantity);
  const auto at = [&](double share) {
    const double place = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
  };
  Interval ends{estimate - wider * std::max(0.0, estimate - at(tail)),
                estimate + wider * std::max(0.0, at(1.0 - tail) - estimate)};
  // Rounds that end at a bound show that nothing holds the quantity on that side.
  const double near = 1e-6 * (range.upper - range.lower);
  ends.lower = ends.lower <= range.lower + near ? -kInfinity : ends.lower;
  ends.upper = ends.upper >= range.upper - near ? kInfinity : ends.upper;
  return ends;
}

void store(const Interval& interval, Quantity quantity, int t, ZOLTI_Intervals& out) {
  double* row = quantity == Quantity::dG   ? out.dG[t]
                : quantity == Quantity::Cm ? out.Cm[t]
                                           : out.m[t];
  row[0] = interval.lower;
  row[1] = interval.upper;
}

int byBootstrap(const Question& q, int rounds, std::uint64_t seed, ZOLTI_Intervals& out,
                double* drawsOut) {
  std::vector<double> draws;
  out.rounds_used = bootstrap(q.setup, q.solution, q.uncertainty, rounds, seed, draws);
  if (drawsOut != nullptr) {
    std::copy(draws.begin(), draws.end(), drawsOut);
  }
  if (2 * out.rounds_used < rounds) {
    return ZOLTI_UNDETERMINED;
  }
  std::vector<double> values;
  for (int which = 0; which < 3; ++which) {
    for (int t = 0; t < q.solution.shape.transitions; ++t) {
      values.clear();
      for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round) {
        const double value = draws[9 * round + static_cast<std::size_t>(3 * which + t)];
        if (std::isfinite(value)) {
          values.push_back(value);
        }
      }
      store(percentile(q, kQuantities[which], t, values), kQuantities[which], t, out);
    }
  }
  return ZOLTI_FITTED;
}

// The solution that a record tells of, on the readings that it came from.
int restore(const ZOLTI_Curve& curve, const ZOLTI_Options* options, const ZOLTI_Fit& fit,
            Setup& setup, Solution& solution) {
  int status = prepare(&curve, options, setup);
  if (status != ZOLTI_FITTED) {
    return status;
  }
  if (fit.transitions < 1 || fit.transitions > kMostTransitions ||
      fit.readings != setup.readings.n) {
    return ZOLTI_BAD_ARGUMENT;
  }
  status = enoughFor(setup, fit.transitions);
  if (status != ZOLTI_FITTED) {
    return status;
  }
  const ShapeMap map = setup.map(fit.transitions);
  const Searched at = map.searchedFrom(shapeOf(fit, setup.readings));
  Separable separable(setup.readings, setup.baselines);
  Expansion expansion;
  solution.shape = map.shapeAt(at);
  if (!at.allFinite() || !separable.expand(solution.shape, expansion)) {
    return ZOLTI_BAD_ARGUMENT;
  }
  solution.sse = expansion.sse;
  solution.found = solution.converged = true;
  return ZOLTI_FITTED;
}

}  // namespace
}  // namespace zolt::inference

extern "C" std::int32_t ZOLTI_intervals(const ZOLTI_Curve* curve, const ZOLTI_Options* options,
                                        const ZOLTI_Fit* fit, std::int32_t method, double level,
                                        std::int32_t rounds, std::uint64_t seed,
                                        ZOLTI_Intervals* intervals, double* draws) noexcept {
  using namespace zolt::inference;
  if (curve == nullptr || fit == nullptr || intervals == nullptr) {
    return ZOLTI_BAD_ARGUMENT;
  }
  *intervals = ZOLTI_Intervals{};
  intervals->method = method;
  intervals->level = level;
  const bool sampled = method == ZOLTI_BOOTSTRAP;
  if (method < ZOLTI_PROFILE || method > ZOLTI_BOOTSTRAP || !(level > 0.0 && level < 1.0) ||
      (sampled && (rounds < kFewestRounds || rounds > kMostRounds))) {
    return intervals->status = ZOLTI_BAD_ARGUMENT;
  }
  Setup setup;
  Solution solution;
  int status = fit->status;
  if (status == ZOLTI_FITTED) {
    status = restore(*curve, options, *fit, setup, solution);
  }
  Uncertainty uncertainty;
  if (status == ZOLTI_FITTED) {
    assess(setup, solution, uncertainty);
    status = uncertainty.determined ? ZOLTI_FITTED : ZOLTI_UNDETERMINED;
  }
  if (status != ZOLTI_FITTED) {
    return intervals->status = status;
  }
  intervals->transitions = fit->transitions;
  const double quantile =
      setup.readings.sdKnown ? normalQuantile(level) : studentQuantile(level, uncertainty.degrees);
  const Question question{setup, solution, uncertainty, level, quantile};
  if (sampled) {
    return intervals->status = byBootstrap(question, rounds, seed, *intervals, draws);
  }
  for (const Quantity quantity : kQuantities) {
    for (int t = 0; t < fit->transitions; ++t) {
      const Interval interval = method == ZOLTI_LINEAR
                                    ? linear(question, quantity, t)
                                    : profile(setup, solution, uncertainty, quantity, t, quantile);
      store(interval, quantity, t, *intervals);
    }
  }
  return intervals->status = ZOLTI_FITTED;
}
