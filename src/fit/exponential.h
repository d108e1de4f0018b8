// The exponential function of the C library, called as directly as it can be.
#pragma once

#include <cmath>

namespace zolt {

#if defined(__x86_64__) && defined(__GLIBC__) && defined(__ELF__)
// std::exp is this very function behind a wrapper that sets errno, which nobody here reads and
// which costs a third of the call. The bits are the same.
extern "C" double zoltBareExp(double);
__asm__(".symver zoltBareExp, __exp_finite@GLIBC_2.15");
inline double exponential(double v) { return zoltBareExp(v); }
#else
inline double exponential(double v) { return std::exp(v); }
#endif

}  // namespace zolt
