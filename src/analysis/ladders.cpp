#include "analysis/ladders.h"

namespace zolt {

std::optional<LadderOutcome> walkGiven(std::span<const GivenRung> ladder,
                                       std::span<const double> nativeRsq,
                                       std::span<const double> denaturedRsq) {
  constexpr int kThresholds = 20;
  for (int k = 0; k < kThresholds; ++k) {
    const double threshold = 0.9995 - 0.0005 * k;
    for (const GivenRung& rung : ladder) {
      const double limit = threshold + rung.offset;
      const double nativeValue = nativeRsq[rung.column];
      const double denaturedValue = denaturedRsq[rung.column];
      if (nativeValue >= limit || denaturedValue >= limit) {
        const bool native = nativeValue > denaturedValue;
        return LadderOutcome{rung.column, native ? rung.nativeCode : rung.denaturedCode, native};
      }
    }
  }
  return std::nullopt;
}

std::optional<LadderOutcome> walkGeneral(std::span<const GeneralRung> ladder,
                                         std::span<const double> rsq) {
  constexpr int kThresholds = 50;
  for (int k = 0; k < kThresholds; ++k) {
    const double threshold = 0.999 - 0.001 * k;
    for (const GeneralRung& rung : ladder) {
      if (rsq[rung.column] >= threshold) {
        return LadderOutcome{rung.column, rung.code, false};
      }
    }
  }
  return std::nullopt;
}

}  // namespace zolt
