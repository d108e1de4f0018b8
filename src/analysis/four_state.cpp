// What only the four-state model does, and its three exports.
#include "analysis/four_state.h"

#include "analysis/lighter_fits.h"

namespace zolt {
namespace {

using Order = ParameterOrder<3>;
using WeightPair = FourState::WeightPair;
constexpr const WeightPair& kEven = FourState::kEvenWeights;

WeightPair weightsIn(const Parameters<3>& p) { return {p[Order::weight(0)], p[Order::weight(1)]}; }

bool leavesNothing(const WeightPair& weights) { return weights[0] + weights[1] > 1.0; }

}  // namespace

// Weights that leave nothing to the third transition give way to the even ones.
Held FourState::takeHints(const Hints& hints, const Held& learned, const Curve&,
                          Parameters<3>& start) {
  const WeightPair& weights =
      !hints.inRange && leavesNothing(hints.weights) ? kEven : hints.weights;
  std::copy(weights.begin(), weights.end(), start.begin() + Order::weight(0));
  return learned;
}

// Midpoints stand in as weights when they happen to fall in the range of a weight (design.md:
// midpoints as weights).
FourState::Hints FourState::hintsOfPeaks(const std::array<double, 3>& peaks) {
  const auto seed = [](double a, double b, double otherwise) {
    const double weight = (a + b) / 2.0;
    return weight < 0.01 || weight > 0.99 ? otherwise : weight;
  };
  return {{seed(peaks[0], peaks[1], kEven[0]), seed(peaks[1], peaks[2], kEven[1])}, false};
}

// The weights of the best join, or of the best seeded fit when no join describes the curve.
FourState::Hints FourState::hintsOfJoins(const GeneralFamily<FourState>& family) {
  constexpr std::size_t kFirstJoin = firstColumn(kGeneral, Step::EvenSplit);
  constexpr std::size_t kEndOfJoins = firstColumn(kGeneral, Step::WithBestJoin);
  std::size_t best = bestColumn(family.set.rsq, kFirstJoin, kEndOfJoins);
  if (!(family.set.rsq[best] > 0.0)) {
    best = bestColumn(family.set.rsq, 0, kFirstJoin);
  }
  return {weightsIn(family.set.p(best)), false};
}

// The mean weights of the candidates that taught a baseline, when they leave something for the
// third transition; else the weights that stand. The sum is tested before a single weight outside
// 0 to 1 is replaced (design.md: sum of weights).
FourState::Hints FourState::hintsOfGoodFits(const Setting&, const GeneralFamily<FourState>& family,
                                            std::span<const EndAgreement> ends) {
  WeightPair sum{};
  int count = 0;
  for (std::size_t c = 0; c < ends.size(); ++c) {
    if (ends[c].native || ends[c].denatured) {
      sum[0] += family.set.p(c)[Order::weight(0)];
      sum[1] += family.set.p(c)[Order::weight(1)];
      ++count;
    }
  }
  WeightPair weights = family.hints.weights;
  if (count > 0) {
    const WeightPair mean{sum[0] / count, sum[1] / count};
    if (mean[0] + mean[1] > 0.0 && mean[0] + mean[1] < 1.0) {
      weights = mean;
    }
  }
  if (leavesNothing(weights)) {
    return {kEven, true};
  }
  const auto inUnitRange = [](double weight) { return weight >= 0.0 && weight <= 1.0; };
  return {{inUnitRange(weights[0]) ? weights[0] : kEven[0],
           inUnitRange(weights[1]) ? weights[1] : kEven[1]},
          true};
}

Joined<3> FourState::join(const Setting& setting, Step step, const std::array<double, 3>& peaks,
                          const Parameters<3>& best) {
  switch (step) {
    case Step::PeakSplit:
      return joinThirds(setting, peaks);
    case Step::BestSplit:
      return joinThirds(setting,
                        std::array{best[Order::Cm(0)], best[Order::Cm(1)], best[Order::Cm(2)]});
    default:
      return joinThirds(setting, std::nullopt);
  }
}

std::optional<Candidate<3>> FourState::fitJoined(const Setting& setting, const Joined<3>& joined,
                                                 const Held& learned) {
  return thirdsFit(setting, joined, learned);
}

// For a denatured baseline that is not given, slope and intercept stand in each other's place, and
// the two replacements of exact zeros put a signal where a midpoint belongs and a slope where an
// intercept does: all three are meant (design.md: four states on user baselines).
std::optional<Candidate<3>> FourState::fitOnBaselines(const Setting& setting,
                                                      const Baselines& baselines) {
  const Curve& curve = setting.curve;
  const Baseline native =
      isGiven(baselines.native) ? baselines.native : Baseline{curve.y[0], kFlatSlope};
  const Baseline denatured =
      isGiven(baselines.denatured) ? baselines.denatured : Baseline{kFlatSlope, curve.lastY()};
  auto start = evenStart<3>(setting, kEnergies, kEven, {native, denatured});
  if (start[Order::Cm(2)] == 0.0) {
    start[Order::Cm(2)] = curve.y[0];
  }
  if (start[Order::aN] == 0.0) {
    start[Order::aN] = kFlatSlope;
  }
  return settled<3>(curve, fitCurve<3>(setting, curve, kBaselinesHeld, start));
}

template <>
void internalAnalysis<3>(const Curve& curve, double temperature, ResultVector result) {
  analyse<FourState>(curve, temperature, kLargestCurve, result);
}

}  // namespace zolt

extern "C" void ZOLTA_4state(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, double temperature, double* result) noexcept {
  using namespace zolt;
  analyse<FourState>(curveView(x, xSize, y, ySize), temperature, kAnyLength, resultView(result));
}

extern "C" void ZOLTA_4state_chalf(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, double temperature,
                                   double* result) noexcept {
  using namespace zolt;
  fitMidpoint<FourState>(curveView(x, xSize, y, ySize), temperature, resultView(result));
}

extern "C" void ZOLTA_4state_user_set_baselines(const double* x, const int32_t* xSize,
                                                const double* y, const int32_t* ySize,
                                                const double* baselines, double temperature,
                                                double* result) noexcept {
  using namespace zolt;
  fitOnUserBaselines<FourState>(curveView(x, xSize, y, ySize), userBaselines(baselines),
                                temperature, resultView(result));
}
