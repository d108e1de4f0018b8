// Inputs that nobody measures. Buffers end where an unmapped page begins and inputs are read-only,
// so an access outside the arguments ends the test; every outcome must keep the contract, and no
// call may run on.
#include <gtest/gtest.h>

#include <ctime>

#include "support/hostile_curves.h"
#include "support/result_contract.h"

namespace {

constexpr double kTemperatures[] = {25.0,
                                    std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::infinity(),
                                    0.0,
                                    100.0,
                                    -0.5};

// Ends with the handed-down lengths of all models, those of the tables, and one beyond the largest
// curve. The longest are few, since the sanitizers run this too.
constexpr std::size_t kLengths[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                    12, 13, 14, 15, 16, 17, 18, 19, 22, 23, 24, 25};
constexpr std::size_t kLongLengths[] = {383, 384, 385, 511, 2000};

Arguments argumentsFor(hostile::X xKind, hostile::Y yKind, std::size_t n, std::uint64_t seed) {
  const hostile::Curve curve = hostile::make(xKind, yKind, n, seed);
  Arguments a;
  a.x = curve.x;
  a.y = curve.y;
  a.scale = curve.x;
  a.labels = seed / 4 % 2 == 0 ? curve.x : std::vector<double>{1.0, 2.0, 2.0};
  if (n > 0) {
    a.baselines = {curve.y[0], 0.001, curve.y[n - 1], 0.001};
    a.trend = {curve.y[0], curve.y[n - 1], 0.0, 0.0};
    a.width = a.value = curve.x[n / 2];
    a.reference = curve.y[n / 2];
  }
  for (std::size_t k = 0; k < a.result.size() && n > 0; ++k) {
    a.result[k] = curve.y[k % n];
  }
  a.n = static_cast<std::int32_t>(n) - 1;
  a.temperature = kTemperatures[seed % std::size(kTemperatures)];
  // Three short curves of the same kind, every other one included.
  a.pointsPerCurve = static_cast<std::int32_t>(std::min<std::size_t>(n, 24));
  for (std::uint64_t c = 0; c < 3; ++c) {
    const auto length = static_cast<std::size_t>(a.pointsPerCurve);
    const hostile::Curve member = hostile::make(xKind, yKind, length, seed + c);
    a.seriesX.insert(a.seriesX.end(), member.x.begin(), member.x.end());
    a.seriesY.insert(a.seriesY.end(), member.y.begin(), member.y.end());
  }
  a.seriesResults.resize(n * ZOLTA_RESULT_LENGTH, 500.0);
  for (std::size_t k = 0; k < n; ++k) {
    a.include.values.push_back(k % 2 == 0);
  }
  for (std::size_t k = 0; k < a.seriesX.size(); ++k) {
    a.userMask.values.push_back(k % 5 != 0);
  }
  a.include.size[1] = static_cast<std::int32_t>(n);
  a.userMask.size[1] = static_cast<std::int32_t>(a.seriesX.size());
  a.states = 2 + static_cast<std::int32_t>(seed % 3);
  a.transition = static_cast<std::int32_t>(seed % 4);
  return a;
}

void expectContract(const Export& entry, const Arguments& arguments) {
  CallSite site(Placement::guarded, 0x5A);
  EXPECT_EQ(faultOfTwoCalls(entry, arguments, Placement::guarded, site), "");
  if (entry.family == Family::analysis) {
    EXPECT_EQ(result_contract::faultOf(entry.name, arguments, site.values<double>(0)), "");
  }
}

// In an ordinary build the worst call found takes 0.2 s; the rest is for sanitizers and for slow
// machines. A fit that did not end by its limits would take far longer.
constexpr double kLongestCall = 10.0;

template <class Action>
void forEveryKind(Action action) {
  for (int x = 0; x < static_cast<int>(hostile::X::kinds); ++x) {
    for (int y = 0; y < static_cast<int>(hostile::Y::kinds); ++y) {
      action(static_cast<hostile::X>(x), static_cast<hostile::Y>(y));
    }
  }
}

TEST(Hostile, ShortCurvesKeepTheContract) {
  std::uint64_t seed = 0;
  forEveryKind([&](hostile::X xKind, hostile::Y yKind) {
    // A quarter of the lengths each time, another quarter with the next kind.
    for (std::size_t k = seed++ % 4; k < std::size(kLengths); k += 4) {
      const Arguments arguments = argumentsFor(xKind, yKind, kLengths[k], seed);
      for (const Export& entry : kExports) {
        expectContract(entry, arguments);
      }
    }
  });
}

TEST(Hostile, LongCurvesKeepTheContract) {
  std::uint64_t seed = 0;
  forEveryKind([&](hostile::X xKind, hostile::Y yKind) {
    // One export of each kind of curve; 34 and the numbers of kinds meet in all ways.
    const Export& entry = kExports[++seed % std::size(kExports)];
    for (std::size_t n : kLongLengths) {
      expectContract(entry, argumentsFor(xKind, yKind, n, seed));
    }
  });
}

double processorSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// The slowest curves that a long search over all kinds found: abscissae so large, or so small, that
// the Jacobian overflows or vanishes, and smooth ones that come close to no model.
struct Slow {
  hostile::X x;
  hostile::Y y;
  std::uint64_t seed;
};
constexpr Slow kSlow[] = {{hostile::X::huge, hostile::Y::farOffset, 10},
                          {hostile::X::denormal, hostile::Y::sharpStep, 18},
                          {hostile::X::denormal, hostile::Y::threeSteps, 18},
                          {hostile::X::even, hostile::Y::oneStep, 15},
                          {hostile::X::even, hostile::Y::noise, 15}};

TEST(Hostile, NoCallRunsOn) {
  double worst = 0.0;
  for (const Slow& slow : kSlow) {
    for (const Export& entry : kExports) {
      Arguments arguments = argumentsFor(slow.x, slow.y, 384, slow.seed);
      arguments.temperature = 25.0;
      CallSite site(Placement::shared, 0x5A);
      const double before = processorSeconds();
      entry.call(arguments, site);
      const double seconds = processorSeconds() - before;
      EXPECT_LT(seconds, kLongestCall) << entry.name << ", seed " << slow.seed;
      worst = std::max(worst, seconds);
    }
  }
  std::printf("slowest call: %.3f s of the processor\n", worst);
}

}  // namespace
