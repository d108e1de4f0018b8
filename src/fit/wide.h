// Wide registers: several doubles side by side, each lane computing what one double would.
#pragma once

#include <cstddef>

namespace zolt {

// A function marked ZOLT_WIDE is built for several register widths, and the loader picks the
// widest that the processor has. The lanes never mix and nothing is fused, so every build of it
// gives the same bits.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__ELF__) && \
    defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define ZOLT_WIDE __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define ZOLT_WIDE
#endif

#define ZOLT_INLINE inline __attribute__((always_inline))

using Lanes4 = double __attribute__((vector_size(32)));
using Lanes8 = double __attribute__((vector_size(64)));

// Their bits.
using Bits4 = long long __attribute__((vector_size(32)));
using Bits8 = long long __attribute__((vector_size(64)));

template <class Lanes>
inline constexpr int laneCount = static_cast<int>(sizeof(Lanes) / sizeof(double));

// Lanes as they stand in memory, at any double's address. Packing says so to every compiler, where
// an alignment attribute of the lanes themselves would get lost on the way through a template.
template <class Lanes>
struct __attribute__((packed, may_alias)) StoredLanes {
  Lanes lanes;

  ZOLT_INLINE void operator=(const Lanes& value) { lanes = value; }
  ZOLT_INLINE void operator+=(const Lanes& value) { lanes = lanes + value; }
};

// The lanes that begin at `at`, to be read and to be written.
template <class Lanes>
ZOLT_INLINE Lanes lanesAt(const double* at) {
  return reinterpret_cast<const StoredLanes<Lanes>*>(at)->lanes;
}
template <class Lanes>
ZOLT_INLINE StoredLanes<Lanes>& lanesTo(double* at) {
  return *reinterpret_cast<StoredLanes<Lanes>*>(at);
}

// The magnitude of each lane.
template <class Lanes>
ZOLT_INLINE Lanes magnitude(const Lanes& lanes) {
  constexpr long long kAllButSign = 0x7fffffffffffffff;
  if constexpr (sizeof(Lanes) == sizeof(Lanes8)) {
    return reinterpret_cast<Lanes>(reinterpret_cast<Bits8>(lanes) & kAllButSign);
  } else {
    return reinterpret_cast<Lanes>(reinterpret_cast<Bits4>(lanes) & kAllButSign);
  }
}

// Whether a comparison of lanes holds in any of them.
template <class Mask>
ZOLT_INLINE bool anyLane(const Mask& mask) {
  if constexpr (sizeof(Mask) == sizeof(Bits8)) {
    return anyLane(__builtin_shufflevector(mask, mask, 0, 1, 2, 3) |
                   __builtin_shufflevector(mask, mask, 4, 5, 6, 7));
  } else {
    const auto half =
        __builtin_shufflevector(mask, mask, 0, 1) | __builtin_shufflevector(mask, mask, 2, 3);
    return (half[0] | half[1]) != 0;
  }
}

}  // namespace zolt
