// Eight threads call every export at once on shared inputs. The threads hold no lock of the test's
// while they call, so the thread sanitizer sees what the library shares, and nothing else.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/sample_arguments.h"

namespace {

constexpr std::size_t kThreads = 8;

// ZOLT_THREAD_SECONDS asks for a longer run.
std::chrono::duration<double> runTime() {
  const char* seconds = std::getenv("ZOLT_THREAD_SECONDS");
  return std::chrono::duration<double>(seconds ? std::atof(seconds) : 2.0);
}

std::vector<unsigned char> outcomeOf(const Export& entry, const Arguments& arguments) {
  CallSite site(Placement::shared, 0x5A);
  entry.call(arguments, site);
  return site.written();
}

TEST(Threads, GetTheSerialResultsFromSharedInputs) {
  const Arguments shared[] = {sampleArguments(24, 1), sampleArguments(26, 3)};
  std::vector<std::vector<unsigned char>> serial;
  for (const Arguments& arguments : shared) {
    for (const Export& entry : kAll) {
      serial.push_back(outcomeOf(entry, arguments));
    }
  }

  const auto end = std::chrono::steady_clock::now() + runTime();
  std::atomic<int> calls = 0;
  std::array<std::string, kThreads> faults;
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // Each thread begins elsewhere, and goes through all calls at least once.
      std::size_t round = 0;
      do {
        for (std::size_t k = 0; k < serial.size(); ++k) {
          const std::size_t call = (k + t * serial.size() / kThreads) % serial.size();
          const Export& entry = kAll[call % std::size(kAll)];
          if (outcomeOf(entry, shared[call / std::size(kAll)]) != serial[call]) {
            faults[t] = entry.name;
          }
          calls.fetch_add(1, std::memory_order_relaxed);
        }
        ++round;
      } while (std::chrono::steady_clock::now() < end);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::string& fault : faults) {
    EXPECT_EQ(fault, "") << "differs from the serial result";
  }
  std::printf("%d calls from %zu threads\n", calls.load(), kThreads);
}

}  // namespace
