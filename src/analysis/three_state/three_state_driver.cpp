// The three-state analysis: eleven ways to fit the curve, the baselines harvested from those that
// reach its ends, fits with these held, and a fixed order of preference with falling thresholds.

#include "analysis/decision.h"
#include "analysis/derivative_peaks.h"
#include "analysis/entry_checks.h"
#include "analysis/internal_forms.h"
#include "analysis/three_state/three_state_seeds.h"

namespace zolt {
namespace {

using General = CandidateSet<2, 11>;

// Columns of the general family: whole-curve seeders, joins of halves, seeders with a weight held.
constexpr std::size_t kWholeCurve = 4;
constexpr std::size_t kFixedSplit = 4;
constexpr std::size_t kPeakSplit = 5;
constexpr std::size_t kBestSplit = 6;
constexpr std::size_t kWeighted = 7;

constexpr PairStep kPairs[] = {{7, 0.0, 5, 6},       {6, 0.0, 7, 8},    {3, -0.0005, 9, 10},
                               {2, -0.0005, 11, 12}, {5, 0.0, 13, 14},  {4, 0.0, 15, 16},
                               {1, 0.001, 17, 18},   {0, 0.001, 19, 20}};
constexpr int kGeneralOrder[] = {10, 3, 6, 7, 0, 8, 1, 9, 2, 5, 4};

// The general family. Empty when no column of the first six describes the curve at all.
struct GeneralFamily {
  General set;
  double weightStar;
};
std::optional<GeneralFamily> makeGeneral(const Setting& setting) {
  using Order = ParameterOrder<2>;
  General set(setting);
  for (std::size_t c = 0; c < kWholeCurve; ++c) {
    set.place(c, runSeeder(*kThreeStateGeneral[c], setting), setting);
  }
  const Curve& curve = setting.curve;
  set.place(kFixedSplit, halvesFit(setting, splitInHalves(curve, std::nullopt)), setting);
  const HalvesSplit peakSplit = splitInHalves(curve, derivativePeaks3(curve, setting.workspace));
  set.place(kPeakSplit, halvesFit(setting, peakSplit), setting);
  const std::size_t best = bestColumn(set.rsq, 0, kBestSplit);
  if (!(set.rsq[best] >= 0.0)) {
    return std::nullopt;
  }
  // Midpoints that split the curve at the same points give the same join.
  const HalvesSplit bestSplit =
      splitInHalves(curve, MidpointPair{set.p(best)[Order::Cm(0)], set.p(best)[Order::Cm(1)]});
  set.place(kBestSplit,
            bestSplit == peakSplit ? set.columns[kPeakSplit] : halvesFit(setting, bestSplit),
            setting);

  const std::size_t join = bestColumn(set.rsq, kFixedSplit, kWeighted);
  const double weightStar = set.rsq[join] > -1.0 ? set.p(join)[Order::weight(0)] : kNoWeight;
  if (weightStar > 0.0 && weightStar < 0.99) {
    for (std::size_t c = kWeighted; c < set.size(); ++c) {
      set.place(c, runSeeder(*kThreeStateGeneral[c], setting, {}, weightStar), setting);
    }
  }
  return GeneralFamily{set, weightStar};
}

// The members of a family that is fitted with harvested baselines. The odd ones want a weight; the
// bound is 1.0 here, not the 0.99 of the general family.
template <std::size_t Columns>
CandidateSet<2, Columns> makeFamily(const std::array<const ThreeStateSeeder*, Columns>& seeders,
                                    const Setting& setting, const BaselinePair& known,
                                    double weightStar) {
  CandidateSet<2, Columns> set(setting);
  const bool weighted = weightStar > 0.0 && weightStar < 1.0;
  for (std::size_t c = 0; c < Columns; ++c) {
    if (c % 2 == 0 || weighted) {
      set.place(c, runSeeder(*seeders[c], setting, known, weightStar), setting);
    }
  }
  return set;
}

void analyseThreeState(const Curve& curve, double temperature, int mostPoints,
                       ResultVector result) {
  if (lengthsUnusable(curve, kFewestPoints, mostPoints)) {
    return writeFailure(2, ZOLTA_CODE_BAD_INPUT, result);
  }
  // Too short for two transitions: the smaller analysis makes its own tests.
  if (curve.points() < kFewestThreeStatePoints) {
    return twoStateInternal(curve, temperature, result);
  }
  if (refuses(curve, temperature, 2, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeSetting(curve, temperature, workspace);
  const std::optional<GeneralFamily> general = makeGeneral(setting);
  if (!general) {
    return writeFailure(2, ZOLTA_CODE_NO_CANDIDATE, result);
  }
  const General& first = general->set;
  const Harvest harvest = harvestBaselines(first, checkEnds(setting, first));
  const auto family = [&](const auto& seeders) {
    return makeFamily(seeders, setting, harvest.baselines, general->weightStar);
  };
  const auto given = [&](const auto& seeders, int count, bool EndAgreement::*farEnd) {
    const auto set = family(seeders);
    return GivenFamily<2, set.size()>{
        set, count > 0 ? acceptedColumn(set.rsq, checkEnds(setting, set), farEnd) : std::nullopt};
  };
  decide(
      setting, first, harvest, threeStateLadders,
      [&] { return bestGoodCandidate(family(kThreeStateBothGiven)); },
      [&] { return given(kThreeStateNativeGiven, harvest.nativeCount, &EndAgreement::denatured); },
      [&] {
        return given(kThreeStateDenaturedGiven, harvest.denaturedCount, &EndAgreement::native);
      },
      result);
}

}  // namespace

constexpr LadderTable threeStateLadders{kPairs, kGeneralOrder, 21};

void threeStateInternal(const Curve& curve, double temperature, ResultVector result) {
  analyseThreeState(curve, temperature, kLargestCurve, result);
}

}  // namespace zolt

extern "C" void ZOLTA_3state(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, double temperature, double* result) noexcept {
  zolt::analyseThreeState(zolt::curveView(x, xSize, y, ySize), temperature, zolt::kAnyLength,
                          zolt::resultView(result));
}
