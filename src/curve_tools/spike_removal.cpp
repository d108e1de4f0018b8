#include "curve_tools/spike_removal.h"

#include <algorithm>

#include "frame/scalar_kit.h"
#include "zolt_fitting_engine.h"

namespace zolt {

void ChemDenatKillSpikesArrays(Row y, std::span<std::int32_t> mask) {
  std::fill(mask.begin(), mask.end(), 1);
  const std::size_t n = y.size();
  if (n < 2) {
    return;
  }
  // A jump counts when it exceeds a fifth of the neighbour's reading. Readings are lifted by 1, so
  // that one near 0 does not make the test meaningless.
  const auto jumps = [y](std::size_t point, std::size_t neighbour) {
    const double lifted = y[neighbour] + 1.0;
    return absValue((y[point] + 1.0) - lifted) > lifted * 20.0 / 100.0;
  };
  for (std::size_t i = 1; i + 1 < n; ++i) {
    if (jumps(i, i - 1) && jumps(i, i + 1)) {
      mask[i] = 0;
    }
  }
  // The ends have one neighbour, which must be sound itself.
  if (mask[1] == 1 && jumps(0, 1)) {
    mask[0] = 0;
  }
  if (mask[n - 2] == 1 && jumps(n - 1, n - 2)) {
    mask[n - 1] = 0;
  }
}

}  // namespace zolt

extern "C" void ZOLTA_ChemDenatKillSpikes(const double* y, const int32_t* ySize, int32_t* mask,
                                          int32_t* maskSize) noexcept {
  const zolt::Row row = zolt::rowView(y, ySize);
  maskSize[0] = 1;
  maskSize[1] = static_cast<int32_t>(row.size());
  zolt::ChemDenatKillSpikesArrays(row, {mask, row.size()});
}
