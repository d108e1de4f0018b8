// How often the number of states is right, counted on curves with known truth.
#include <algorithm>
#include <array>
#include <functional>

#include "simulated.h"

namespace {

using namespace simulated;

struct Design {
  const char* name;
  std::function<Data(std::uint64_t)> make;
  int states;  // that are right
  int curves;
  int mostWrong;
};

TEST(Evidence, TheNumberOfStatesIsRight) {
  const auto from = [](const std::vector<Transition>& truth, int n, double sigma) {
    return [=](std::uint64_t seed) { return sample(truth, n, sigma, seed); };
  };
  const auto without = [](double (*value)(double), int n) {
    return [=](std::uint64_t seed) { return plain(value, n, 0.02, seed); };
  };
  const auto line = [](double u) { return u; };
  const auto parabola = [](double u) { return u * u; };
  const auto decay = [](double u) { return std::exp(-3.0 * u); };
  const Design designs[] = {
      {"line", without(line, 24), 0, 50, 2},
      {"line, 12 readings", without(line, 12), 0, 50, 2},
      {"parabola", without(parabola, 24), 0, 50, 2},
      {"exponential", without(decay, 24), 0, 50, 2},
      {"one transition, 24 readings, 3 %", from(kOne, 24, 0.03), 2, 60, 1},
      {"one transition, 48 readings, 1 %", from(kOne, 48, 0.01), 2, 60, 1},
      {"one transition, 96 readings, 0.5 %", from(kOne, 96, 0.005), 2, 40, 1},
      {"two transitions, 48 readings, 1 %", from(kTwo, 48, 0.01), 3, 60, 2},
      {"three transitions, 96 readings, 0.2 %", from(kThree, 96, 0.002), 4, 10, 1},
  };
  for (const Design& design : designs) {
    int wrong = 0;
    for (int i = 0; i < design.curves; ++i) {
      const Decided decided = decide(design.make(static_cast<std::uint64_t>(1000 + i)));
      wrong += decided.evidence.states != design.states;
      EXPECT_EQ(decided.fit.status,
                decided.evidence.states == 0 ? ZOLTI_NO_TRANSITION : ZOLTI_FITTED);
      EXPECT_EQ(decided.fit.transitions, std::max(decided.evidence.states, 2) - 1);
      // What is told against a transition is a curve that stands its ground.
      const ZOLTI_EvidenceRow& two = decided.evidence.row[ZOLTI_MODEL_TWO_STATES];
      EXPECT_TRUE(decided.evidence.states > 0 || two.p >= 0.01 || two.p_without >= 0.05);
    }
    EXPECT_LE(wrong, design.mostWrong) << design.name;
  }
}

TEST(Evidence, BothMidpointsOfTwoTransitionsAreRight) {
  int right = 0;
  for (std::uint64_t seed = 1; seed <= 60; ++seed) {
    const ZOLTI_Fit found = decide(sample(kTwo, 48, 0.01, seed)).fit;
    right += std::abs(found.Cm[0] - 2.2) < 0.1 && std::abs(found.Cm[1] - 5.6) < 0.1;
  }
  EXPECT_GE(right, 58);
}

TEST(Evidence, RowsTellWhyAModelWasLeft) {
  struct Case {
    Data data;
    int model, outcome;
    const char* said;
  };
  Data spoilt = sample(kOne, 40, 0.004, 12);
  spoilt.y[9] += 0.08;
  const Case cases[] = {
      {sample(kOne, 16, 0.01), ZOLTI_MODEL_THREE_STATES, ZOLTI_FEW_READINGS,
       "Two states. 16 readings: 18 are needed to look for a third state."},
      {sample(kOne, 24, 0.0005), ZOLTI_MODEL_THREE_STATES, ZOLTI_NO_NEED, "Two states. The res"},
      {sample(kTwo, 48, 0.01), ZOLTI_MODEL_THREE_STATES, ZOLTI_PASSED, "Three states. The sec"},
      {sample({{4000.0, 2.2, 0.12}, {13000.0, 5.6, 0.88}}, 96, 0.001), ZOLTI_MODEL_THREE_STATES,
       ZOLTI_PASSED, "Three states. The sec"},
      {sample({{4000.0, 2.2, 0.08}, {13000.0, 5.6, 0.92}}, 96, 0.001), ZOLTI_MODEL_THREE_STATES,
       ZOLTI_SMALL_WEIGHT, "Two states, not fully"},
      {plain([](double u) { return 1.0 - u; }, 20, 0.02, 6), ZOLTI_MODEL_TWO_STATES,
       ZOLTI_SERVES_AS_WELL, "No transition. A"},
  };
  for (const Case& one : cases) {
    const Decided decided = decide(one.data);
    EXPECT_EQ(decided.evidence.row[one.model].outcome, one.outcome) << decided.sentence;
    EXPECT_EQ(decided.sentence.rfind(one.said, 0), 0U) << decided.sentence;
  }
  EXPECT_EQ(decide(spoilt).evidence.states, 2);
}

// Akaike's criterion, its differences and the F test against the sums of squares of the rows.
TEST(Evidence, RowsAgreeWithTheirSums) {
  const Decided decided = decide(sample(kTwo, 48, 0.01, 4));
  const ZOLTI_EvidenceRow& two = decided.evidence.row[ZOLTI_MODEL_TWO_STATES];
  const ZOLTI_EvidenceRow& three = decided.evidence.row[ZOLTI_MODEL_THREE_STATES];
  EXPECT_EQ(three.parameters, 9);
  EXPECT_NEAR(three.F, (two.sse - three.sse) / 3.0 / (three.sse / 39.0), 1e-6 * three.F);
  const double K = 10.0;
  EXPECT_NEAR(three.aicc - two.aicc,
              48.0 * std::log(three.sse / two.sse) + 2.0 * K + 2.0 * K * (K + 1.0) / (47.0 - K) -
                  (2.0 * 7.0 + 2.0 * 7.0 * 8.0 / 40.0),
              1e-6);
  EXPECT_EQ(three.aicc_difference, 0.0);
  EXPECT_NEAR(two.aicc_difference, two.aicc - three.aicc, 1e-9);
  EXPECT_NEAR(three.residual_sd, decided.fit.residual_sd, 1e-12);
  // Eight readings leave the criterion a divisor of 0, and so no value.
  const ZOLTI_Evidence few = decide(sample(kOne, 8, 0.01)).evidence;
  EXPECT_EQ(few.row[ZOLTI_MODEL_TWO_STATES].aicc_difference, -1.0);
}

// Nothing can gain on a model that leaves nothing.
TEST(Evidence, ALineWithoutNoiseLeavesNothingToGain) {
  const Decided decided = decide(plain([](double u) { return u; }, 24, 0.0, 1));
  const ZOLTI_EvidenceRow& two = decided.evidence.row[ZOLTI_MODEL_TWO_STATES];
  EXPECT_EQ(decided.evidence.states, 0);
  EXPECT_EQ(two.F, 0.0);
  EXPECT_EQ(two.p, 1.0);
}

TEST(Evidence, TheAskedForMostIsKept) {
  const Data data = sample(kTwo, 48, 0.01, 4);
  EXPECT_EQ(decide(data, 2).evidence.states, 2);
  EXPECT_EQ(decide(data, 2).evidence.row[ZOLTI_MODEL_THREE_STATES].outcome, ZOLTI_NOT_TRIED);
}

TEST(Evidence, SentencesFitTheirBuffer) {
  const Decided decided = decide(sample(kOne, 24, 0.01));
  std::array<char, 64> buffer;
  EXPECT_GT(ZOLTI_evidence_sentence(&decided.evidence, nullptr, 0), 0);
  for (const std::size_t size : {1U, 10U, 64U}) {
    buffer.fill('#');
    const int length =
        ZOLTI_evidence_sentence(&decided.evidence, buffer.data(), static_cast<int>(size));
    EXPECT_EQ(length, static_cast<int>(decided.sentence.size()));
    EXPECT_EQ(std::string(buffer.data()), decided.sentence.substr(0, size - 1));
    EXPECT_TRUE(std::all_of(buffer.begin() + static_cast<std::ptrdiff_t>(size), buffer.end(),
                            [](char c) { return c == '#'; }));
  }
}

}  // namespace
