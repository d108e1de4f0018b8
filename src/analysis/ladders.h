// The order of preference among candidates. A ladder visits its columns in the order of their codes
// and lets the first one pass whose R-squared reaches a threshold; when none does, the threshold
// falls a step and the visit starts again.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "analysis/seeders.h"

namespace zolt {

// A rung of the ladder over both families with a known baseline.
struct GivenRung {
  std::size_t column;
  double offset;  // what the limit of this column adds to the threshold
  int nativeCode;
  int denaturedCode;
};

// A rung of the ladder over the general family.
struct GeneralRung {
  std::size_t column;
  int code;
};

// The ladder of a model's rows: codes number the paths in the order of preference.
template <std::size_t Columns>
constexpr std::array<GivenRung, Columns> givenLadder(const std::array<GivenRow, Columns>& rows) {
  std::array<GivenRung, Columns> ladder{};
  for (std::size_t c = 0; c < Columns; ++c) {
    ladder[c] = {c, rows[c].start.offset, rows[c].nativeCode, rows[c].denaturedCode};
  }
  std::sort(ladder.begin(), ladder.end(),
            [](const GivenRung& a, const GivenRung& b) { return a.nativeCode < b.nativeCode; });
  return ladder;
}
template <std::size_t Columns>
constexpr std::array<GeneralRung, Columns> generalLadder(
    const std::array<GeneralRow, Columns>& rows) {
  std::array<GeneralRung, Columns> ladder{};
  for (std::size_t c = 0; c < Columns; ++c) {
    ladder[c] = {c, rows[c].code};
  }
  std::sort(ladder.begin(), ladder.end(),
            [](const GeneralRung& a, const GeneralRung& b) { return a.code < b.code; });
  return ladder;
}

// Whether all codes of a model's paths differ, rise along each ladder with the first ladder below
// the second, and keep clear of the codes that mean something else. The paths of four states have
// taken the two codes of the midpoint fits as well; no other model may.
template <class Model>
constexpr bool codesAreSound() {
  constexpr int kNoPaths[] = {
      ZOLTA_CODE_BAD_INPUT,          ZOLTA_CODE_BOTH_BASELINES, ZOLTA_CODE_NATIVE_BASELINE,
      ZOLTA_CODE_DENATURED_BASELINE, ZOLTA_CODE_NO_TRANSITION,  ZOLTA_CODE_NO_CANDIDATE,
      ZOLTA_CODE_NO_ACCEPTABLE_FIT,  ZOLTA_CODE_MIDPOINT_FIT,   ZOLTA_CODE_MIDPOINT_REJECTED};
  const auto* end = std::end(kNoPaths) - (Model::kTransitions == 3 ? 2 : 0);
  int last = 0;
  const auto follows = [&](int code) {
    const bool sound = code > last && std::find(std::begin(kNoPaths), end, code) == end;
    last = code;
    return sound;
  };
  for (const GivenRung& rung : givenLadder(Model::kGiven)) {
    if (!follows(rung.nativeCode) || !follows(rung.denaturedCode)) {
      return false;
    }
  }
  for (const GeneralRung& rung : generalLadder(Model::kGeneral)) {
    if (!follows(rung.code)) {
      return false;
    }
  }
  return true;
}

// The column that a ladder ends at, its code, and the family in which it was better.
struct LadderOutcome {
  std::size_t column;
  int code;
  bool native;
};

// Walks the threshold from 0.9995 down to 0.99. The first column with a member at its limit is
// taken, in whichever family; of the two members the native one is chosen when it is strictly
// better.
std::optional<LadderOutcome> walkGiven(std::span<const GivenRung> ladder,
                                       std::span<const double> nativeRsq,
                                       std::span<const double> denaturedRsq);

// Walks the threshold from 0.999 down to 0.95.
std::optional<LadderOutcome> walkGeneral(std::span<const GeneralRung> ladder,
                                         std::span<const double> rsq);

}  // namespace zolt
