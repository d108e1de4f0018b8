// Wide registers: four doubles side by side, each lane computing what one double would.
//
// This header is all that the rest of the library needs to know of registers. Lanes never mix and
// nothing is fused, so that a loop over lanes gives the bits of the plain loop over its columns or
// points.
#pragma once

#include <cstddef>
#include <type_traits>

namespace zolt {

// A function marked ZOLT_WIDE is compiled twice, for processors with AVX2 (level 3 of x86-64) and
// for any, and the loader picks. AVX-512 is left out: measured, its eight lanes take 4 to 20 % more
// time here, where sums wait for their last element and rows are short. Sanitizers cannot follow
// the choice.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__ELF__) &&      \
    defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && \
    !defined(ZOLT_NO_CLONES)
#if __GNUC__ >= 12
#define ZOLT_WIDE __attribute__((target_clones("arch=x86-64-v3", "default")))
#else  // which cannot choose by the level
#define ZOLT_WIDE __attribute__((target_clones("avx2", "default")))
#endif
#else
#define ZOLT_WIDE
#endif

// Templates of wide code are part of the clone that uses them only when they are inlined.
#define ZOLT_INLINE inline __attribute__((always_inline))

// Four lanes fill a register of AVX2; elsewhere the compiler takes two registers of two.
using Lanes4 = double __attribute__((vector_size(32)));
inline constexpr int kLanes = 4;

// What a comparison of lanes gives: all bits set in a lane in which it holds, none in another.
using Mask4 = long long __attribute__((vector_size(32)));

// Lanes as they stand in memory, at any double's address.
struct __attribute__((packed, may_alias)) StoredLanes {
  Lanes4 lanes;
};

// The four doubles from `at` on.
ZOLT_INLINE Lanes4 loadLanes(const double* at) {
  return reinterpret_cast<const StoredLanes*>(at)->lanes;
}

// Writes the four doubles from `at` on.
ZOLT_INLINE void storeLanes(double* at, const Lanes4& lanes) {
  reinterpret_cast<StoredLanes*>(at)->lanes = lanes;
}

// The doubles at[0], at[stride], at[2 * stride] and at[3 * stride].
ZOLT_INLINE Lanes4 gatherLanes(const double* at, std::ptrdiff_t stride) {
  return Lanes4{at[0], at[stride], at[2 * stride], at[3 * stride]};
}

// The lanes of `a` and `b`, counted through, that stand at `Places`.
template <int... Places, class Lanes>
ZOLT_INLINE auto pickLanes(const Lanes& a, const Lanes& b) {
#if defined(__clang__) || __GNUC__ >= 12
  return __builtin_shufflevector(a, b, Places...);
#else
  using Element = std::decay_t<decltype(a[0])>;
  using Picked __attribute__((vector_size(sizeof...(Places) * sizeof(Element)))) = Element;
  return Picked{(Places < kLanes ? a[Places % kLanes] : b[Places % kLanes])...};
#endif
}

// The magnitude of each lane.
ZOLT_INLINE Lanes4 magnitude(const Lanes4& lanes) {
  constexpr long long kAllButSign = 0x7fffffffffffffff;
  return reinterpret_cast<Lanes4>(reinterpret_cast<Mask4>(lanes) & kAllButSign);
}

// Whether a comparison holds in any lane.
ZOLT_INLINE bool anyLane(const Mask4& mask) {
  const auto half = pickLanes<0, 1>(mask, mask) | pickLanes<2, 3>(mask, mask);
  return (half[0] | half[1]) != 0;
}

// The greater of two in each lane; the second where one is NaN.
ZOLT_INLINE Lanes4 greaterOf(const Lanes4& a, const Lanes4& b) { return a > b ? a : b; }

// The greatest of the four lanes.
ZOLT_INLINE double greatestLane(const Lanes4& lanes) {
  const auto two = pickLanes<0, 1>(lanes, lanes) > pickLanes<2, 3>(lanes, lanes)
                       ? pickLanes<0, 1>(lanes, lanes)
                       : pickLanes<2, 3>(lanes, lanes);
  return two[0] > two[1] ? two[0] : two[1];
}

// Bit k is set where a comparison holds in lane k.
ZOLT_INLINE unsigned bitsOf(const Mask4& mask) {
  const Mask4 bits = mask & Mask4{1, 2, 4, 8};
  const auto half = pickLanes<0, 1>(bits, bits) | pickLanes<2, 3>(bits, bits);
  return static_cast<unsigned>(half[0] | half[1]);
}

// Exchanges rows and columns of the four by four doubles that four registers hold.
ZOLT_INLINE void transposeLanes(Lanes4 (&square)[kLanes]) {
  const Lanes4 low01 = pickLanes<0, 4, 2, 6>(square[0], square[1]);
  const Lanes4 high01 = pickLanes<1, 5, 3, 7>(square[0], square[1]);
  const Lanes4 low23 = pickLanes<0, 4, 2, 6>(square[2], square[3]);
  const Lanes4 high23 = pickLanes<1, 5, 3, 7>(square[2], square[3]);
  square[0] = pickLanes<0, 1, 4, 5>(low01, low23);
  square[1] = pickLanes<0, 1, 4, 5>(high01, high23);
  square[2] = pickLanes<2, 3, 6, 7>(low01, low23);
  square[3] = pickLanes<2, 3, 6, 7>(high01, high23);
}

}  // namespace zolt
