// Included before each file of a library that must load on systems older than the one it is built
// on: the oldest versions of the functions that the C library has had anew since. They differ in
// how they set errno, which nobody reads here.
#if defined(__x86_64__)
#define ZOLT_OLDEST "GLIBC_2.2.5"
#elif defined(__aarch64__)
#define ZOLT_OLDEST "GLIBC_2.17"
#endif
#define ZOLT_TAKE_OLDEST(name) __asm__(".symver " #name "," #name "@" ZOLT_OLDEST)
ZOLT_TAKE_OLDEST(exp);
ZOLT_TAKE_OLDEST(hypot);
ZOLT_TAKE_OLDEST(log);
ZOLT_TAKE_OLDEST(pow);
#undef ZOLT_TAKE_OLDEST
#undef ZOLT_OLDEST
