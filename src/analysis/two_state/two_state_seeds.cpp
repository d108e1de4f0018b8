#include "analysis/two_state/two_state_seeds.h"

namespace zolt {
namespace {

const TwoStateMask& fitOf(const TwoStateSeeder& seeder, bool paired, bool hinted) {
  const TwoStateMask* unpaired = hinted ? seeder.unpairedWithHint : seeder.unpairedFit;
  if (!paired && unpaired != nullptr) {
    return *unpaired;
  }
  return hinted ? seeder.withHint : seeder.fit;
}

}  // namespace

Candidate<1> runSeeder(const TwoStateSeeder& seeder, const Setting& setting,
                       const BaselinePair& given, double hint) {
  const Curve& curve = setting.curve;
  const BaselinePair known = pairsRead(seeder.pairs, given);
  Parameters<1> start = startVector<1>(
      setting, {seeder.dG}, {}, seedBaselines(curve, setting.estimates, seeder.estimate, known));
  // A hint exactly at the last x starts the midpoint there but does not hold it.
  if (hint > 0.0 && hint <= curve.lastX()) {
    start[ParameterOrder<1>::Cm(0)] = hint;
  }
  const bool holdsHint = hint > 0.0 && hint < curve.lastX();
  const TwoStateMask& fit = fitOf(seeder, isGiven(known.native), holdsHint);
  return settled<1>(setting, fitCurve<1>(setting, fit, start));
}

Candidate<1> refitFromVector(const Setting& setting, const Parameters<1>& start) {
  return settled<1>(setting, fitCurve<1>(setting, fit2State_slopesHeld, start));
}

Candidate<1> refitFromTable(const Setting& setting, const CandidateSet<1, 9>& table) {
  auto rsq = table.rsq;
  std::array<int, CandidateSet<1, 9>::size()> ranked;
  sortDescending(rsq, ranked);
  Parameters<1> start;
  for (std::size_t i = 0; i < start.size(); ++i) {
    start[i] = table.p(static_cast<std::size_t>(ranked[i]))[ParameterOrder<1>::dG(0)];
  }
  return refitFromVector(setting, start);
}

}  // namespace zolt
