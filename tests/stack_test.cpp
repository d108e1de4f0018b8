// Every export on a thread with a small stack, and how deep the deepest call reaches.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

#include "support/arbitrary.h"
#include "support/sample_arguments.h"

namespace {

constexpr std::size_t kStack = 256 * 1024;
constexpr unsigned char kPaint = 0xC9;

// Calls all exports on a painted stack and returns how much of it lost its paint. The region below
// the stack is unmapped, so whatever goes past its end ends the test.
std::size_t deepestUse(const Arguments& arguments) {
  auto* region = static_cast<unsigned char*>(
      mmap(nullptr, 2 * kStack, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  unsigned char* stack = region + kStack;
  EXPECT_EQ(mprotect(stack, kStack, PROT_READ | PROT_WRITE), 0);
  std::fill_n(stack, kStack, kPaint);

  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kStack), 0);
  pthread_t thread;
  const auto callAll = [](void* given) -> void* {
    for (const Export& entry : kAll) {
      CallSite site(Placement::shared, 0x5A);
      entry.call(*static_cast<const Arguments*>(given), site);
    }
    return nullptr;
  };
  EXPECT_EQ(pthread_create(&thread, &attributes, callAll, const_cast<Arguments*>(&arguments)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);

  const auto untouched =
      std::find_if(stack, stack + kStack, [](unsigned char byte) { return byte != kPaint; });
  const auto used = static_cast<std::size_t>(stack + kStack - untouched);
  munmap(region, 2 * kStack);
  return used;
}

TEST(Stack, OfAQuarterMebibyteServesEveryExport) {
  std::size_t deepest = 0;
  for (int points : {24, 96, 384, 2000}) {
    for (int transitions : {1, 2, 3}) {
      deepest = std::max(deepest, deepestUse(sampleArguments(points, transitions)));
    }
  }
  // Curves that lead through the systems of the solver's rare cases.
  for (std::uint64_t seed = 0; seed < 30; ++seed) {
    Bytes bytes(reinterpret_cast<const std::uint8_t*>(&seed), sizeof seed);
    Arguments arguments = sampleArguments(96, 3);
    makeCurve(bytes, 96, arguments);
    deepest = std::max(deepest, deepestUse(arguments));
  }
  std::printf("deepest use of the stack: %zu bytes, the thread's own included\n", deepest);
  // A stack that grows toward the limit is a change worth a look.
  EXPECT_LT(deepest, kStack / 2);
}

}  // namespace
