#include "analysis/two_state/two_state_seeds.h"

namespace zolt {
namespace {

BaselinePair pairsRead(const TwoStateSeeder& seeder, const BaselinePair& given) {
  const bool native = seeder.pairs == GivenPairs::Native || seeder.pairs == GivenPairs::Both;
  const bool denatured = seeder.pairs == GivenPairs::Denatured || seeder.pairs == GivenPairs::Both;
  return {native ? given.native : Baseline{}, denatured ? given.denatured : Baseline{}};
}

const TwoStateMask& fitOf(const TwoStateSeeder& seeder, bool paired, bool hinted) {
  const TwoStateMask* unpaired = hinted ? seeder.unpairedWithHint : seeder.unpairedFit;
  if (!paired && unpaired != nullptr) {
    return *unpaired;
  }
  return hinted ? seeder.withHint : seeder.fit;
}

}  // namespace

Parameters<1> runSeeder(const TwoStateSeeder& seeder, const Setting& setting,
                        const BaselinePair& given, double hint) {
  const Curve& curve = setting.curve;
  const BaselinePair known = pairsRead(seeder, given);
  const auto [native, denatured] = seedBaselines(curve, setting.estimates, seeder.estimate, known);
  // A hint exactly at the last x starts the midpoint there but does not hold it.
  const bool starts = hint > 0.0 && hint <= curve.lastX();
  const bool holds = hint > 0.0 && hint < curve.lastX();
  const Parameters<1> start{seeder.dG,           starts ? hint : middleOf(curve.x),
                            native.intercept,    native.slope,
                            denatured.intercept, denatured.slope,
                            setting.RT};
  const TwoStateMask& fit = fitOf(seeder, isGiven(known.native), holds);
  return plausibleOrFailed<1>(maskedFit(fit, curve, start, setting.workspace), curve.x);
}

Parameters<1> refitFromVector(const Setting& setting, const Parameters<1>& start) {
  return plausibleOrFailed<1>(
      maskedFit(fit2State_slopesHeld, setting.curve, start, setting.workspace), setting.curve.x);
}

Parameters<1> refitFromTable(const Setting& setting, const CandidateSet<1, 9>& table) {
  auto rsq = table.rsq;
  std::array<int, table.size()> ranked;
  sortDescending(rsq, ranked);
  Parameters<1> start;
  for (std::size_t i = 0; i < start.size(); ++i) {
    start[i] = table.p[static_cast<std::size_t>(ranked[i])][ParameterOrder<1>::dG(0)];
  }
  return refitFromVector(setting, start);
}

}  // namespace zolt
