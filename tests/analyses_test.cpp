// The nine analyses: what they refuse, hand down and recover, where their baselines come from, and
// how each element of a result follows from the others.
#include <gtest/gtest.h>

#include "support/contract.h"
#include "support/generated_curves.h"

namespace {

enum Kind { Full, Midpoint, User, Kinds };
constexpr std::size_t kFewest[Kinds] = {8, 6, 8};

std::string nameOf(int kind, int states) {
  const char* const ends[Kinds] = {"state", "state_chalf", "state_user_set_baselines"};
  return std::to_string(states) + ends[kind];
}

Vector analyse(const std::string& name, const Vector& x, const Vector& y, double temperature = 25,
               const Vector& baselines = Vector(4)) {
  Arguments a;
  a.x = x;
  a.y = y;
  a.temperature = temperature;
  a.baselines = baselines;
  return Called(name, a).real(0);
}

Vector baselinesOf(const GeneratedCurve& curve) { return {curve.baselines, curve.baselines + 4}; }

Vector grid(std::size_t n, double reach = 8.0) {
  Vector x;
  for (std::size_t i = 0; i < n; ++i) {
    x.push_back(reach * static_cast<double>(i) / static_cast<double>(n < 2 ? 1 : n - 1));
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
  constexpr std::size_t kShort = 1000;  // one point short of what the entry takes
  struct Row {
    const char* what;
    std::size_t points, yPoints;
    double temperature;
    Vector (*signal)(const Vector& x);
    double reach;
    int codes[Kinds];
  };
  const auto flat = [](const Vector& x) { return Vector(x.size(), 1000.0); };
  const auto returning = [](const Vector& x) {
    Vector y = steps(x);
    std::copy(y.begin(), y.begin() + static_cast<std::ptrdiff_t>(y.size() / 2), y.rbegin());
    return y;
  };
  for (const Row& row : {
           Row{"no points", 0, 0, 25, steps, 8, {1, 1, 1}},
           Row{"one point short", kShort, kShort, 25, steps, 8, {1, 1, 1}},
           Row{"y shorter", 48, 47, 25, steps, 8, {1, 1, 1}},
           Row{"y longer", 48, 49, 25, steps, 8, {1, 1, 1}},
           Row{"y empty", 48, 0, 25, steps, 8, {1, 1, 1}},
           Row{"too cold", 48, 48, std::nextafter(0, -1), steps, 8, {1, 1, 1}},
           Row{"too warm", 48, 48, std::nextafter(100, 101), steps, 8, {1, 1, 1}},
           Row{"infinitely warm", 48, 48, kInf, steps, 8, {1, 1, 1}},
           Row{"a signal that returns", 48, 48, 25, returning, 8, {32, 32, 32}},
           Row{"x does not move", 48, 48, 25, steps, 0, {32, 32, 32}},
           // The ratio of nothing to nothing is no number, which does not count as flat.
           Row{"constant signal", 48, 48, 25, flat, 8, {34, 36, 34}},
           Row{"constant signal, no range of x", 48, 48, 25, flat, 0, {32, 32, 32}},
       }) {
    for (int kind = 0; kind < Kinds; ++kind) {
      for (int states = 2; states <= 4; ++states) {
        const auto length = [&](std::size_t n) { return n == kShort ? kFewest[kind] - 1 : n; };
        const int told = row.codes[kind];
        // Three states alone tell that no start described the curve.
        const int code = told == 34 && kind == Full && states == 3 ? 33 : told;
        // The first tests of the user entries answer in the shape of two states.
        const int shape = kind == User && code != 34 ? 2 : states;
        EXPECT_EQ(difference(contract::failure(shape, code),
                             analyse(nameOf(kind, states), grid(length(row.points), row.reach),
                                     row.signal(grid(length(row.yPoints))), row.temperature)),
                  "")
            << nameOf(kind, states) << ", " << row.what;
      }
    }
  }
}

// The means of the first and the last five readings differ by at least one standard deviation.
TEST(Analyses, ATransitionIsOneStandardDeviation) {
  for (const auto& [scatter, refused] : {std::pair{2.060, false}, {2.063, true}}) {
    // Ends at 0 and 1; two readings between them scatter until the deviation of all is 1, too.
    const Vector y{0, 0, 0, 0, 0, 0.5 + scatter, 0.5 - scatter, 1, 1, 1, 1, 1};
    for (int kind = 0; kind < Kinds; ++kind) {
      const Vector r = analyse(nameOf(kind, 2), grid(y.size()), y);
      EXPECT_EQ(int(r[ZOLTA_FIT_CODE]) == ZOLTA_CODE_NO_TRANSITION, refused) << nameOf(kind, 2);
    }
  }
}

TEST(Analyses, ShortCurvesAreHandedDown) {
  struct Row {
    int kind, states, smaller;
    std::size_t first, last;
  };
  for (const Row& row :
       {Row{Full, 3, 2, 8, 17}, Row{Full, 4, 2, 8, 17}, Row{Full, 4, 3, 18, 23},
        Row{Midpoint, 3, 2, 6, 9}, Row{Midpoint, 4, 2, 6, 9}, Row{Midpoint, 4, 3, 10, 13},
        Row{User, 3, 2, 8, 17}, Row{User, 4, 2, 8, 17}, Row{User, 4, 3, 18, 23}}) {
    const std::string name = nameOf(row.kind, row.states), smaller = nameOf(row.kind, row.smaller);
    for (std::size_t n = row.first; n <= row.last; ++n) {
      // The smaller analysis makes its own tests, that of the temperature among them.
      for (double temperature : {25.0, 200.0}) {
        const Vector x = grid(n), y = steps(x);
        EXPECT_EQ(difference(analyse(smaller, x, y, temperature), analyse(name, x, y, temperature)),
                  "")
            << name << " " << n;
      }
    }
    const Vector x = grid(row.last + 1), y = steps(x);
    EXPECT_NE(analyse(smaller, x, y), analyse(name, x, y)) << name << " " << row.last + 1;
  }
}

TEST(Analyses, TheBoundsOfTemperatureAndLengthAreInside) {
  for (int states = 2; states <= 4; ++states) {
    for (double temperature : {0.0, 100.0}) {
      const Vector x = grid(48);
      EXPECT_GT(analyse(nameOf(Midpoint, states), x, steps(x), temperature)[ZOLTA_RT], 500);
    }
    const Vector x = grid(384);
    EXPECT_GT(analyse(nameOf(Full, states), x, steps(x))[ZOLTA_RT], 500) << states;
  }
}

// What a clean curve was made of comes back, in ascending order and in the right elements.
TEST(Analyses, CleanCurvesAreRecovered) {
  struct Tolerance {
    double Cm, dG, weight, rSquared;
  };
  const Tolerance tolerances[Kinds] = {
      {0.1, 0.2, 0.03, 0.9999}, {0.15, 0.35, 0.05, 0.999}, {1e-6, 1e-5, 1e-6, 1 - 1e-12}};
  const int codes[Kinds] = {0, ZOLTA_CODE_MIDPOINT_FIT, ZOLTA_CODE_BOTH_BASELINES};
  for (int states = 2; states <= 4; ++states) {
    for (std::uint64_t seed = 0; seed < 12; ++seed) {
      const GeneratedCurve curve = generateCurve({.transitions = states - 1,
                                                  .slopes = seed % 4 < 2 ? 0.0003 : 0.003,
                                                  .falling = seed % 2 == 1},
                                                 seed);
      for (int kind = 0; kind < Kinds; ++kind) {
        const Vector r = analyse(nameOf(kind, states), curve.x, curve.y, 25, baselinesOf(curve));
        const auto& [Cm, dG, weight, rSquared] = tolerances[kind];
        SCOPED_TRACE(nameOf(kind, states) + ", seed " + std::to_string(seed));
        const std::size_t count = curve.midpoints.size();
        for (std::size_t t = 0; t < count; ++t) {
          const std::size_t at[] = {ZOLTA_DG1, ZOLTA_DG2, ZOLTA_DG3};
          EXPECT_NEAR(r[at[t] + 1], curve.midpoints[t], Cm) << t;
          EXPECT_NEAR(r[at[t]], curve.energies[t], dG * curve.energies[t]) << t;
        }
        for (std::size_t t = 0; t + 1 < count; ++t) {
          const std::size_t at[] = {ZOLTA_WEIGHT1, ZOLTA_WEIGHT2};
          EXPECT_NEAR(r[at[t]], curve.weights[t], weight) << t;
        }
        EXPECT_GE(r[ZOLTA_R_SQUARED], rSquared);
        const int code = kind == Full ? codes[Full] : static_cast<int>(r[ZOLTA_FIT_CODE]);
        EXPECT_EQ(code, codes[kind]);
      }
    }
  }
}

// An exact curve on flat baselines 10 and 60, of transitions told as m-value, Cm and weight.
struct Made {
  double m, Cm, weight;
};
Vector signalOf(const std::vector<Made>& transitions, const Vector& x) {
  Vector y;
  for (double at : x) {
    double sum = 0.0;
    for (const auto& [m, Cm, weight] : transitions) {
      const double K = std::exp(-m * (Cm - at) / (298.15 * 1.9872));
      sum += weight * (10 + 60 * K) / (1 + K);
    }
    y.push_back(sum);
  }
  return y;
}

// Accepted are m-values from 100 to 15000, midpoints up to the last x, and weights from 0.08 to
// 0.92 of two transitions and from 0.06 to 0.94 of three; of the midpoint fits, which end near the
// truth, weights from 0.15 and from 0.12.
TEST(Analyses, OnlyPlausibleFitsAreAccepted) {
  struct Row {
    int kind;
    double reach;
    std::vector<Made> transitions;
    bool accepted;
  };
  for (const Row& row : {
           Row{User, 8, {{100.1, 4, 1}}, true},
           Row{User, 8, {{99.9, 4, 1}}, false},
           Row{User, 1, {{14999, 0.5, 1}}, true},
           Row{User, 1, {{15001, 0.5, 1}}, false},
           Row{User, 8, {{1500, 7.99, 1}}, true},
           Row{User, 8, {{1500, 8.01, 1}}, false},
           Row{User, 8, {{2500, 2.5, 0.0801}, {2500, 5.5, 0.9199}}, true},
           Row{User, 8, {{2500, 2.5, 0.0799}, {2500, 5.5, 0.9201}}, false},
           Row{User, 8, {{1500, 2, 0.9199}, {2500, 5.5, 0.0801}}, true},
           Row{User, 8, {{1500, 2, 0.9201}, {2500, 5.5, 0.0799}}, false},
           Row{User, 8, {{4500, 1.5, 0.0601}, {4500, 4, 0.4}, {4500, 6.5, 0.5399}}, true},
           Row{User, 8, {{4500, 1.5, 0.0599}, {4500, 4, 0.4}, {4500, 6.5, 0.5401}}, false},
           Row{User, 8, {{4500, 1.5, 0.4}, {4500, 4, 0.0601}, {4500, 6.5, 0.5399}}, true},
           Row{User, 8, {{4500, 1.5, 0.4}, {4500, 4, 0.0599}, {4500, 6.5, 0.5401}}, false},
           Row{Midpoint, 8, {{2500, 2.5, 0.1505}, {2500, 5.5, 0.8495}}, true},
           Row{Midpoint, 8, {{2500, 2.5, 0.1495}, {2500, 5.5, 0.8505}}, false},
           Row{Midpoint, 8, {{4500, 1.5, 0.1205}, {4500, 4, 0.4}, {4500, 6.5, 0.4795}}, true},
           Row{Midpoint, 8, {{4500, 1.5, 0.1195}, {4500, 4, 0.4}, {4500, 6.5, 0.4805}}, false},
       }) {
    const Vector x = grid(96, row.reach);
    const std::string name = nameOf(row.kind, static_cast<int>(row.transitions.size()) + 1);
    const Vector r = analyse(name, x, signalOf(row.transitions, x), 25, {10, 0, 60, 0});
    const auto& [m, Cm, weight] = row.transitions[0];
    const bool recovered = std::fabs(r[ZOLTA_DG1] / r[ZOLTA_CM1] / m - 1) < 0.01 &&
                           std::fabs(r[ZOLTA_CM1] - Cm) < 0.01;
    EXPECT_EQ(recovered, row.accepted)
        << name << " " << m << " " << Cm << " " << weight << ": " << r[ZOLTA_FIT_CODE] << " "
        << r[ZOLTA_DG1] << " " << r[ZOLTA_CM1] << " " << r[ZOLTA_WEIGHT1];
  }
}

// The elements that follow from a result's own parameters.
TEST(Analyses, ElementsFollowFromTheParameters) {
  std::vector<std::pair<GeneratedCurve, Vector>> fits;
  for (int index = 0; index < 120; ++index) {
    const GeneratedCurve curve = assortedCurve(index);
    for (const char* name : {"2state_chalf", "2state", "3state", "4state_chalf"}) {
      fits.emplace_back(curve, analyse(name, curve.x, curve.y, curve.temperature));
    }
  }
  std::erase_if(fits, [](const auto& fit) { return fit.second[ZOLTA_RT] == -1.0; });
  EXPECT_GT(fits.size(), 200u);
  for (const auto& [curve, r] : fits) {
    const double RT = r[ZOLTA_RT], w1 = r[ZOLTA_WEIGHT1], w2 = r[ZOLTA_WEIGHT2];
    const std::size_t count = r[ZOLTA_DG3] != 0.0 ? 3 : r[ZOLTA_DG2] != 0.0 ? 2 : 1;
    const Vector weights[] = {{1}, {w1, 1 - w1}, {w1, w2, 1 - w1 - w2}};
    constexpr std::size_t kEnergies[] = {ZOLTA_DG1, ZOLTA_DG2, ZOLTA_DG3};
    double sse = 0.0, sum = 0.0, sst = 0.0;
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
      const double x = curve.x[i], native = r[0] + r[1] * x, denatured = r[2] + r[3] * x;
      double signal = 0.0;
      for (std::size_t t = 0; t < count; ++t) {
        const double K = std::exp(-r[kEnergies[t]] * (1 - x / r[kEnergies[t] + 1]) / RT);
        signal += weights[count - 1][t] * (native + denatured * K) / (1 + K);
      }
      sse += (curve.y[i] - signal) * (curve.y[i] - signal);
      sum += curve.y[i];
    }
    for (double y : curve.y) {
      sst += std::pow(y - sum / static_cast<double>(curve.y.size()), 2);
    }
    EXPECT_NEAR(r[ZOLTA_R_SQUARED], 1 - sse / sst, 1e-9);
    for (std::size_t t = 0; t < count; ++t) {
      const double dG = r[kEnergies[t]], width = r[ZOLTA_DG1_WIDTH] / r[ZOLTA_DG1];
      EXPECT_DOUBLE_EQ(r[ZOLTA_K1_PPM + t], std::exp(-(dG / RT)) * 1e6);
      EXPECT_NEAR(r[ZOLTA_DG1_WIDTH + t], width * dG, 1e-12 * std::fabs(width * dG));
      EXPECT_TRUE(t == 0 || r[kEnergies[t] + 1] >= r[kEnergies[t - 1] + 1]) << "order of Cm";
    }
  }
}

TEST(UserBaselines, WhatIsNotGivenComesFromTheEnds) {
  for (int states = 2; states <= 4; ++states) {
    const GeneratedCurve curve = generateCurve({.transitions = states - 1}, 5);
    const std::string name = nameOf(User, states);
    const double first = curve.y.front(), last = curve.y.back();
    // With four states, slope and intercept of the denatured end stand in each other's place.
    const Vector ends =
        states == 4 ? Vector{first, 0.001, 0.001, last} : Vector{first, 0.001, last, 0.001};
    const Vector wanted = analyse(name, curve.x, curve.y, 25, ends);
    for (const Vector& notGiven : {Vector{0, 0, 0, 0}, {2.5, -2.5, -1, 1}}) {
      EXPECT_EQ(difference(wanted, analyse(name, curve.x, curve.y, 25, notGiven)), "") << name;
    }
    // A pair whose sum is below 0 is given, and so is one that is no number.
    EXPECT_NE(wanted, analyse(name, curve.x, curve.y, 25, {-1, 0, last, 0.001})) << name;
    EXPECT_NE(wanted, analyse(name, curve.x, curve.y, 25, {kNaN, 1, last, 0.001})) << name;
  }
}

TEST(UserBaselines, WrongOnesGiveWayToTheFullAnalysis) {
  const Vector wrong{500, 3, -70, 9};
  for (int states = 2; states <= 4; ++states) {
    const GeneratedCurve curve = generateCurve({.transitions = states - 1}, 9);
    const std::string name = nameOf(User, states);
    EXPECT_EQ(difference(analyse(nameOf(Full, states), curve.x, curve.y),
                         analyse(name, curve.x, curve.y, 25, wrong)),
              "")
        << name;
    // Where that finds nothing either, its own code is not passed on.
    Random random(4);
    Vector noise;
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
      noise.push_back(random.between(0, 1) + (i + 5 >= curve.x.size() ? 1.2 : 0));
    }
    EXPECT_EQ(difference(contract::failure(states, ZOLTA_CODE_NO_ACCEPTABLE_FIT),
                         analyse(name, curve.x, noise, 25, wrong)),
              "")
        << name;
  }
}

// A fit on the caller's baselines stands from an R-squared of 0.9, a midpoint fit from 0.5: a clean
// curve with more and more of a ripple passes until the ripple takes that share of the squares.
TEST(Analyses, PoorFitsAreRejected) {
  const Vector x = grid(96);
  const Vector clean = signalOf({{1500, 4, 1}}, x);
  const auto rippled = [&](double height) {
    Vector y = clean;
    for (std::size_t i = 0; i < y.size(); ++i) {
      y[i] += i % 2 == 0 ? height : -height;
    }
    return y;
  };
  struct Row {
    int kind, accepted, rejected;
    double rSquared;
  };
  for (const Row& row : {Row{User, ZOLTA_CODE_BOTH_BASELINES, ZOLTA_CODE_NO_ACCEPTABLE_FIT, 0.9},
                         {Midpoint, ZOLTA_CODE_MIDPOINT_FIT, ZOLTA_CODE_MIDPOINT_REJECTED, 0.5}}) {
    double least = 1.0, mostRejected = 0.0;
    for (double height = 4; height < 30; height += 0.02) {
      const Vector r = analyse(nameOf(row.kind, 2), x, rippled(height), 25, {10, 0, 60, 0});
      const int code = static_cast<int>(r[ZOLTA_FIT_CODE]);
      EXPECT_TRUE(code == row.accepted || code == row.rejected) << height << " " << code;
      (code == row.accepted ? least : mostRejected) =
          code == row.accepted ? std::min(least, r[ZOLTA_R_SQUARED]) : height;
    }
    EXPECT_NEAR(least, row.rSquared, 0.002);
    EXPECT_GT(mostRejected, 0.0);
  }
  // One NaN stops every fit at its start, and no sum of squares is left to judge it by.
  Vector holed = steps(x);
  holed[20] = kNaN;
  for (int states = 2; states <= 4; ++states) {
    EXPECT_EQ(difference(contract::failure(states, ZOLTA_CODE_MIDPOINT_REJECTED),
                         analyse(nameOf(Midpoint, states), x, holed)),
              "");
  }
}

}  // namespace
