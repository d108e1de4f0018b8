// The two-state analysis: many seeded fits, the baselines and the midpoint learned from those that
// worked, fits again with that knowledge, and a fixed order of preference with falling thresholds.

#include "analysis/decision.h"
#include "analysis/derivative_peaks.h"
#include "analysis/entry_checks.h"
#include "analysis/internal_forms.h"
#include "analysis/two_state/two_state_seeds.h"

namespace zolt {
namespace {

constexpr std::size_t kColumns = 9;
constexpr std::size_t kRefit = 8;  // the column that refits what the seeders found
using Table = CandidateSet<1, kColumns>;

// Columns 0 to 7 of firstStageTable, nativeGivenTable and denaturedGivenTable. In the latter two
// the odd columns want a hint.
constexpr const TwoStateSeeder* firstStageSeeders[] = {
    &seedThreePointAllFree,     &seedThreePoint,     &seedEndPoint,     &seedWindow,
    &seedThreePointAllFreeHint, &seedThreePointHint, &seedEndPointHint, &seedWindowHint};
constexpr const TwoStateSeeder* nativeGivenSeeders[] = {
    &seedFreeSideNative, &seedFreeSideNativeHint, &seedThreePointNative, &seedThreePointNativeHint,
    &seedEndPointNative, &seedEndPointNativeHint, &seedWindowNative,     &seedWindowNativeHint};
constexpr const TwoStateSeeder* denaturedGivenSeeders[] = {
    &seedFreeSideDenatured,       &seedFreeSideDenaturedHint, &seedThreePointDenatured,
    &seedThreePointDenaturedHint, &seedEndPointDenatured,     &seedEndPointDenaturedHint,
    &seedWindowDenatured,         &seedWindowDenaturedHint};

// Hinted, window and refitted columns come first; the columns whose baselines were free must do
// better than the others to be taken.
constexpr PairStep kPairs[] = {{7, 0.0, 5, 6},       {6, 0.0, 7, 8},       {8, 0.0, 9, 10},
                               {3, -0.0005, 11, 12}, {2, -0.0005, 13, 14}, {5, 0.0, 15, 16},
                               {4, 0.0, 17, 18},     {1, 0.001, 19, 20},   {0, 0.001, 21, 22}};

constexpr int kFirstStageOrder[] = {7, 3, 8, 4, 0, 5, 1, 6, 2};

// All first-stage candidates, the refit of the best among them included.
Table makeFirstStageTable(const Setting& setting, double hint) {
  Table table(setting);
  for (std::size_t c = 0; c < 4; ++c) {
    table.place(c, runSeeder(*firstStageSeeders[c], setting), setting);
  }
  for (std::size_t c = 4; c < kRefit && hint > 0.0; ++c) {
    table.place(c, runSeeder(*firstStageSeeders[c], setting, {}, hint), setting);
  }
  // The refit column stands at zeros with R-squared 0 until it is filled: when every seeder failed
  // it is the best of all, and the refit starts from zeros.
  table.columns[kRefit].p.fill(0.0);
  table.rsq[kRefit] = 0.0;
  const std::size_t best = bestColumn(table.rsq, 0, kColumns);
  table.place(kRefit, refitFromVector(setting, table.p(best)), setting);
  return table;
}

// The mean midpoint of the good fits, else the hint; -1 when there is none inside the range of x.
double learnMidpoint(const Table& table, double hint, double lastX) {
  double sum = 0.0;
  int count = 0;
  for (std::size_t c = 0; c < kColumns; ++c) {
    if (table.rsq[c] >= kGoodFit) {
      sum += table.p(c)[ParameterOrder<1>::Cm(0)];
      ++count;
    }
  }
  double midpoint = kNoHint;
  if (count > 0) {
    midpoint = sum / count;
  } else if (hint > 0.0 && lastX > hint) {
    midpoint = hint;
  }
  return midpoint < 0.0 || midpoint > lastX ? kNoHint : midpoint;
}

// One of the given-baseline families. The refit column is filled only when the family's own
// baseline is known; it ranks with R-squared 0 throughout the stage.
GivenFamily<1, kColumns> makeGivenTable(const TwoStateSeeder* const (&seeders)[kRefit],
                                        const Setting& setting, const BaselinePair& given,
                                        double hint, bool baselineKnown,
                                        bool EndAgreement::*farEnd) {
  Table table(setting);
  for (std::size_t c = 0; c < kRefit; ++c) {
    const bool wantsHint = c % 2 == 1;
    if (!wantsHint || hint > 0.0) {
      table.place(c, runSeeder(*seeders[c], setting, given, wantsHint ? hint : kNoHint), setting);
    }
  }
  if (!baselineKnown) {
    return {table, std::nullopt};
  }
  table.rsq[kRefit] = 0.0;
  const auto ranked = table.rsq;
  table.place(kRefit, refitFromTable(setting, table), setting);
  return {table, acceptedColumn(ranked, checkEnds(setting, table), farEnd)};
}

// The better candidate fitted with both baselines known, when both ways to it fit well.
std::optional<Candidate<1>> fitBothBaselines(const Setting& setting, const Harvest& harvest,
                                             double midpointHint) {
  CandidateSet<1, 2> bothBaselinesTable(setting);
  bothBaselinesTable.place(0, runSeeder(seedBothBaselines, setting, harvest.baselines), setting);
  if (midpointHint > 0.0) {
    bothBaselinesTable.place(
        1, runSeeder(seedBothBaselinesHint, setting, harvest.baselines, midpointHint), setting);
  }
  if (!(bothBaselinesTable.rsq[0] >= kGoodFit && bothBaselinesTable.rsq[1] >= kGoodFit)) {
    return std::nullopt;
  }
  return bothBaselinesTable.columns[bothBaselinesTable.rsq[1] > bothBaselinesTable.rsq[0] ? 1 : 0];
}

void analyseTwoState(const Curve& curve, double temperature, int mostPoints, ResultVector result) {
  if (lengthsUnusable(curve, kFewestPoints, mostPoints)) {
    return writeFailure(1, ZOLTA_CODE_BAD_INPUT, result);
  }
  if (refuses(curve, temperature, 1, result)) {
    return;
  }
  FitWorkspace workspace(curve.points());
  const Setting setting = makeSetting(curve, temperature, workspace);
  const double hint = derivativePeaks2(curve, workspace)[0];
  const Table firstStageTable = makeFirstStageTable(setting, hint);
  const Harvest harvest = harvestBaselines(firstStageTable, checkEnds(setting, firstStageTable));
  const double midpointHint = learnMidpoint(firstStageTable, hint, curve.lastX());

  decide(
      setting, firstStageTable, harvest, twoStateLadders,
      [&] { return fitBothBaselines(setting, harvest, midpointHint); },
      [&] {
        return makeGivenTable(nativeGivenSeeders, setting, harvest.baselines, midpointHint,
                              harvest.nativeCount > 0, &EndAgreement::denatured);
      },
      [&] {
        return makeGivenTable(denaturedGivenSeeders, setting, harvest.baselines, midpointHint,
                              harvest.denaturedCount > 0, &EndAgreement::native);
      },
      result);
}

}  // namespace

constexpr LadderTable twoStateLadders{kPairs, kFirstStageOrder, 23};

void twoStateInternal(const Curve& curve, double temperature, ResultVector result) {
  analyseTwoState(curve, temperature, kLargestCurve, result);
}

}  // namespace zolt

extern "C" void ZOLTA_2state(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, double temperature, double* result) noexcept {
  zolt::analyseTwoState(zolt::curveView(x, xSize, y, ySize), temperature, zolt::kAnyLength,
                        zolt::resultView(result));
}
