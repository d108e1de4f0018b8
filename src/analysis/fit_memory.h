// The fits of one analysis, remembered. About a tenth of all starts of an analysis are starts that
// it has had before: a family whose baseline is not known starts from the same estimates as the
// general one, a weight that cannot be held leaves its start as it was, two splits of the curve
// fall on the same points. A fit depends on its points, its mask and its start alone, so that equal
// bits of these give equal bits of the result.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "fit/masked_fit.h"

namespace zolt {

// What a fit follows from. Points are told apart by their place in the curve, which must outlive
// the memory. The mask and the start of a smaller model leave the last places at 0.
struct FitKey {
  static constexpr std::size_t kMostParameters = ParameterOrder<3>::count;

  const double* x;
  std::size_t points;
  std::size_t parameters;
  HoldMask<kMostParameters> mask;
  std::array<double, kMostParameters> start;

  // Bits are compared, since -0.0 is another start than 0.0.
  bool operator==(const FitKey& other) const {
    return x == other.x && points == other.points && parameters == other.parameters &&
           mask == other.mask && std::memcmp(&start, &other.start, sizeof(start)) == 0;
  }
};

template <std::size_t Count>
FitKey fitKey(const Curve& curve, const HoldMask<Count>& mask,
              const std::array<double, Count>& start) {
  FitKey key{curve.x.data(), curve.x.size(), Count, {}, {}};
  std::copy(mask.begin(), mask.end(), key.mask.begin());
  std::copy(start.begin(), start.end(), key.start.begin());
  return key;
}

// A fit's outcome, in the first places of `p`.
struct RememberedFit {
  FitKey key;
  std::array<double, FitKey::kMostParameters> p;
  Misfit misfit;
};

class FitMemory {
 public:
  // An entry that makes only a few fits need not pay for remembering them.
  explicit FitMemory(bool remembers) : remembers_(remembers) {}

  // The outcome of the same fit, or null.
  const RememberedFit* find(const FitKey& key) const {
    for (const RememberedFit& fit : fits_) {
      if (fit.key == key) {
        return &fit;
      }
    }
    return nullptr;
  }

  template <std::size_t Count>
  void add(const FitKey& key, const std::array<double, Count>& p, const Misfit& misfit) {
    if (!remembers_) {
      return;
    }
    if (fits_.empty()) {
      fits_.reserve(kUsualFits);
    }
    RememberedFit& fit = fits_.emplace_back(RememberedFit{key, {}, misfit});
    std::copy(p.begin(), p.end(), fit.p.begin());
  }

 private:
  // Fits of a three-state analysis with its parts; one with four states takes up to twice as many.
  static constexpr std::size_t kUsualFits = 64;

  bool remembers_;
  std::vector<RememberedFit> fits_;
};

}  // namespace zolt
