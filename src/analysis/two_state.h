// The record of the two-state model: one transition, whose midpoint may be known beforehand.
#pragma once

#include "analysis/analysis.h"

namespace zolt {

struct TwoState {
  static constexpr int kTransitions = 1;
  static constexpr int kFewestPoints = 8;
  static constexpr int kFewestMidpointPoints = 6;
  static constexpr std::array<double, 1> kEnergies{6000.0};  // cal/mol
  static constexpr std::array<double, 0> kEvenWeights{};

  // A midpoint known beforehand, in the unit of x; not above 0 when there is none.
  struct Hints {
    double midpoint;
  };

  static constexpr Held kHint{.midpoints = true};

  static constexpr auto kGeneral = std::to_array<GeneralRow>({
      {ZOLTA_2STATE_ALL_FREE, Step::Seed, kAllFree},
      {ZOLTA_2STATE_THREE_POINT, Step::Seed, kThreePoint},
      {ZOLTA_2STATE_END_POINT, Step::Seed, kEndPoint},
      {ZOLTA_2STATE_WINDOW, Step::Seed, kWindow},
      {ZOLTA_2STATE_ALL_FREE_HINT, Step::Seed, kAllFree, kHint},
      {ZOLTA_2STATE_THREE_POINT_HINT, Step::Seed, kThreePoint, kHint},
      {ZOLTA_2STATE_END_POINT_HINT, Step::Seed, kEndPoint, kHint},
      {ZOLTA_2STATE_WINDOW_HINT, Step::Seed, kWindow, kHint},
      {ZOLTA_2STATE_REFIT, Step::Refit, kRefitted},
  });

  static constexpr auto kGiven = std::to_array<GivenRow>({
      {ZOLTA_2STATE_NATIVE_FREE_SIDE, ZOLTA_2STATE_DENATURED_FREE_SIDE, kGivenFreeSide},
      {ZOLTA_2STATE_NATIVE_FREE_SIDE_HINT, ZOLTA_2STATE_DENATURED_FREE_SIDE_HINT, kGivenFreeSide,
       kHint},
      {ZOLTA_2STATE_NATIVE_THREE_POINT, ZOLTA_2STATE_DENATURED_THREE_POINT, kGivenThreePoint},
      {ZOLTA_2STATE_NATIVE_THREE_POINT_HINT, ZOLTA_2STATE_DENATURED_THREE_POINT_HINT,
       kGivenThreePoint, kHint},
      {ZOLTA_2STATE_NATIVE_END_POINT, ZOLTA_2STATE_DENATURED_END_POINT, kGivenEndPoint},
      {ZOLTA_2STATE_NATIVE_END_POINT_HINT, ZOLTA_2STATE_DENATURED_END_POINT_HINT, kGivenEndPoint,
       kHint},
      {ZOLTA_2STATE_NATIVE_WINDOW, ZOLTA_2STATE_DENATURED_WINDOW, kGivenWindow},
      {ZOLTA_2STATE_NATIVE_WINDOW_HINT, ZOLTA_2STATE_DENATURED_WINDOW_HINT, kGivenWindow, kHint},
      {ZOLTA_2STATE_NATIVE_REFIT, ZOLTA_2STATE_DENATURED_REFIT, kGivenWindow, {}, true},
  });

  using GivenSet = CandidateSet<1, kGiven.size()>;

  static constexpr std::array<Held, 2> kOnBothBaselines{Held{}, kHint};
  static constexpr std::size_t kGoodOnBothBaselines = 2;

  static constexpr std::array<Held, 1> kMidpointChain{};

  static constexpr bool kGivesUpWithoutCandidate = false;
  static constexpr bool kLeftOutLose = false;
  static constexpr bool kUnknownBaselineMayPass = true;
  static constexpr bool kRefitsRanking = true;

  static bool ready(const Hints& hints, Step, const Held& learned) {
    return !learned.midpoints || hints.midpoint > 0.0;
  }
  // A hint exactly at the last x starts the midpoint there but does not hold it.
  static Held takeHints(const Hints& hints, const Held& learned, const Curve& curve,
                        Parameters<1>& start);

  static Hints hintsOfPeaks(const std::array<double, 1>& peak) { return {peak[0]}; }
  static Hints hintsOfJoins(const GeneralFamily<TwoState>& family);
  static Hints hintsOfGoodFits(const Setting& setting, const GeneralFamily<TwoState>& family,
                               std::span<const EndAgreement> ends);

  // The best candidate, fitted once more with its slopes held.
  static Joined<1> join(const Setting&, Step, const std::array<double, 1>&,
                        const Parameters<1>& best) {
    return {best, std::nullopt};
  }
  static std::optional<Candidate<1>> fitJoined(const Setting& setting, const Joined<1>& joined,
                                               const Held& learned);

  // A refit from the first seven numbers of the table of candidates in the order of `ranked`. The
  // table is stored parameter by parameter, so these are the free energies of the seven best
  // candidates; they stand as they are in the places of dG, Cm, the baselines and RT (design.md:
  // refit of the ranking).
  static std::optional<Candidate<1>> refitOfRanking(const Setting& setting, const GivenSet& set,
                                                    std::array<double, kGiven.size()> ranked);

  static std::optional<Candidate<1>> fitOnBaselines(const Setting& setting,
                                                    const Baselines& baselines);
};

}  // namespace zolt
