// The analysis: many seeded fits, what the good ones have in common, fits again with that
// knowledge, and a fixed order of preference. One course for the three models, from top to bottom
// of analyse(); what differs between them stands in their records (two_state.h, three_state.h,
// four_state.h), which are its template argument.
#pragma once

#include "analysis/admission.h"
#include "analysis/derivative_peaks.h"
#include "analysis/entries.h"
#include "analysis/ladders.h"
#include "analysis/packaging.h"
#include "analysis/part_fits.h"
#include "frame/sorting.h"

namespace zolt {

// The candidates that need no knowledge of the baselines, and the hints that they leave.
template <class Model>
struct GeneralFamily {
  CandidateSet<Model::kTransitions, Model::kGeneral.size()> set;
  typename Model::Hints hints;
};

// What the good candidates of the general family agree on. A baseline that none of them confirms
// is (0, 0).
template <class Model>
struct Knowledge {
  Baselines baselines;
  Sides known;
  typename Model::Hints hints;
};

// The candidates fitted with one known baseline, and the column that is good enough at once.
template <class Model>
struct GivenFamily {
  CandidateSet<Model::kTransitions, Model::kGiven.size()> set;
  std::optional<std::size_t> accepted;
};

// Fits the general family, column by column and step by step: later steps build on the best of the
// earlier ones. Nothing when no candidate describes the curve at all and the model gives up then.
template <class Model>
std::optional<GeneralFamily<Model>> fitGeneralFamily(const Setting& setting) {
  constexpr int T = Model::kTransitions;
  constexpr auto& rows = Model::kGeneral;
  const auto peaks = derivativePeaks<T>(setting.curve, setting.workspace);
  GeneralFamily<Model> family{CandidateSet<T, rows.size()>(setting), Model::hintsOfPeaks(peaks)};
  auto& set = family.set;

  const auto seed = [&](Step step) {
    for (std::size_t c = 0; c < rows.size(); ++c) {
      if (rows[c].step != step) {
        continue;
      }
      if (Model::ready(family.hints, step, rows[c].learned)) {
        set.place(
            c, fitFrom<Model>(setting, rows[c].start, rows[c].learned, kNeither, {}, family.hints),
            setting);
      } else if (step == Step::WithBestJoin) {
        // A lost column is measured by its own line; one left out may be told to lose instead
        // (design.md: columns left out).
        set.rsq[c] = Model::kLeftOutLose ? -1.0 : set.rsq[c];
      }
    }
  };
  // The columns of a step share what they are built on, and differ in the weights they hold.
  const auto combine = [&](Step step, const Parameters<T>& best) {
    std::optional<Joined<T>> joined;
    for (std::size_t c = 0; c < rows.size(); ++c) {
      if (rows[c].step != step) {
        continue;
      }
      if (!joined) {
        joined = Model::join(setting, step, peaks, best);
      }
      set.place(c, Model::fitJoined(setting, *joined, rows[c].learned), setting);
    }
  };

  seed(Step::Seed);
  combine(Step::EvenSplit, {});
  combine(Step::PeakSplit, {});
  constexpr std::size_t columnsSoFar =
      std::min(firstColumn(rows, Step::BestSplit), firstColumn(rows, Step::Refit));
  const std::size_t best = bestColumn(set.rsq, 0, columnsSoFar);
  const bool described = set.rsq[best] >= 0.0;
  if (!described && Model::kGivesUpWithoutCandidate) {
    return std::nullopt;
  }
  // Without any candidate the columns still to come build on zeros (design.md: zeros for the best).
  const Parameters<T> start = described ? set.p(best) : Parameters<T>{};
  combine(Step::BestSplit, start);
  combine(Step::Refit, start);
  family.hints = Model::hintsOfJoins(family);
  seed(Step::WithBestJoin);
  return family;
}

// Collects the baselines of those candidates that describe the curve well and reach its ends.
template <class Model>
Knowledge<Model> harvest(const Setting& setting, const GeneralFamily<Model>& family) {
  constexpr int T = Model::kTransitions;
  using Order = ParameterOrder<T>;
  const auto& set = family.set;
  Baselines sum;
  int nativeCount = 0;
  int denaturedCount = 0;
  std::array<EndAgreement, Model::kGeneral.size()> ends{};
  for (std::size_t c = 0; c < set.size(); ++c) {
    if (!set.isGood(c)) {
      continue;
    }
    const auto& p = set.p(c);
    ends[c] = baselineCheck<T>(setting.curve, p, setting.yardstick);
    if (ends[c].native) {
      sum.native.intercept += p[Order::aN];
      sum.native.slope += p[Order::bN];
      ++nativeCount;
    }
    if (ends[c].denatured) {
      sum.denatured.intercept += p[Order::aU];
      sum.denatured.slope += p[Order::bU];
      ++denaturedCount;
    }
  }
  const auto mean = [](const Baseline& total, int count) {
    return count > 0 ? Baseline{total.intercept / count, total.slope / count} : Baseline{};
  };
  return {{mean(sum.native, nativeCount), mean(sum.denatured, denaturedCount)},
          {nativeCount > 0, denaturedCount > 0},
          Model::hintsOfGoodFits(setting, family, ends)};
}

// The best fit on both known baselines, when as many of these fits are good as the model asks for.
template <class Model>
std::optional<Candidate<Model::kTransitions>> fitOnBothBaselines(
    const Setting& setting, const Knowledge<Model>& knowledge) {
  constexpr auto& learned = Model::kOnBothBaselines;
  CandidateSet<Model::kTransitions, learned.size()> set(setting);
  for (std::size_t c = 0; c < learned.size(); ++c) {
    if (Model::ready(knowledge.hints, Step::Seed, learned[c])) {
      set.place(c,
                fitFrom<Model>(setting, kEndPoint, learned[c], kBoth, knowledge.baselines,
                               knowledge.hints),
                setting);
    }
  }
  auto ranked = set.rsq;
  std::array<int, learned.size()> places;
  sortDescending(ranked, places);
  for (std::size_t k = 0; k < Model::kGoodOnBothBaselines; ++k) {
    if (!(ranked[k] >= kGoodFit)) {
      return std::nullopt;
    }
  }
  return set.columns[static_cast<std::size_t>(places[0])];
}

// The column that a family with a known baseline has accepted: the first column k whose far end
// agrees while the k-th value of the ranked list is good. The list is ranked and the columns are
// not; the two are read side by side on purpose (design.md: ranked list).
template <std::size_t Columns, class AgreesAtFarEnd>
std::optional<std::size_t> acceptedColumn(std::array<double, Columns> rsq,
                                          AgreesAtFarEnd agreesAtFarEnd) {
  std::array<int, Columns> places;
  sortDescending(rsq, places);
  for (std::size_t k = 0; k < Columns; ++k) {
    if (rsq[k] >= kGoodFit && agreesAtFarEnd(k)) {
      return k;
    }
  }
  return std::nullopt;
}

// Fits one of the two families with a known baseline. The family of a baseline that is not known
// accepts nothing, but its fits may still pass the ladder.
template <class Model>
GivenFamily<Model> fitGivenFamily(const Setting& setting, const Sides& side,
                                  const Knowledge<Model>& knowledge) {
  constexpr int T = Model::kTransitions;
  constexpr auto& rows = Model::kGiven;
  const bool known = side.native ? knowledge.known.native : knowledge.known.denatured;
  GivenFamily<Model> family{CandidateSet<T, rows.size()>(setting), std::nullopt};
  auto& set = family.set;
  if (!known && !Model::kUnknownBaselineMayPass) {
    set.rsq.fill(0.0);
    return family;
  }
  for (std::size_t c = 0; c < rows.size(); ++c) {
    const GivenRow& row = rows[c];
    if (!row.refit && Model::ready(knowledge.hints, Step::Seed, row.learned)) {
      const Start start{row.start.estimate,
                        side.native ? row.start.nativeHolds : row.start.denaturedHolds};
      set.place(
          c,
          fitFrom<Model>(setting, start, row.learned, side, knowledge.baselines, knowledge.hints),
          setting);
    }
  }
  if (!known) {
    return family;
  }
  auto ranked = set.rsq;
  if constexpr (Model::kRefitsRanking) {
    // The refit ranks with R-squared 0 as long as it is not judged itself.
    for (std::size_t c = 0; c < rows.size(); ++c) {
      if (rows[c].refit) {
        ranked[c] = 0.0;
        set.place(c, Model::refitOfRanking(setting, set, ranked), setting);
      }
    }
  }
  family.accepted = acceptedColumn(ranked, [&](std::size_t c) {
    const EndAgreement ends = baselineCheck<T>(setting.curve, set.p(c), setting.yardstick);
    return side.native ? ends.denatured : ends.native;
  });
  return family;
}

// Decides in the order of what is known: both baselines, the native one, the denatured one, the
// ladder over both families with a known baseline, and the ladder over the general family.
template <class Model>
void decide(const Setting& setting, const GeneralFamily<Model>& general,
            const Knowledge<Model>& knowledge, ResultVector result) {
  constexpr int T = Model::kTransitions;
  const auto finish = [&](const Candidate<T>& candidate, int code) {
    package<T>(setting.curve, candidate.p, candidate.misfit, setting.yardstick, code, result);
  };
  const auto& [native, denatured] = knowledge.known;
  if (native && denatured) {
    if (const auto both = fitOnBothBaselines(setting, knowledge)) {
      return finish(*both, ZOLTA_CODE_BOTH_BASELINES);
    }
  }
  std::optional<GivenFamily<Model>> onNative;
  std::optional<GivenFamily<Model>> onDenatured;
  if (native) {
    onNative = fitGivenFamily(setting, kNative, knowledge);
    if (onNative->accepted) {
      return finish(onNative->set.columns[*onNative->accepted], ZOLTA_CODE_NATIVE_BASELINE);
    }
  }
  if (denatured) {
    onDenatured = fitGivenFamily(setting, kDenatured, knowledge);
    if (onDenatured->accepted) {
      return finish(onDenatured->set.columns[*onDenatured->accepted],
                    ZOLTA_CODE_DENATURED_BASELINE);
    }
  }
  if (native || denatured) {
    // The family of the other baseline takes part in the ladder, too.
    onNative = onNative ? onNative : fitGivenFamily(setting, kNative, knowledge);
    onDenatured = onDenatured ? onDenatured : fitGivenFamily(setting, kDenatured, knowledge);
    static constexpr auto kLadder = givenLadder(Model::kGiven);
    if (const auto taken = walkGiven(kLadder, onNative->set.rsq, onDenatured->set.rsq)) {
      const auto& family = taken->native ? *onNative : *onDenatured;
      return finish(family.set.columns[taken->column], taken->code);
    }
  }
  static constexpr auto kLadder = generalLadder(Model::kGeneral);
  if (const auto taken = walkGeneral(kLadder, general.set.rsq)) {
    return finish(general.set.columns[taken->column], taken->code);
  }
  writeFailure(T, ZOLTA_CODE_NO_ACCEPTABLE_FIT, result);
}

// The whole analysis of a curve of up to `mostPoints` points. A curve too short for the model gets
// the result of the next smaller one.
template <class Model>
void analyse(const Curve& curve, double temperature, int mostPoints, ResultVector result) {
  constexpr int T = Model::kTransitions;
  static_assert(codesAreSound<Model>());
  const Terms terms{kFewestPoints, mostPoints, Model::kFewestPoints, T};
  if (!admitted<T>(curve, temperature, terms, result,
                   [&]<int Fewer>() { internalAnalysis<Fewer>(curve, temperature, result); })) {
    return;
  }
  const Setting setting(curve, temperature, estimateBaselines(curve), true);
  const auto general = fitGeneralFamily<Model>(setting);
  if (!general) {
    return writeFailure(T, ZOLTA_CODE_NO_CANDIDATE, result);
  }
  decide(setting, *general, harvest(setting, *general), result);
}

}  // namespace zolt
