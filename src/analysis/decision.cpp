#include "analysis/decision.h"

namespace zolt {

std::optional<LadderOutcome> walkPairs(std::span<const PairStep> steps,
                                       std::span<const double> nativeRsq,
                                       std::span<const double> denaturedRsq) {
  constexpr int kThresholds = 20;
  for (int k = 0; k < kThresholds; ++k) {
    const double threshold = 0.9995 - 0.0005 * k;
    for (const PairStep& step : steps) {
      const auto column = static_cast<std::size_t>(step.column);
      const double limit = threshold + step.offset;
      if (nativeRsq[column] >= limit || denaturedRsq[column] >= limit) {
        const bool native = nativeRsq[column] > denaturedRsq[column];
        return LadderOutcome{column, native ? step.nativeCode : step.denaturedCode, native};
      }
    }
  }
  return std::nullopt;
}

std::optional<LadderOutcome> walkColumns(std::span<const int> order, int firstCode,
                                         std::span<const double> rsq) {
  constexpr int kThresholds = 50;
  for (int k = 0; k < kThresholds; ++k) {
    const double threshold = 0.999 - 0.001 * k;
    for (std::size_t place = 0; place < order.size(); ++place) {
      const auto column = static_cast<std::size_t>(order[place]);
      if (rsq[column] >= threshold) {
        return LadderOutcome{column, firstCode + static_cast<int>(place), false};
      }
    }
  }
  return std::nullopt;
}

}  // namespace zolt
