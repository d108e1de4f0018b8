// The record of the three-state model: two transitions, and one weight that the join of the two
// halves of the curve may teach.
#pragma once

#include "analysis/analysis.h"

namespace zolt {

struct ThreeState {
  static constexpr int kTransitions = 2;
  static constexpr int kFewestPoints = 18;
  static constexpr int kFewestMidpointPoints = 10;
  static constexpr std::array<double, 2> kEnergies{4000.0, 8000.0};  // cal/mol
  static constexpr std::array<double, 1> kEvenWeights{0.5};

  // The weight of the best join, or -1. With known baselines it is guarded: held only when it lies
  // clear of 0 and 1.
  struct Hints {
    double weight;
    bool guarded;
  };

  static constexpr Held kWeight{.weight1 = true};

  static constexpr auto kGeneral = std::to_array<GeneralRow>({
      {ZOLTA_3STATE_ALL_FREE, Step::Seed, kAllFree},
      {ZOLTA_3STATE_THREE_POINT, Step::Seed, kThreePoint},
      {ZOLTA_3STATE_END_POINT, Step::Seed, kEndPoint},
      {ZOLTA_3STATE_WINDOW, Step::Seed, kWindow},
      {ZOLTA_3STATE_HALVES, Step::EvenSplit, kJoined},
      {ZOLTA_3STATE_HALVES_PEAKS, Step::PeakSplit, kJoined},
      {ZOLTA_3STATE_HALVES_BEST, Step::BestSplit, kJoined},
      {ZOLTA_3STATE_ALL_FREE_WEIGHT, Step::WithBestJoin, kAllFree, kWeight},
      {ZOLTA_3STATE_THREE_POINT_WEIGHT, Step::WithBestJoin, kThreePoint, kWeight},
      {ZOLTA_3STATE_END_POINT_WEIGHT, Step::WithBestJoin, kEndPoint, kWeight},
      {ZOLTA_3STATE_WINDOW_WEIGHT, Step::WithBestJoin, kWindow, kWeight},
  });

  static constexpr auto kGiven = std::to_array<GivenRow>({
      {ZOLTA_3STATE_NATIVE_FREE_SIDE, ZOLTA_3STATE_DENATURED_FREE_SIDE, kGivenFreeSide},
      {ZOLTA_3STATE_NATIVE_FREE_SIDE_WEIGHT, ZOLTA_3STATE_DENATURED_FREE_SIDE_WEIGHT,
       kGivenFreeSide, kWeight},
      {ZOLTA_3STATE_NATIVE_THREE_POINT, ZOLTA_3STATE_DENATURED_THREE_POINT, kGivenThreePoint},
      {ZOLTA_3STATE_NATIVE_THREE_POINT_WEIGHT, ZOLTA_3STATE_DENATURED_THREE_POINT_WEIGHT,
       kGivenThreePoint, kWeight},
      {ZOLTA_3STATE_NATIVE_END_POINT, ZOLTA_3STATE_DENATURED_END_POINT, kGivenEndPoint},
      {ZOLTA_3STATE_NATIVE_END_POINT_WEIGHT, ZOLTA_3STATE_DENATURED_END_POINT_WEIGHT,
       kGivenEndPoint, kWeight},
      {ZOLTA_3STATE_NATIVE_WINDOW, ZOLTA_3STATE_DENATURED_WINDOW, kGivenWindow},
      {ZOLTA_3STATE_NATIVE_WINDOW_WEIGHT, ZOLTA_3STATE_DENATURED_WINDOW_WEIGHT, kGivenWindow,
       kWeight},
  });

  static constexpr std::array<Held, 2> kOnBothBaselines{Held{}, kWeight};
  static constexpr std::size_t kGoodOnBothBaselines = 1;

  static constexpr std::array<Held, 2> kMidpointChain{Held{}, kWeight};

  static constexpr bool kGivesUpWithoutCandidate = true;
  static constexpr bool kLeftOutLose = false;
  static constexpr bool kUnknownBaselineMayPass = true;
  static constexpr bool kRefitsRanking = false;

  // The upper bound differs on purpose (design.md: bounds of a weight).
  static bool ready(const Hints& hints, Step, const Held& learned) {
    return !learned.weight1 || (hints.weight > 0.0 && hints.weight < (hints.guarded ? 1.0 : 0.99));
  }
  static Held takeHints(const Hints& hints, const Held& learned, const Curve& curve,
                        Parameters<2>& start);

  static Hints hintsOfPeaks(const std::array<double, 2>&) { return {-1.0, false}; }
  static Hints hintsOfJoins(const GeneralFamily<ThreeState>& family);
  static Hints hintsOfGoodFits(const Setting&, const GeneralFamily<ThreeState>& family,
                               std::span<const EndAgreement>) {
    return {family.hints.weight, true};
  }

  // The join of two halves of the curve.
  static Joined<2> join(const Setting& setting, Step step, const std::array<double, 2>& peaks,
                        const Parameters<2>& best);
  static std::optional<Candidate<2>> fitJoined(const Setting& setting, const Joined<2>& joined,
                                               const Held& learned);

  static std::optional<Candidate<2>> fitOnBaselines(const Setting& setting,
                                                    const Baselines& baselines);
};

// The halves of a curve fitted as two-state transitions and put together, and the fit from there.
// The curve is split between two midpoints, or in its middle.
Joined<2> joinHalves(const Setting& setting, const std::optional<std::array<double, 2>>& midpoints);
std::optional<Candidate<2>> halvesFit(const Setting& setting, const Joined<2>& halves);

}  // namespace zolt
