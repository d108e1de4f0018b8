// The comparison of a larger model with a smaller one.
#include <algorithm>
#include <cmath>

#include "inference/distributions.h"
#include "inference/evidence.h"
#include "inference/plain_models.h"

namespace zolt::inference {
namespace {

constexpr int kLeftOut = 3;  // readings that gain most, each left out in turn
constexpr double kChanceWithout = 0.05;
constexpr int kFewestDegrees = 3;  // below which leaving a reading out leaves no test
constexpr double kLeastWeight = 0.10;
constexpr double kLeastApart = 2.0;  // standard errors
// How far a transition may have gone at the first reading, and must have gone at the last.
constexpr double kBegun = 0.3, kDone = 0.7;

// The extra sum of squares of the smaller model as F, and its probability.
double chanceOf(double smallerSse, double largerSse, int n, int smallerParameters,
                int largerParameters, double& F) {
  const double least = n * 1e-26;  // rounding of signals of size 1
  const int extra = largerParameters - smallerParameters, left = n - largerParameters;
  F = 0.0;
  if (left <= 0 || smallerSse <= least) {
    return 1.0;
  }
  if (extra <= 0) {
    // Held values leave the larger model no more parameters; then the smaller sum is preferred.
    return largerSse < smallerSse ? 0.0 : 1.0;
  }
  F = std::max(0.0, (smallerSse - largerSse) / extra / (std::max(largerSse, least) / left));
  return fTail(F, extra, left);
}

// The sum of squares of a candidate fitted to other readings of the same curve.
double refit(const Setup& fewer, const Candidate& candidate) {
  if (candidate.model < ZOLTI_MODEL_TWO_STATES) {
    return fitPlain(fewer.readings, candidate.model).sse;
  }
  return leastNear(fewer, candidate.solution.shape).sse;
}

void leaveOut(const Setup& setup, const Candidate& smaller, const Candidate& larger,
              Comparison& result) {
  const int n = setup.readings.n;
  const PerReading gain = smaller.residuals.array().square() - larger.residuals.array().square();
  std::array<int, kMostReadings> order;
  for (int i = 0; i < n; ++i) {
    order[i] = i;
  }
  std::partial_sort(order.begin(), order.begin() + kLeftOut, order.begin() + n, [&](int a, int b) {
    return gain[a] > gain[b] || (gain[a] == gain[b] && a < b);
  });
  Setup fewer = setup;
  for (int i = 0; i < kLeftOut; ++i) {
    fewer.readings = setup.readings.without(order[i]);
    double F;
    const double p = chanceOf(refit(fewer, smaller), refit(fewer, larger), n - 1,
                              smaller.parameters, larger.parameters, F);
    if (p > result.pWithout) {
      result.pWithout = p;
      result.xWithout = setup.readings.xFirst + setup.readings.xSpan * setup.readings.u[order[i]];
    }
  }
}

double fractionAt(const Shape& shape, int t, double u) {
  return 1.0 / (1.0 + std::exp(std::exp(shape.logS[t]) * (shape.c[t] - u)));
}

bool complete(const Shape& shape) {
  for (int t = 0; t < shape.transitions; ++t) {
    if (!(fractionAt(shape, t, 0.0) < kBegun) || !(fractionAt(shape, t, 1.0) > kDone)) {
      return false;
    }
  }
  return true;
}

// The smallest distance of neighbouring midpoints in standard errors of their difference.
double leastApart(const Setup& setup, const Candidate& candidate) {
  const Shape& shape = candidate.solution.shape;
  double least = -1.0;
  for (int t = 0; t + 1 < shape.transitions; ++t) {
    const int a = placeOfCm(t), b = placeOfCm(t + 1);
    const auto& V = candidate.uncertainty.model;
    const double distance = (shape.c[t + 1] - shape.c[t]) * setup.readings.xSpan;
    const double variance = V(a, a) + V(b, b) - 2.0 * V(a, b);
    const double apart = std::min(distance / std::sqrt(std::max(variance, 1e-300)), 1e9);
    least = t == 0 ? apart : std::min(least, apart);
  }
  return least;
}

}  // namespace

Comparison compare(const Setup& setup, const Candidate& smaller, const Candidate& larger,
                   double chance) {
  Comparison result;
  const int n = setup.readings.n;
  const int transitions = larger.transitions();
  if (transitions > 1 && larger.sound) {
    const auto w = larger.solution.shape.weights();
    result.leastWeight = *std::min_element(w.begin(), w.begin() + transitions);
    result.apart = leastApart(setup, larger);
  }
  result.p = chanceOf(smaller.sse, larger.sse, n, smaller.parameters, larger.parameters, result.F);
  if (!(result.p < chance)) {
    result.outcome = ZOLTI_SMALL_GAIN;
    return result;
  }
  if (!larger.sound) {
    result.outcome = ZOLTI_UNSOUND;
    return result;
  }
  if (transitions > 1) {
    if (!(result.leastWeight > kLeastWeight)) {
      result.outcome = ZOLTI_SMALL_WEIGHT;
    } else if (!complete(larger.solution.shape)) {
      result.outcome = ZOLTI_INCOMPLETE;
    } else if (!(result.apart > kLeastApart)) {
      result.outcome = ZOLTI_NOT_APART;
    }
  }
  if (result.outcome == ZOLTI_PASSED && n - 1 - larger.parameters >= kFewestDegrees) {
    leaveOut(setup, smaller, larger, result);
    if (!(result.pWithout < kChanceWithout)) {
      result.outcome = ZOLTI_ONE_READING;
    }
  }
  return result;
}

}  // namespace zolt::inference
