#include "elementary/exponential.h"

#include "elementary/exponential_steps.h"
#include "elementary/exponential_unfused.h"

// On x86-64 the instructions of the fused way are asked for function by function, and used where
// the processor has them. Where every processor of a target has them they need no asking.
#if defined(__x86_64__)
#define ZOLT_FUSED_CODE __attribute__((target("avx2,fma")))
#define ZOLT_CAN_FUSE (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
#elif defined(__aarch64__) || defined(__FP_FAST_FMA)
#define ZOLT_FUSED_CODE
#define ZOLT_CAN_FUSE true
#endif

namespace zolt {

#if defined(ZOLT_FUSED_CODE)
namespace {

struct Native {
  static ZOLT_INLINE double multiplyAdd(double a, double b, double c) {
    return __builtin_fma(a, b, c);
  }
};

ZOLT_FUSED_CODE double fusedExponential(double x) { return anyExponential<Native>(x); }

// Compilers make the second loop vector code, with four lanes on x86-64. They load the entries of
// the table one by one, which is faster than a gathering instruction.
ZOLT_FUSED_CODE void fusedExponentials(double* __restrict values, int n) {
  if (!allOrdinary(values, n)) {
    for (int i = 0; i < n; ++i) {
      values[i] = anyExponential<Native>(values[i]);
    }
    return;
  }
  for (int i = 0; i < n; ++i) {
    values[i] = ordinaryExponential<Native>(values[i]);
  }
}

}  // namespace
#endif

double exponential(double x) {
#if defined(ZOLT_FUSED_CODE)
  if (ZOLT_CAN_FUSE) {
    return fusedExponential(x);
  }
#endif
  return unfused::exponential(x);
}

void exponentials(double* values, int n) {
#if defined(ZOLT_FUSED_CODE)
  if (ZOLT_CAN_FUSE) {
    fusedExponentials(values, n);
    return;
  }
#endif
  unfused::exponentials(values, n);
}

}  // namespace zolt
