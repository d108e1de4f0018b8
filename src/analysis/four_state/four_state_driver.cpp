// The four-state analysis: 32 ways to fit the curve, baselines and weights harvested from those
// that reach its ends, fits with these held, and a fixed order of preference with falling
// thresholds.

#include "analysis/decision.h"
#include "analysis/derivative_peaks.h"
#include "analysis/entry_checks.h"
#include "analysis/four_state/four_state_seeds.h"
#include "analysis/internal_forms.h"

namespace zolt {
namespace {

using Order = ParameterOrder<3>;
using General = CandidateSet<3, 32>;
constexpr std::size_t kGivenColumns = 16;

// Columns of the general family: whole-curve seeders, joins of thirds, and whole-curve seeders
// again with the weights of the best join.
constexpr std::size_t kWholeCurve = 16;
constexpr std::size_t kFixedSplit = 16;
constexpr std::size_t kPeakSplit = 20;
constexpr std::size_t kBestSplit = 24;
constexpr std::size_t kWeighted = 28;

// Columns with both baselines held come first, then those with flat ends, then those with lines
// through three points; free baselines must do better than the others to be taken.
constexpr PairStep kPairs[] = {
    {12, 0.0, 5, 6},      {15, 0.0, 7, 8},      {13, 0.0, 9, 10},     {14, 0.0, 11, 12},
    {4, -0.0005, 13, 14}, {7, -0.0005, 15, 16}, {5, -0.0005, 17, 18}, {6, -0.0005, 19, 20},
    {8, 0.0, 21, 22},     {11, 0.0, 23, 24},    {9, 0.0, 25, 26},     {10, 0.0, 27, 28},
    {0, 0.001, 29, 30},   {3, 0.001, 31, 35},   {1, 0.001, 36, 37},   {2, 0.001, 38, 39}};

// Within each block of four: no weight held, both, the first, the second.
constexpr int fourStateRanking[] = {12, 15, 14, 13, 28, 31, 30, 29, 24, 27, 26, 25, 0,  3,  2,  1,
                                    4,  7,  6,  5,  8,  11, 10, 9,  20, 23, 22, 21, 16, 19, 18, 17};

// Midpoints stand in as weight seeds when they happen to fall in the range of a weight.
WeightPair weightsFromMidpoints(const MidpointTriple& midpoints) {
  const auto seed = [](double a, double b, double otherwise) {
    const double weight = (a + b) / 2.0;
    return weight < 0.01 || weight > 0.99 ? otherwise : weight;
  };
  return {seed(midpoints[0], midpoints[1], kEvenWeights[0]),
          seed(midpoints[1], midpoints[2], kEvenWeights[1])};
}

WeightPair weightsIn(const Parameters<3>& p) { return {p[Order::weight(0)], p[Order::weight(1)]}; }

void placeGroup(General& set, std::size_t first,
                const std::array<Candidate<3>, kMembers>& candidates, const Setting& setting) {
  for (std::size_t member = 0; member < kMembers; ++member) {
    set.place(first + member, candidates[member], setting);
  }
}

// The general family, and the weights of its best join, which become the seeds of what follows.
struct GeneralFamily {
  General set;
  WeightPair weights;
};
GeneralFamily makeGeneral(const Setting& setting) {
  const MidpointTriple peaks = derivativePeaks4(setting.curve, setting.workspace);
  const WeightPair seeds = generalWeights(weightsFromMidpoints(peaks));
  General set(setting);
  for (std::size_t c = 0; c < kWholeCurve; ++c) {
    set.place(c, runSeeder(kFourStateGeneral[c / kMembers], c % kMembers, setting, {}, seeds),
              setting);
  }
  const Curve& curve = setting.curve;
  placeGroup(set, kFixedSplit, thirdsFit(setting, splitInThirds(curve, std::nullopt)), setting);
  const ThirdsSplit peakSplit = splitInThirds(curve, peaks);
  const auto peakJoins = thirdsFit(setting, peakSplit);
  placeGroup(set, kPeakSplit, peakJoins, setting);

  // The columns still to come stand at zeros with R-squared 0: when all others fail, the first of
  // them is the best, and its midpoints of 0 split the curve.
  for (std::size_t c = kBestSplit; c < set.size(); ++c) {
    set.columns[c].p.fill(0.0);
    set.rsq[c] = 0.0;
  }
  const Parameters<3> best = set.p(bestColumn(set.rsq, 0, set.size()));
  // Midpoints that split the curve at the same points give the same joins.
  const ThirdsSplit bestSplit = splitInThirds(
      curve, MidpointTriple{best[Order::Cm(0)], best[Order::Cm(1)], best[Order::Cm(2)]});
  placeGroup(set, kBestSplit, bestSplit == peakSplit ? peakJoins : thirdsFit(setting, bestSplit),
             setting);

  std::size_t join = bestColumn(set.rsq, kFixedSplit, kWeighted);
  if (!(set.rsq[join] > 0.0)) {
    join = bestColumn(set.rsq, 0, kWholeCurve);
  }
  const WeightPair weights = weightsIn(set.p(join));
  const auto usable = [](double weight) { return weight > 0.0 && weight < 0.99; };
  for (std::size_t group = 0; group < kMembers; ++group) {
    const std::size_t c = kWeighted + group;
    if (usable(weights[0]) && usable(weights[1])) {
      set.place(
          c,
          runSeeder(kFourStateGeneral[group], kMembers - 1, setting, {}, generalWeights(weights)),
          setting);
    } else {
      set.place(c, failed<3>(setting), setting);
      set.rsq[c] = -1.0;
    }
  }
  return {set, weights};
}

// The mean weights of the candidates that taught a baseline, when they leave something for the
// third transition; else the weights that stand.
WeightPair harvestWeights(const General& set, const std::array<EndAgreement, 32>& ends,
                          const WeightPair& standing) {
  WeightPair sum{};
  int count = 0;
  for (std::size_t c = 0; c < set.size(); ++c) {
    if (set.rsq[c] >= kGoodFit && (ends[c].native || ends[c].denatured)) {
      sum[0] += set.p(c)[Order::weight(0)];
      sum[1] += set.p(c)[Order::weight(1)];
      ++count;
    }
  }
  if (count == 0) {
    return standing;
  }
  const WeightPair mean{sum[0] / count, sum[1] / count};
  return mean[0] + mean[1] > 0.0 && mean[0] + mean[1] < 1.0 ? mean : standing;
}

// The fits on both harvested baselines.
CandidateSet<3, kMembers> makeBothGiven(const Setting& setting, const BaselinePair& known,
                                        const WeightPair& weights) {
  CandidateSet<3, kMembers> set(setting);
  for (std::size_t member = 0; member < kMembers; ++member) {
    set.place(member, runSeeder(kFourStateBothGiven, member, setting, known, weights), setting);
  }
  return set;
}

// A given-baseline family. A family whose own baseline is not known keeps R-squared 0 in every
// column, so that none of it can pass the ladder.
GivenFamily<3, kGivenColumns> makeGiven(const std::array<FourStateSeeder, 4>& groups,
                                        const Setting& setting, const BaselinePair& known,
                                        const WeightPair& weights, bool baselineKnown,
                                        bool EndAgreement::*farEnd) {
  CandidateSet<3, kGivenColumns> set(setting);
  const bool denatured = &groups == &kFourStateDenaturedGiven;
  for (std::size_t c = 0; c < kGivenColumns; ++c) {
    set.place(c,
              denatured && c == 0
                  ? runDenaturedFreeSide(setting, known, weights)
                  : runSeeder(groups[c / kMembers], c % kMembers, setting, known, weights),
              setting);
  }
  if (!baselineKnown) {
    set.rsq.fill(0.0);
    return {set, std::nullopt};
  }
  return {set, acceptedColumn(set.rsq, checkEnds(setting, set), farEnd)};
}

void analyseFourState(const Curve& curve, double temperature, int mostPoints, ResultVector result) {
  if (lengthsUnusable(curve, kFewestPoints, mostPoints)) {
    return writeFailure(3, ZOLTA_CODE_BAD_INPUT, result);
  }
  // Too short for three transitions: the smaller analyses make their own tests.
  if (curve.points() < kFewestThreeStatePoints) {
    return twoStateInternal(curve, temperature, result);
  }
  if (curve.points() < kFewestFourStatePoints) {
    return threeStateInternal(curve, temperature, result);
  }
  if (refuses(curve, temperature, 3, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeSetting(curve, temperature, workspace);
  const GeneralFamily general = makeGeneral(setting);
  const auto ends = checkEnds(setting, general.set);
  const Harvest harvest = harvestBaselines(general.set, ends);
  const WeightPair weights =
      givenBaselineWeights(harvestWeights(general.set, ends, general.weights));
  decide(
      setting, general.set, harvest, fourStateLadders,
      [&] { return bestGoodCandidate(makeBothGiven(setting, harvest.baselines, weights)); },
      [&] {
        return makeGiven(kFourStateNativeGiven, setting, harvest.baselines, weights,
                         harvest.nativeCount > 0, &EndAgreement::denatured);
      },
      [&] {
        return makeGiven(kFourStateDenaturedGiven, setting, harvest.baselines, weights,
                         harvest.denaturedCount > 0, &EndAgreement::native);
      },
      result);
}

}  // namespace

constexpr LadderTable fourStateLadders{kPairs, fourStateRanking, 40};

void fourStateInternal(const Curve& curve, double temperature, ResultVector result) {
  analyseFourState(curve, temperature, kLargestCurve, result);
}

}  // namespace zolt

extern "C" void ZOLTA_4state(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, double temperature, double* result) noexcept {
  zolt::analyseFourState(zolt::curveView(x, xSize, y, ySize), temperature, zolt::kAnyLength,
                         zolt::resultView(result));
}
