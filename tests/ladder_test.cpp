// The ladders of the three models: every code is reached, by the column that it names.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "analysis/decision.h"

namespace {

using zolt::EndAgreement;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Codes = std::vector<int>;
using RSquared = std::vector<double>;

// The codes of each column of the given-baseline families and of the general family. The first
// columns leave a side free, the next ones take three points.
struct Model {
  const char* name;
  const zolt::LadderTable& ladders;
  std::size_t freeSide, threePoint;  // columns of these kinds
  Codes native, denatured, general;
};

const Model kModels[] = {
    {"two states",
     zolt::twoStateLadders,
     2,
     2,
     {ZOLTA_2STATE_NATIVE_FREE_SIDE, ZOLTA_2STATE_NATIVE_FREE_SIDE_HINT,
      ZOLTA_2STATE_NATIVE_THREE_POINT, ZOLTA_2STATE_NATIVE_THREE_POINT_HINT,
      ZOLTA_2STATE_NATIVE_END_POINT, ZOLTA_2STATE_NATIVE_END_POINT_HINT, ZOLTA_2STATE_NATIVE_WINDOW,
      ZOLTA_2STATE_NATIVE_WINDOW_HINT, ZOLTA_2STATE_NATIVE_REFIT},
     {22, 20, 14, 12, 18, 16, 8, 6, 10},
     {ZOLTA_2STATE_ALL_FREE, ZOLTA_2STATE_THREE_POINT, ZOLTA_2STATE_END_POINT, ZOLTA_2STATE_WINDOW,
      ZOLTA_2STATE_ALL_FREE_HINT, ZOLTA_2STATE_THREE_POINT_HINT, ZOLTA_2STATE_END_POINT_HINT,
      ZOLTA_2STATE_WINDOW_HINT, ZOLTA_2STATE_REFIT}},
    {"three states",
     zolt::threeStateLadders,
     2,
     2,
     {ZOLTA_3STATE_NATIVE_FREE_SIDE, ZOLTA_3STATE_NATIVE_FREE_SIDE_WEIGHT,
      ZOLTA_3STATE_NATIVE_THREE_POINT, ZOLTA_3STATE_NATIVE_THREE_POINT_WEIGHT,
      ZOLTA_3STATE_NATIVE_END_POINT, ZOLTA_3STATE_NATIVE_END_POINT_WEIGHT,
      ZOLTA_3STATE_NATIVE_WINDOW, ZOLTA_3STATE_NATIVE_WINDOW_WEIGHT},
     {20, 18, 12, 10, 16, 14, 8, 6},
     {ZOLTA_3STATE_ALL_FREE, ZOLTA_3STATE_THREE_POINT, ZOLTA_3STATE_END_POINT, ZOLTA_3STATE_WINDOW,
      ZOLTA_3STATE_HALVES, ZOLTA_3STATE_HALVES_PEAKS, ZOLTA_3STATE_HALVES_BEST,
      ZOLTA_3STATE_ALL_FREE_WEIGHT, ZOLTA_3STATE_THREE_POINT_WEIGHT, ZOLTA_3STATE_END_POINT_WEIGHT,
      ZOLTA_3STATE_WINDOW_WEIGHT}},
    {"four states",
     zolt::fourStateLadders,
     4,
     4,
     {29, 36, 38, 31, 13, 17, 19, 15, 21, 25, 27, 23, 5, 9, 11, 7},
     {30, 37, 39, 35, 14, 18, 20, 16, 22, 26, 28, 24, 6, 10, 12, 8},
     {52, 55, 54, 53, 56, 59, 58, 57, 60, 63, 62, 61, 40, 43, 42, 41,
      68, 71, 70, 69, 64, 67, 66, 65, 48, 51, 50, 49, 44, 47, 46, 45}}};

TEST(LadderTables, EveryColumnHasItsCodesAndItsLimit) {
  const double last = 0.9995 - 0.0005 * 19;
  for (const Model& model : kModels) {
    ASSERT_EQ(model.ladders.pairs.size(), model.native.size()) << model.name;
    for (std::size_t c = 0; c < model.native.size(); ++c) {
      const double offset = c < model.freeSide                      ? 0.001
                            : c < model.freeSide + model.threePoint ? -0.0005
                                                                    : 0.0;
      for (const bool native : {true, false}) {
        const int wanted = native ? model.native[c] : model.denatured[c];
        for (const double rsq : {last + offset, std::nextafter(last + offset, 0.0)}) {
          RSquared good(model.native.size(), -1.0);
          const RSquared poor = good;
          good[c] = rsq;
          const auto taken =
              zolt::walkPairs(model.ladders.pairs, native ? good : poor, native ? poor : good);
          EXPECT_EQ(taken ? taken->code : 0, rsq == last + offset ? wanted : 0)
              << model.name << ", column " << c;
          EXPECT_TRUE(!taken || (taken->column == c && taken->native == native)) << model.name;
        }
      }
    }
    ASSERT_EQ(model.ladders.order.size(), model.general.size()) << model.name;
    for (std::size_t c = 0; c < model.general.size(); ++c) {
      RSquared good(model.general.size(), 0.94);
      good[c] = 0.96;
      const auto taken = zolt::walkColumns(model.ladders.order, model.ladders.firstCode, good);
      ASSERT_TRUE(taken) << model.name << ", general column " << c;
      EXPECT_EQ(taken->code, model.general[c]) << model.name << ", general column " << c;
      EXPECT_EQ(taken->column, c) << model.name;
    }
  }
}

// Of columns that are all perfect, the one with the smallest code is taken.
TEST(LadderTables, CodesStandInTheOrderOfPreference) {
  for (const Model& model : kModels) {
    RSquared native(model.native.size(), 1.0);
    const RSquared denatured(native.size(), 0.0);
    Codes wanted = model.native, got;
    std::sort(wanted.begin(), wanted.end());
    // The strict columns, which 1.0 passes one threshold later than the others, come last anyway.
    while (const auto taken = zolt::walkPairs(model.ladders.pairs, native, denatured)) {
      got.push_back(taken->code);
      native[taken->column] = 0;
    }
    EXPECT_EQ(got, wanted) << model.name;

    RSquared general(model.general.size(), 1.0);
    wanted = model.general, got.clear();
    std::sort(wanted.begin(), wanted.end());
    while (const auto taken =
               zolt::walkColumns(model.ladders.order, model.ladders.firstCode, general)) {
      got.push_back(taken->code);
      general[taken->column] = 0;
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
    std::array<EndAgreement, 4> ends;
    for (std::size_t c = 0; c < 4; ++c) {
      ends[c].denatured = row.agrees[c];
    }
    const auto taken = zolt::acceptedColumn(row.rsq, ends, &EndAgreement::denatured);
    EXPECT_EQ(taken ? static_cast<int>(*taken) : -1, row.column) << row.what;
    EXPECT_FALSE(zolt::acceptedColumn(row.rsq, ends, &EndAgreement::native)) << row.what;
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
