// Readings that nobody measures: an answer with a status every time, and no infinite number in it.
#include <pthread.h>

#include <functional>

#include "simulated.h"
#include "support/arbitrary.h"

namespace {

using namespace simulated;

// All doubles of a fit stand between these two.
bool allFinite(const ZOLTI_Fit& found) {
  for (const double* value = &found.RT; value != found.engine; ++value) {
    if (!std::isfinite(*value)) {
      return false;
    }
  }
  return true;
}

struct Case {
  const char* name;
  std::function<void(Data&)> spoil;
  int status;
};

TEST(Hostile, OddCurvesHaveTheirStatus) {
  const Case cases[] = {
      {"nothing", [](Data& d) { d = {}; }, ZOLTI_TOO_FEW_READINGS},
      {"six readings", [](Data& d) { d = sample(kOne, 6, 0.0); }, ZOLTI_TOO_FEW_READINGS},
      {"eight readings", [](Data& d) { d = sample(kOne, 8, 0.01); }, ZOLTI_FITTED},
      {"385 readings", [](Data& d) { d = sample(kOne, 385, 0.01); }, ZOLTI_TOO_MANY_READINGS},
      {"384 readings", [](Data& d) { d = sample(kOne, 384, 0.01); }, ZOLTI_FITTED},
      {"all NaN", [](Data& d) { d.y.assign(24, kNaN); }, ZOLTI_TOO_FEW_READINGS},
      {"replicates at both ends only",
       [](Data& d) {
         for (std::size_t i = 0; i < 24; ++i) {
           d.x[i] = i < 12 ? 0.0 : 8.0;
         }
       },
       ZOLTI_TOO_FEW_CONCENTRATIONS},
      {"one concentration", [](Data& d) { d.x.assign(24, 2.0); }, ZOLTI_TOO_FEW_CONCENTRATIONS},
      {"three equal readings at the last", [](Data& d) { d.x[22] = d.x[21] = d.x[23]; },
       ZOLTI_FITTED},
      {"flat", [](Data& d) { d.y.assign(24, 0.5); }, ZOLTI_FLAT_SIGNAL},
      {"one reading of a million", [](Data& d) { d.y[5] = 1e6; }, ZOLTI_FITTED},
      {"subnormal",
       [](Data& d) {
         for (double& y : d.y) {
           y *= 1e-310;
         }
       },
       ZOLTI_BEYOND_ARITHMETIC},
      {"huge",
       [](Data& d) {
         for (double& y : d.y) {
           y *= 1e300;
         }
       },
       ZOLTI_BEYOND_ARITHMETIC},
      {"the least range",
       [](Data& d) {
         for (double& y : d.y) {
           y = y < 0.5 ? 0.0 : 1e-140;
         }
       },
       ZOLTI_FITTED},
      {"the greatest range", [](Data& d) { d.x.front() = 0.0, d.x.back() = 1e140; },
       ZOLTI_UNDETERMINED},
      {"beyond any range", [](Data& d) { d.y[0] = -1.7e308, d.y[1] = 1.7e308; },
       ZOLTI_BEYOND_ARITHMETIC},
      {"deviation of 0", [](Data& d) { d.sd.assign(24, 1.0), d.sd[3] = 0.0; }, ZOLTI_BAD_DEVIATION},
      {"deviation of infinity", [](Data& d) { d.sd.assign(24, 1.0), d.sd[3] = 1.0 / 0.0; },
       ZOLTI_BAD_DEVIATION},
      {"deviations apart", [](Data& d) { d.sd.assign(24, 1.0), d.sd[3] = 1e7; },
       ZOLTI_BAD_DEVIATION},
  };
  for (const Case& one : cases) {
    Data data = sample(kOne, 24, 0.01, 2);
    one.spoil(data);
    const ZOLTI_Fit found = fit(data);
    EXPECT_EQ(found.status, one.status) << one.name << ": " << ZOLTI_sentence(found.status);
    EXPECT_TRUE(allFinite(found)) << one.name;
  }
}

TEST(Hostile, EqualReadingsAtTheLastConcentrationGiveTheRightAnswer) {
  Data data = sample(kOne, 24, 0.005, 2);
  for (const std::size_t i : {21U, 22U}) {
    data.x[i] = data.x[23];
    data.y[i] = data.y[23];
  }
  const ZOLTI_Fit found = fit(data);
  EXPECT_NEAR(found.dG[0], 5546.0, 3.0 * found.dG_se[0]);
  EXPECT_NEAR(found.baseline[2], 1.0, 4.0 * found.baseline_se[2]);
  EXPECT_LT(found.dG_se[0], 400.0);
}

TEST(Hostile, ChoicesThatCannotBeAreRefused) {
  struct Choice {
    const char* name;
    std::function<void(ZOLTI_Options&)> make;
    int status;
  };
  const Choice choices[] = {
      {"size", [](ZOLTI_Options& o) { o.size = 8; }, ZOLTI_BAD_ARGUMENT},
      {"kind", [](ZOLTI_Options& o) { o.native_kind = 3; }, ZOLTI_BAD_BASELINE},
      {"given NaN", [](ZOLTI_Options& o) { o.denatured_kind = 2, o.baseline[3] = kNaN; },
       ZOLTI_BAD_BASELINE},
      {"m of 0", [](ZOLTI_Options& o) { o.m[0] = 0.0; }, ZOLTI_BAD_HELD},
      {"m below 0 by dG", [](ZOLTI_Options& o) { o.dG[0] = -5.0, o.Cm[0] = 2.0; }, ZOLTI_BAD_HELD},
      {"contradiction", [](ZOLTI_Options& o) { o.dG[0] = 5.0, o.Cm[0] = 2.0, o.m[0] = 7.0; },
       ZOLTI_BAD_HELD},
      {"dG that no curve has", [](ZOLTI_Options& o) { o.dG[0] = 1e9; }, ZOLTI_BAD_HELD},
      {"infinite Cm", [](ZOLTI_Options& o) { o.Cm[0] = 1.0 / 0.0; }, ZOLTI_BAD_HELD},
      {"crossed bounds", [](ZOLTI_Options& o) { o.least_m = 2000.0, o.most_m = 1000.0; },
       ZOLTI_BAD_BOUNDS},
      {"margin", [](ZOLTI_Options& o) { o.margin = -1.0; }, ZOLTI_BAD_BOUNDS},
  };
  const Data data = sample(kOne, 24, 0.01);
  for (const Choice& one : choices) {
    ZOLTI_Options options = usual();
    one.make(options);
    EXPECT_EQ(fit(data, 1, options).status, one.status) << one.name;
    EXPECT_EQ(decide(data, 4, options).fit.status, one.status) << one.name;
  }
  ZOLTI_Fit found;
  for (const double temperature : {-0.1, 0.0, 100.0, 100.1, kNaN}) {
    const ZOLTI_Curve curve = data.curve(temperature);
    const bool bounded = temperature >= 0.0 && temperature <= 100.0;
    EXPECT_EQ(ZOLTI_fit(&curve, 1, nullptr, &found, nullptr, nullptr),
              bounded ? ZOLTI_FITTED : ZOLTI_BAD_TEMPERATURE);
  }
  const ZOLTI_Curve hot = data.curve(101.0);
  const ZOLTI_Curve two[] = {data.curve(), data.curve()};
  ZOLTI_Global global;
  ZOLTI_Fit both[2];
  for (const double level : {0.0, 1.0, 1.2, kNaN}) {
    EXPECT_EQ(ZOLTI_fit_global(two, 2, 1, ZOLTI_SHARE_M, nullptr, 0, level, &global, both, nullptr,
                               nullptr),
              ZOLTI_BAD_ARGUMENT);
  }
  EXPECT_EQ(ZOLTI_fit(&hot, 4, nullptr, &found, nullptr, nullptr), ZOLTI_BAD_ARGUMENT);
  EXPECT_EQ(ZOLTI_fit(nullptr, 1, nullptr, &found, nullptr, nullptr), ZOLTI_BAD_ARGUMENT);
  EXPECT_EQ(ZOLTI_fit_global(&hot, 1, 1, 1, nullptr, 0, 0.9, nullptr, &found, nullptr, nullptr),
            ZOLTI_BAD_ARGUMENT);
}

// With both baselines given and all of a transition held there is nothing left to fit.
TEST(Hostile, NothingLeftToFitIsNoFit) {
  ZOLTI_Options options = usual();
  options.native_kind = options.denatured_kind = ZOLTI_GIVEN;
  options.baseline[2] = 1.0;
  options.Cm[0] = 3.9;
  options.m[0] = 1400.0;
  const Data data = sample(kOne, 24, 0.01);
  EXPECT_EQ(fit(data, 1, options).status, ZOLTI_UNDETERMINED);
  EXPECT_EQ(decide(data, 2, options).fit.status, ZOLTI_UNDETERMINED);
}

// The longest curves through the deepest calls, on as small a stack as is promised.
TEST(Hostile, AHalfMebibyteOfStackIsEnough) {
  const auto callAll = [](void*) -> void* {
    const Data data = sample(kTwo, 384, 0.02, 2);
    const ZOLTI_Curve curve = data.curve();
    const ZOLTI_Curve curves[] = {curve, curve};
    ZOLTI_Evidence evidence;
    ZOLTI_Fit found, fits[2];
    ZOLTI_Intervals spans[2];
    ZOLTI_Global global;
    ZOLTI_Difference apart[2];
    ZOLTI_decide(&curve, 4, nullptr, &evidence, &found, nullptr, nullptr);
    ZOLTI_fit(&curve, 3, nullptr, &found, nullptr, nullptr);
    for (const int method : {ZOLTI_PROFILE, ZOLTI_BOOTSTRAP}) {
      ZOLTI_intervals(&curve, nullptr, &found, method, 0.95, 20, 1, spans, nullptr);
    }
    ZOLTI_fit_global(curves, 2, 2, ZOLTI_SHARE_M, nullptr, 0, 0.95, &global, fits, spans, apart);
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(global.status == ZOLTI_FITTED));
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, callAll, nullptr), 0);
  void* fitted = nullptr;
  pthread_join(thread, &fitted);
  pthread_attr_destroy(&attributes);
  EXPECT_NE(fitted, nullptr);
}

// Curves that nobody measures: fits, evidence, intervals and drawing.
TEST(Hostile, NothingInfiniteIsCalledAFit) {
  for (std::uint64_t seed = 0; seed < 250; ++seed) {
    for (const std::size_t n : {9U, 26U}) {
      Bytes bytes(reinterpret_cast<const std::uint8_t*>(&seed), sizeof seed);
      Data data;
      bytes.curve(n, data.x, data.y);
      SCOPED_TRACE("seed " + std::to_string(seed) + ", " + std::to_string(n) + " readings");
      for (int k = 1; k <= 3; ++k) {
        EXPECT_TRUE(allFinite(fit(data, k)));
      }
      const Decided decided = decide(data);
      EXPECT_TRUE(allFinite(decided.fit));
      EXPECT_FALSE(decided.sentence.empty());
      const ZOLTI_Curve given = data.curve();
      ZOLTI_Intervals spans;
      ZOLTI_intervals(&given, nullptr, &decided.fit, ZOLTI_PROFILE, 0.95, 0, 0, &spans, nullptr);
      EXPECT_LE(spans.dG[0][0], spans.dG[0][1]);
      EXPECT_LE(spans.m[0][0], spans.m[0][1]);
    }
  }
}

}  // namespace
