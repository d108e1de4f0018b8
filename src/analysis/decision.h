// The decision tree that the three analyses share, over the candidates of each.
#pragma once

#include "analysis/candidates.h"

namespace zolt {

// The column that a given-baseline stage accepts: the first column k whose far end agrees while the
// k-th value of the ranked list is good. The list is ranked and the columns are not; the two are
// read side by side on purpose.
template <std::size_t Columns>
std::optional<std::size_t> acceptedColumn(std::array<double, Columns> rsq,
                                          const std::array<EndAgreement, Columns>& ends,
                                          bool EndAgreement::*farEnd) {
  std::array<int, Columns> places;
  sortDescending(rsq, places);
  for (std::size_t k = 0; k < Columns; ++k) {
    if (ends[k].*farEnd && rsq[k] >= kGoodFit) {
      return k;
    }
  }
  return std::nullopt;
}

// A step of the first ladder: a column of the native-given and of the denatured-given family, what
// its limit adds to the threshold, and the codes that stand for the two.
struct PairStep {
  int column;
  double offset;
  int nativeCode;
  int denaturedCode;
};

struct LadderOutcome {
  std::size_t column;
  int code;
  bool native;
};

// Walks the threshold from 0.9995 down to 0.99. The first pair with a member at its limit is taken;
// of the two the native column is chosen when it is strictly better.
std::optional<LadderOutcome> walkPairs(std::span<const PairStep> steps,
                                       std::span<const double> nativeRsq,
                                       std::span<const double> denaturedRsq);

// Walks the threshold from 0.999 down to 0.95 over the columns in the order of preference. The code
// is `firstCode` plus the place in that order.
std::optional<LadderOutcome> walkColumns(std::span<const int> order, int firstCode,
                                         std::span<const double> rsq);

// What a model's ladders walk.
struct LadderTable {
  std::span<const PairStep> pairs;
  std::span<const int> order;
  int firstCode;
};

// The ladders of the three models; each stands in its model's driver.
extern const LadderTable twoStateLadders;
extern const LadderTable threeStateLadders;
extern const LadderTable fourStateLadders;

// A given-baseline family, and the column that its stage accepts when its baseline is known.
template <int Transitions, std::size_t Columns>
struct GivenFamily {
  CandidateSet<Transitions, Columns> set;
  std::optional<std::size_t> accepted;
};

// Decides in the order of what is known: both baselines, the native one, the denatured one, the
// ladder over both given-baseline families, and the ladder over the general family. The families
// are made as they are asked for, each even when only the other's baseline is known, since the
// ladder weighs them all. `fitBoth` gives a candidate or none; `makeNative` and `makeDenatured`
// give a GivenFamily.
template <int Transitions, std::size_t Columns, class FitBoth, class MakeNative,
          class MakeDenatured>
void decide(const Setting& setting, const CandidateSet<Transitions, Columns>& general,
            const Harvest& harvest, const LadderTable& ladders, FitBoth fitBoth,
            MakeNative makeNative, MakeDenatured makeDenatured, ResultVector result) {
  const auto finish = [&](const Candidate<Transitions>& candidate, int code) {
    packageCandidate<Transitions>(setting.curve, candidate, setting.yardstick, code, result);
  };
  if (harvest.nativeCount > 0 && harvest.denaturedCount > 0) {
    if (const std::optional<Candidate<Transitions>> both = fitBoth()) {
      return finish(*both, ZOLTA_CODE_BOTH_BASELINES);
    }
  }
  if (!harvest.empty()) {
    const auto native = makeNative();
    if (native.accepted) {
      return finish(native.set.columns[*native.accepted], ZOLTA_CODE_NATIVE_BASELINE);
    }
    const auto denatured = makeDenatured();
    if (denatured.accepted) {
      return finish(denatured.set.columns[*denatured.accepted], ZOLTA_CODE_DENATURED_BASELINE);
    }
    if (const auto taken = walkPairs(ladders.pairs, native.set.rsq, denatured.set.rsq)) {
      return finish((taken->native ? native : denatured).set.columns[taken->column], taken->code);
    }
  }
  if (const auto taken = walkColumns(ladders.order, ladders.firstCode, general.rsq)) {
    return finish(general.columns[taken->column], taken->code);
  }
  writeFailure(Transitions, ZOLTA_CODE_NO_ACCEPTABLE_FIT, result);
}

}  // namespace zolt
