// The ladders of the three models: every code is reached, by the column that it names.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "analysis/four_state.h"
#include "analysis/three_state.h"
#include "analysis/two_state.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Codes = std::vector<int>;
using RSquared = std::vector<double>;

// The codes of each column, in numbers: they are an interface, and so is their order, in which the
// ladders try the columns. The first columns with a known baseline leave a side free, the next ones
// take three points.
struct Ladders {
  const char* name;
  std::vector<zolt::GivenRung> given;
  std::vector<zolt::GeneralRung> general;
  std::size_t perStart;  // columns that share a start
  Codes nativeCodes, denaturedCodes, generalCodes;
};

template <class Model>
Ladders laddersOf(const char* name, std::size_t perStart, Codes native, Codes denatured,
                  Codes general) {
  const auto first = zolt::givenLadder(Model::kGiven);
  const auto second = zolt::generalLadder(Model::kGeneral);
  return {name,
          {first.begin(), first.end()},
          {second.begin(), second.end()},
          perStart,
          native,
          denatured,
          general};
}

const Ladders kModels[] = {
    laddersOf<zolt::TwoState>("two states", 2, {21, 19, 13, 11, 17, 15, 7, 5, 9},
                              {22, 20, 14, 12, 18, 16, 8, 6, 10},
                              {27, 29, 31, 24, 26, 28, 30, 23, 25}),
    laddersOf<zolt::ThreeState>("three states", 2, {19, 17, 11, 9, 15, 13, 7, 5},
                                {20, 18, 12, 10, 16, 14, 8, 6},
                                {25, 27, 29, 22, 31, 30, 23, 24, 26, 28, 21}),
    laddersOf<zolt::FourState>("four states", 4,
                               {29, 36, 38, 31, 13, 17, 19, 15, 21, 25, 27, 23, 5, 9, 11, 7},
                               {30, 37, 39, 35, 14, 18, 20, 16, 22, 26, 28, 24, 6, 10, 12, 8},
                               {52, 55, 54, 53, 56, 59, 58, 57, 60, 63, 62, 61, 40, 43, 42, 41,
                                68, 71, 70, 69, 64, 67, 66, 65, 48, 51, 50, 49, 44, 47, 46, 45})};

TEST(Ladders, EveryColumnHasItsCodesAndItsLimit) {
  const double last = 0.9995 - 0.0005 * 19;
  for (const Ladders& model : kModels) {
    ASSERT_EQ(model.given.size(), model.nativeCodes.size()) << model.name;
    for (std::size_t c = 0; c < model.given.size(); ++c) {
      const double offset = c < model.perStart ? 0.001 : c < 2 * model.perStart ? -0.0005 : 0.0;
      for (const bool native : {true, false}) {
        const int wanted = native ? model.nativeCodes[c] : model.denaturedCodes[c];
        for (const double rsq : {last + offset, std::nextafter(last + offset, 0.0)}) {
          RSquared good(model.given.size(), -1.0);
          const RSquared poor = good;
          good[c] = rsq;
          const auto taken =
              zolt::walkGiven(model.given, native ? good : poor, native ? poor : good);
          EXPECT_EQ(taken ? taken->code : 0, rsq == last + offset ? wanted : 0)
              << model.name << ", column " << c;
          EXPECT_TRUE(!taken || (taken->column == c && taken->native == native)) << model.name;
        }
      }
    }
    ASSERT_EQ(model.general.size(), model.generalCodes.size()) << model.name;
    for (std::size_t c = 0; c < model.general.size(); ++c) {
      for (const bool passes : {true, false}) {
        RSquared good(model.general.size(), 0.94);
        good[c] = passes ? 0.999 - 0.001 * 49 : std::nextafter(0.999 - 0.001 * 49, 0.0);
        const auto taken = zolt::walkGeneral(model.general, good);
        EXPECT_EQ(taken ? taken->code : 0, passes ? model.generalCodes[c] : 0)
            << model.name << ", general column " << c;
      }
    }
  }
}

// Of columns that are all perfect, the one with the smallest code is taken.
TEST(Ladders, TryTheColumnsInTheOrderOfTheirCodes) {
  for (const Ladders& model : kModels) {
    RSquared rsq(model.given.size(), 1.0);
    const RSquared denatured(rsq.size(), 0.0);
    Codes wanted = model.nativeCodes, got;
    std::sort(wanted.begin(), wanted.end());
    // The strict columns, which 1.0 passes one threshold later than the others, come last anyway.
    while (const auto taken = zolt::walkGiven(model.given, rsq, denatured)) {
      got.push_back(taken->code);
      rsq[taken->column] = 0;
    }
    EXPECT_EQ(got, wanted) << model.name;

    rsq.assign(model.general.size(), 1.0);
    wanted = model.generalCodes, got.clear();
    std::sort(wanted.begin(), wanted.end());
    while (const auto taken = zolt::walkGeneral(model.general, rsq)) {
      got.push_back(taken->code);
      rsq[taken->column] = 0;
    }
    EXPECT_EQ(got, wanted) << model.name;
  }
}

TEST(AcceptedColumn, ReadsTheRankedListBesideTheColumns) {
  struct Row {
    const char* what;
    std::array<double, 4> rsq;
    std::array<bool, 4> agrees;
    int column;
  };
  for (const Row& row :
       {Row{"none good", {0.9, 0.98, 0, -1}, {true, true, true, true}, -1},
        Row{"none agrees", {1, 1, 1, 1}, {}, -1},
        Row{"the first of all good ones", {0.99, 0.995, 1, 1}, {true, true, true, true}, 0},
        // One good value admits column 0 alone, whoever holds it.
        Row{"a poor column in a good one's place", {0, 0, 0, 0.999}, {true, false, false, true}, 0},
        Row{"a good column beyond the count", {0, 0, 0, 0.999}, {false, false, false, true}, -1},
        Row{"two good values admit column 1", {0, 0, 0.99, 0.99}, {false, true, true, true}, 1},
        Row{"NaN ranks first and admits nothing", {kNaN, 1, 0, 0}, {true, false, true, true}, -1},
        Row{"NaN moves the rest back", {kNaN, 1, 0, 0}, {true, true, true, true}, 1}}) {
    const auto taken = zolt::acceptedColumn(row.rsq, [&](std::size_t c) { return row.agrees[c]; });
    EXPECT_EQ(taken ? static_cast<int>(*taken) : -1, row.column) << row.what;
  }
}

TEST(BestColumn, KeepsTheFirstOfEqualValues) {
  const std::array<double, 5> rsq{-1, 0.5, 0.5, kNaN, 0.7};
  EXPECT_EQ(zolt::bestColumn(rsq, 0, 4), 1u);
  EXPECT_EQ(zolt::bestColumn(rsq, 0, 5), 4u);
  EXPECT_EQ(zolt::bestColumn(rsq, 3, 4), 3u);
  EXPECT_EQ(zolt::bestColumn(rsq, 0, 1), 0u);
}

}  // namespace
