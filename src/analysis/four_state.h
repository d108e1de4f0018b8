// The record of the four-state model: three transitions, and the weights of the first two, which
// the midpoints, the join of three parts of the curve or the good fits may teach. Its columns stand
// in groups of four that share a start and differ in the weights they hold: none, the second, the
// first, both.
#pragma once

#include "analysis/analysis.h"

namespace zolt {

struct FourState {
  static constexpr int kTransitions = 3;
  static constexpr int kFewestPoints = 24;
  static constexpr int kFewestMidpointPoints = 14;
  static constexpr std::array<double, 3> kEnergies{4000.0, 8000.0, 12000.0};  // cal/mol
  using WeightPair = std::array<double, 2>;
  static constexpr WeightPair kEvenWeights{0.35, 0.3};

  // The weights with which every fit starts; some fits hold them. Those of single candidates stand
  // as they were found, those of the good fits have been brought into range.
  struct Hints {
    WeightPair weights;
    bool inRange;
  };

  static constexpr Held kWeight1{.weight1 = true};
  static constexpr Held kWeight2{.weight2 = true};
  static constexpr Held kWeights = kWeight1 | kWeight2;

  static constexpr auto kGeneral = std::to_array<GeneralRow>({
      {ZOLTA_4STATE_ALL_FREE, Step::Seed, kAllFree},
      {ZOLTA_4STATE_ALL_FREE_WEIGHT2, Step::Seed, kAllFree, kWeight2},
      {ZOLTA_4STATE_ALL_FREE_WEIGHT1, Step::Seed, kAllFree, kWeight1},
      {ZOLTA_4STATE_ALL_FREE_WEIGHTS, Step::Seed, kAllFree, kWeights},
      {ZOLTA_4STATE_THREE_POINT, Step::Seed, kThreePoint},
      {ZOLTA_4STATE_THREE_POINT_WEIGHT2, Step::Seed, kThreePoint, kWeight2},
      {ZOLTA_4STATE_THREE_POINT_WEIGHT1, Step::Seed, kThreePoint, kWeight1},
      {ZOLTA_4STATE_THREE_POINT_WEIGHTS, Step::Seed, kThreePoint, kWeights},
      {ZOLTA_4STATE_END_POINT, Step::Seed, kEndPoint},
      {ZOLTA_4STATE_END_POINT_WEIGHT2, Step::Seed, kEndPoint, kWeight2},
      {ZOLTA_4STATE_END_POINT_WEIGHT1, Step::Seed, kEndPoint, kWeight1},
      {ZOLTA_4STATE_END_POINT_WEIGHTS, Step::Seed, kEndPoint, kWeights},
      {ZOLTA_4STATE_WINDOW, Step::Seed, kWindow},
      {ZOLTA_4STATE_WINDOW_WEIGHT2, Step::Seed, kWindow, kWeight2},
      {ZOLTA_4STATE_WINDOW_WEIGHT1, Step::Seed, kWindow, kWeight1},
      {ZOLTA_4STATE_WINDOW_WEIGHTS, Step::Seed, kWindow, kWeights},
      {ZOLTA_4STATE_THIRDS, Step::EvenSplit, kJoined},
      {ZOLTA_4STATE_THIRDS_WEIGHT2, Step::EvenSplit, kJoined, kWeight2},
      {ZOLTA_4STATE_THIRDS_WEIGHT1, Step::EvenSplit, kJoined, kWeight1},
      {ZOLTA_4STATE_THIRDS_WEIGHTS, Step::EvenSplit, kJoined, kWeights},
      {ZOLTA_4STATE_THIRDS_PEAKS, Step::PeakSplit, kJoined},
      {ZOLTA_4STATE_THIRDS_PEAKS_WEIGHT2, Step::PeakSplit, kJoined, kWeight2},
      {ZOLTA_4STATE_THIRDS_PEAKS_WEIGHT1, Step::PeakSplit, kJoined, kWeight1},
      {ZOLTA_4STATE_THIRDS_PEAKS_WEIGHTS, Step::PeakSplit, kJoined, kWeights},
      {ZOLTA_4STATE_THIRDS_BEST, Step::BestSplit, kJoined},
      {ZOLTA_4STATE_THIRDS_BEST_WEIGHT2, Step::BestSplit, kJoined, kWeight2},
      {ZOLTA_4STATE_THIRDS_BEST_WEIGHT1, Step::BestSplit, kJoined, kWeight1},
      {ZOLTA_4STATE_THIRDS_BEST_WEIGHTS, Step::BestSplit, kJoined, kWeights},
      {ZOLTA_4STATE_ALL_FREE_BEST_WEIGHTS, Step::WithBestJoin, kAllFree, kWeights},
      {ZOLTA_4STATE_THREE_POINT_BEST_WEIGHTS, Step::WithBestJoin, kThreePoint, kWeights},
      {ZOLTA_4STATE_END_POINT_BEST_WEIGHTS, Step::WithBestJoin, kEndPoint, kWeights},
      {ZOLTA_4STATE_WINDOW_BEST_WEIGHTS, Step::WithBestJoin, kWindow, kWeights},
  });

  static constexpr GivenStart kFreeSide{kFreeSideOffset, Estimate::ThreePoint, kHoldsNativeIfGiven,
                                        kHoldsDenaturedIfGiven};
  static constexpr GivenStart kCrossedFreeSide{kFreeSideOffset, Estimate::ThreePoint,
                                               kHoldsNativeIfGiven, kHoldsCrossed};
  static constexpr auto kGiven = std::to_array<GivenRow>({
      {ZOLTA_4STATE_NATIVE_FREE_SIDE, ZOLTA_4STATE_DENATURED_FREE_SIDE, kCrossedFreeSide},
      {ZOLTA_4STATE_NATIVE_FREE_SIDE_WEIGHT2, ZOLTA_4STATE_DENATURED_FREE_SIDE_WEIGHT2, kFreeSide,
       kWeight2},
      {ZOLTA_4STATE_NATIVE_FREE_SIDE_WEIGHT1, ZOLTA_4STATE_DENATURED_FREE_SIDE_WEIGHT1, kFreeSide,
       kWeight1},
      {ZOLTA_4STATE_NATIVE_FREE_SIDE_WEIGHTS, ZOLTA_4STATE_DENATURED_FREE_SIDE_WEIGHTS, kFreeSide,
       kWeights},
      {ZOLTA_4STATE_NATIVE_THREE_POINT, ZOLTA_4STATE_DENATURED_THREE_POINT, kGivenThreePoint},
      {ZOLTA_4STATE_NATIVE_THREE_POINT_WEIGHT2, ZOLTA_4STATE_DENATURED_THREE_POINT_WEIGHT2,
       kGivenThreePoint, kWeight2},
      {ZOLTA_4STATE_NATIVE_THREE_POINT_WEIGHT1, ZOLTA_4STATE_DENATURED_THREE_POINT_WEIGHT1,
       kGivenThreePoint, kWeight1},
      {ZOLTA_4STATE_NATIVE_THREE_POINT_WEIGHTS, ZOLTA_4STATE_DENATURED_THREE_POINT_WEIGHTS,
       kGivenThreePoint, kWeights},
      {ZOLTA_4STATE_NATIVE_END_POINT, ZOLTA_4STATE_DENATURED_END_POINT, kGivenEndPoint},
      {ZOLTA_4STATE_NATIVE_END_POINT_WEIGHT2, ZOLTA_4STATE_DENATURED_END_POINT_WEIGHT2,
       kGivenEndPoint, kWeight2},
      {ZOLTA_4STATE_NATIVE_END_POINT_WEIGHT1, ZOLTA_4STATE_DENATURED_END_POINT_WEIGHT1,
       kGivenEndPoint, kWeight1},
      {ZOLTA_4STATE_NATIVE_END_POINT_WEIGHTS, ZOLTA_4STATE_DENATURED_END_POINT_WEIGHTS,
       kGivenEndPoint, kWeights},
      {ZOLTA_4STATE_NATIVE_WINDOW, ZOLTA_4STATE_DENATURED_WINDOW, kGivenWindow},
      {ZOLTA_4STATE_NATIVE_WINDOW_WEIGHT2, ZOLTA_4STATE_DENATURED_WINDOW_WEIGHT2, kGivenWindow,
       kWeight2},
      {ZOLTA_4STATE_NATIVE_WINDOW_WEIGHT1, ZOLTA_4STATE_DENATURED_WINDOW_WEIGHT1, kGivenWindow,
       kWeight1},
      {ZOLTA_4STATE_NATIVE_WINDOW_WEIGHTS, ZOLTA_4STATE_DENATURED_WINDOW_WEIGHTS, kGivenWindow,
       kWeights},
  });

  static constexpr std::array<Held, 4> kOnBothBaselines{Held{}, kWeight2, kWeight1, kWeights};
  static constexpr std::size_t kGoodOnBothBaselines = 1;

  static constexpr std::array<Held, 4> kMidpointChain{Held{}, kWeight1, kWeight2, kWeights};

  static constexpr bool kGivesUpWithoutCandidate = false;
  static constexpr bool kLeftOutLose = true;
  static constexpr bool kUnknownBaselineMayPass = false;
  static constexpr bool kRefitsRanking = false;

  // Weights that a join could not tell are not held throughout.
  static bool ready(const Hints& hints, Step step, const Held&) {
    const auto usable = [](double weight) { return weight > 0.0 && weight < 0.99; };
    return step != Step::WithBestJoin || (usable(hints.weights[0]) && usable(hints.weights[1]));
  }
  static Held takeHints(const Hints& hints, const Held& learned, const Curve& curve,
                        Parameters<3>& start);

  static Hints hintsOfPeaks(const std::array<double, 3>& peaks);
  static Hints hintsOfJoins(const GeneralFamily<FourState>& family);
  static Hints hintsOfGoodFits(const Setting& setting, const GeneralFamily<FourState>& family,
                               std::span<const EndAgreement> ends);

  // The join of three parts of the curve.
  static Joined<3> join(const Setting& setting, Step step, const std::array<double, 3>& peaks,
                        const Parameters<3>& best);
  static std::optional<Candidate<3>> fitJoined(const Setting& setting, const Joined<3>& joined,
                                               const Held& learned);

  static std::optional<Candidate<3>> fitOnBaselines(const Setting& setting,
                                                    const Baselines& baselines);
};

// The thirds of a curve fitted as two-state transitions and put together, and the fit from there
// with some weights held. The curve is split between three midpoints, or at fixed shares of its
// points.
Joined<3> joinThirds(const Setting& setting, const std::optional<std::array<double, 3>>& midpoints);
std::optional<Candidate<3>> thirdsFit(const Setting& setting, const Joined<3>& thirds,
                                      const Held& weights);

}  // namespace zolt
