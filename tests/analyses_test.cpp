// The nine analyses through the C interface.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "analysis/entries.h"
#include "support/bits.h"
#include "support/generated_curves.h"
#include "support/records.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
using Vector = std::vector<double>;
using Result = std::array<double, ZOLTA_RESULT_LENGTH>;

enum Kind { Full, Midpoint, User, Kinds };
constexpr int kFewest[Kinds] = {8, 6, 8};
constexpr const char* kKindNames[Kinds] = {"", "_chalf", "_user_set_baselines"};

using Analysis = decltype(&ZOLTA_2state);
using UserAnalysis = decltype(&ZOLTA_2state_user_set_baselines);
constexpr Analysis kAnalyses[2][3] = {{ZOLTA_2state, ZOLTA_3state, ZOLTA_4state},
                                      {ZOLTA_2state_chalf, ZOLTA_3state_chalf, ZOLTA_4state_chalf}};
constexpr UserAnalysis kUserAnalyses[3] = {ZOLTA_2state_user_set_baselines,
                                           ZOLTA_3state_user_set_baselines,
                                           ZOLTA_4state_user_set_baselines};

std::string nameOf(Kind kind, int transitions) {
  return std::to_string(transitions + 1) + "state" + kKindNames[kind] + ": ";
}

Result analyse(Kind kind, int transitions, const Vector& x, const Vector& y,
               double temperature = 25, const std::array<double, 4>& baselines = {}) {
  Result result;
  result.fill(-77);
  const RowSize xSize(x.size()), ySize(y.size());
  const auto t = static_cast<std::size_t>(transitions - 1);
  if (kind == User) {
    kUserAnalyses[t](x.data(), xSize, y.data(), ySize, baselines.data(), temperature,
                     result.data());
  } else {
    kAnalyses[kind][t](x.data(), xSize, y.data(), ySize, temperature, result.data());
  }
  return result;
}

int codeOf(const Result& result) { return static_cast<int>(result[ZOLTA_FIT_CODE]); }

void expectSame(const std::string& what, const Result& wanted, const Result& got) {
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    EXPECT_TRUE(sameBits(wanted[i], got[i]))
        << what << "element " << i << " " << wantedGot(wanted[i], got[i]);
  }
}

Result failure(int transitions, int code) {
  Result result;
  zolt::writeFailure(transitions, code, zolt::resultView(result.data()));
  return result;
}

Vector grid(int n) {
  Vector x;
  for (int i = 0; i < n; ++i) {
    x.push_back(8.0 * i / (n < 2 ? 1 : n - 1));
  }
  return x;
}

// A curve that every analysis can make something of.
Vector steps(const Vector& x) {
  Vector y;
  for (double at : x) {
    y.push_back(10 + 20 / (1 + std::exp(4 * (2 - at))) + 30 / (1 + std::exp(4 * (5.5 - at))));
  }
  return y;
}

TEST(Analyses, BadInput) {
  constexpr int kEach = -1;  // one point short of what the entry takes
  struct Row {
    const char* what;
    int points;
    int yPoints;
    double temperature;
    Vector (*signal)(const Vector& x);
    double xFactor;
    int codes[Kinds];
  };
  const auto flat = [](const Vector& x) { return Vector(x.size(), 1000.0); };
  const auto returning = [](const Vector& x) {
    Vector y = steps(x);
    for (std::size_t i = x.size() / 2; i < x.size(); ++i) {
      y[i] = y[x.size() - 1 - i];
    }
    return y;
  };
  for (const Row& row : {
           Row{"no points", 0, 0, 25, steps, 1, {1, 1, 1}},
           Row{"one point short", kEach, kEach, 25, steps, 1, {1, 1, 1}},
           Row{"y shorter", 48, 47, 25, steps, 1, {1, 1, 1}},
           Row{"y longer", 48, 49, 25, steps, 1, {1, 1, 1}},
           Row{"y empty", 48, 0, 25, steps, 1, {1, 1, 1}},
           Row{"too cold", 48, 48, std::nextafter(0, -1), steps, 1, {1, 1, 1}},
           Row{"too warm", 48, 48, std::nextafter(100, 101), steps, 1, {1, 1, 1}},
           Row{"infinitely warm", 48, 48, kInf, steps, 1, {1, 1, 1}},
           Row{"a signal that returns", 48, 48, 25, returning, 1, {32, 32, 32}},
           Row{"x does not move", 48, 48, 25, steps, 0, {32, 32, 32}},
           // The ratio of nothing to nothing is no number, which does not count as flat.
           Row{"constant signal", 48, 48, 25, flat, 1, {34, 36, 34}},
           Row{"constant signal, no range of x", 48, 48, 25, flat, 0, {32, 32, 32}},
       }) {
    for (int kind = 0; kind < Kinds; ++kind) {
      for (int transitions = 1; transitions <= 3; ++transitions) {
        Vector x = grid(row.points == kEach ? kFewest[kind] - 1 : row.points);
        Vector y = row.signal(grid(row.yPoints == kEach ? kFewest[kind] - 1 : row.yPoints));
        for (double& value : x) {
          value *= row.xFactor;
        }
        int code = row.codes[kind];
        if (code == 34 && kind == Full && transitions == 2) {
          code = 33;  // three states alone tell that no start described the curve
        }
        // The first tests of the user entries answer in the shape of two states.
        const bool twoStateShape = kind == User && code != 34;
        expectSame(nameOf(static_cast<Kind>(kind), transitions) + row.what + ", ",
                   failure(twoStateShape ? 1 : transitions, code),
                   analyse(static_cast<Kind>(kind), transitions, x, y, row.temperature));
      }
    }
  }
}

TEST(Analyses, ShortCurvesAreHandedDown) {
  struct Row {
    Kind kind;
    int transitions, smaller, first, last;
  };
  for (const Row& row :
       {Row{Full, 2, 1, 8, 17}, Row{Full, 3, 1, 8, 17}, Row{Full, 3, 2, 18, 23},
        Row{Midpoint, 2, 1, 6, 9}, Row{Midpoint, 3, 1, 6, 9}, Row{Midpoint, 3, 2, 10, 13},
        Row{User, 2, 1, 8, 17}, Row{User, 3, 1, 8, 17}, Row{User, 3, 2, 18, 23}}) {
    for (int n = row.first; n <= row.last; ++n) {
      // The smaller analysis makes its own tests, that of the temperature among them.
      for (double temperature : {25.0, 200.0}) {
        const Vector x = grid(n), y = steps(x);
        expectSame(nameOf(row.kind, row.transitions) + std::to_string(n) + " points, ",
                   analyse(row.kind, row.smaller, x, y, temperature),
                   analyse(row.kind, row.transitions, x, y, temperature));
      }
    }
    const Vector x = grid(row.last + 1), y = steps(x);
    EXPECT_NE(analyse(row.kind, row.smaller, x, y), analyse(row.kind, row.transitions, x, y))
        << nameOf(row.kind, row.transitions) << row.last + 1 << " points";
  }
}

TEST(Analyses, TheLongestCurveAndTheBoundsOfTemperature) {
  const Vector x = grid(385), y = steps(x);
  constexpr decltype(&zolt::internalAnalysis<1>) kInternal[] = {
      zolt::internalAnalysis<1>, zolt::internalAnalysis<2>, zolt::internalAnalysis<3>};
  for (int transitions = 1; transitions <= 3; ++transitions) {
    const std::string name = nameOf(Full, transitions);
    for (std::size_t n : {384u, 385u}) {
      const zolt::Curve curve = zolt::Curve{x, y}.part(0, n);
      Result result;
      kInternal[transitions - 1](curve, 25, zolt::resultView(result.data()));
      EXPECT_EQ(codeOf(result) == ZOLTA_CODE_BAD_INPUT, n > 384) << name << n;
    }
    EXPECT_NE(codeOf(analyse(Full, transitions, x, y)), ZOLTA_CODE_BAD_INPUT) << name;
    for (double temperature : {0.0, 100.0}) {
      const Vector shortX = grid(48), shortY = steps(shortX);
      const Result result = analyse(Midpoint, transitions, shortX, shortY, temperature);
      EXPECT_NE(codeOf(result), ZOLTA_CODE_BAD_INPUT) << name << temperature;
    }
  }
}

// What a clean curve was made of comes back, in ascending order and in the right elements.
TEST(Analyses, CleanCurvesAreRecovered) {
  constexpr std::size_t kCm[] = {ZOLTA_CM1, ZOLTA_CM2, ZOLTA_CM3};
  constexpr std::size_t kDG[] = {ZOLTA_DG1, ZOLTA_DG2, ZOLTA_DG3};
  constexpr std::size_t kWeight[] = {ZOLTA_WEIGHT1, ZOLTA_WEIGHT2};
  struct Tolerance {
    double Cm, dG, weight, rSquared;
  };
  const Tolerance tolerances[Kinds] = {
      {0.1, 0.2, 0.03, 0.9999}, {0.15, 0.35, 0.05, 0.999}, {1e-6, 1e-5, 1e-6, 1 - 1e-12}};
  for (int transitions = 1; transitions <= 3; ++transitions) {
    for (std::uint64_t seed = 0; seed < 12; ++seed) {
      CurveRecipe recipe;
      recipe.transitions = transitions;
      recipe.falling = seed % 2 == 1;
      recipe.slopes = seed % 4 < 2 ? 0.0003 : 0.003;
      const GeneratedCurve curve = generateCurve(recipe, seed);
      const std::array<double, 4> baselines{curve.baselines[0], curve.baselines[1],
                                            curve.baselines[2], curve.baselines[3]};
      for (int kind = 0; kind < Kinds; ++kind) {
        const Result result =
            analyse(static_cast<Kind>(kind), transitions, curve.x, curve.y, 25, baselines);
        const Tolerance& tolerance = tolerances[kind];
        const auto where = [&](const char* what) {
          return nameOf(static_cast<Kind>(kind), transitions) + "seed " + std::to_string(seed) +
                 ", " + what + " ";
        };
        for (std::size_t t = 0; t < curve.midpoints.size(); ++t) {
          EXPECT_NEAR(result[kCm[t]], curve.midpoints[t], tolerance.Cm) << where("midpoint") << t;
          EXPECT_NEAR(result[kDG[t]], curve.energies[t], tolerance.dG * curve.energies[t])
              << where("energy") << t;
          if (t + 1 < curve.midpoints.size()) {
            EXPECT_NEAR(result[kWeight[t]], curve.weights[t], tolerance.weight)
                << where("weight") << t;
          }
        }
        EXPECT_GE(result[ZOLTA_R_SQUARED], tolerance.rSquared) << where("R-squared");
        EXPECT_EQ(result[ZOLTA_RT], (25 + 273.15) * 1.9872) << where("RT");
        if (kind != Full) {
          EXPECT_EQ(codeOf(result),
                    kind == User ? ZOLTA_CODE_BOTH_BASELINES : ZOLTA_CODE_MIDPOINT_FIT)
              << where("code");
        }
      }
    }
  }
}

TEST(UserBaselines, WhatIsNotGivenComesFromTheEnds) {
  for (int transitions = 1; transitions <= 3; ++transitions) {
    CurveRecipe recipe;
    recipe.transitions = transitions;
    const GeneratedCurve curve = generateCurve(recipe, 5);
    const double first = curve.y.front(), last = curve.y.back();
    // With four states, slope and intercept of the denatured end stand in each other's place.
    const std::array<double, 4> ends = transitions == 3 ? std::array{first, 0.001, 0.001, last}
                                                        : std::array{first, 0.001, last, 0.001};
    const Result wanted = analyse(User, transitions, curve.x, curve.y, 25, ends);
    for (const std::array<double, 4>& notGiven :
         {std::array{0.0, 0.0, 0.0, 0.0}, std::array{2.5, -2.5, -1.0, 1.0}}) {
      expectSame(nameOf(User, transitions), wanted,
                 analyse(User, transitions, curve.x, curve.y, 25, notGiven));
    }
  }
}

TEST(UserBaselines, WrongOnesGiveWayToTheFullAnalysis) {
  for (int transitions = 1; transitions <= 3; ++transitions) {
    CurveRecipe recipe;
    recipe.transitions = transitions;
    const GeneratedCurve curve = generateCurve(recipe, 9);
    expectSame(nameOf(User, transitions), analyse(Full, transitions, curve.x, curve.y),
               analyse(User, transitions, curve.x, curve.y, 25, {500, 3, -70, 9}));
    // Where that finds nothing either, its own code is not passed on.
    Vector noise;
    Random random(4);
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
      noise.push_back(random.between(0, 1) + (i + 5 >= curve.x.size() ? 1.2 : 0));
    }
    expectSame(nameOf(User, transitions) + "noise, ",
               failure(transitions, ZOLTA_CODE_NO_ACCEPTABLE_FIT),
               analyse(User, transitions, curve.x, noise, 25, {500, 3, -70, 9}));
  }
}

TEST(MidpointFit, PoorCurvesAreRejected) {
  for (int transitions = 1; transitions <= 3; ++transitions) {
    const Vector x = grid(40);
    Vector zigzag;
    for (std::size_t i = 0; i < x.size(); ++i) {
      zigzag.push_back((i % 2 == 1 ? 3 : -3) + (x[i] > 4 ? 4.5 : 0));
    }
    // One NaN stops every fit at its start, and no sum of squares is left to judge it by.
    Vector holed = steps(x);
    holed[20] = kNaN;
    for (const Vector& y : {zigzag, holed}) {
      expectSame(nameOf(Midpoint, transitions), failure(transitions, ZOLTA_CODE_MIDPOINT_REJECTED),
                 analyse(Midpoint, transitions, x, y));
    }
  }
}

}  // namespace
