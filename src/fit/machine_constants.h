// Constants of double precision arithmetic that the linear algebra and the solver share.
#pragma once

#if defined(__FAST_MATH__)
#error "Results must not depend on the compiler's liberties: build without fast-math."
#endif

namespace zolt {

inline constexpr double kEpsilon = 2.220446049250313e-16;
inline constexpr double kSqrtEpsilon = 1.4901161193847656e-08;
inline constexpr double kSmallestNormal = 2.2250738585072014e-308;

// Below the safe minimum a reflector's norm is rescaled by the reciprocal before it divides.
inline constexpr double kSafeMinimum = 1.0020841800044864e-292;
inline constexpr double kSafeMinimumReciprocal = 9.9792015476736e+291;

}  // namespace zolt
