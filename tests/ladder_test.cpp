// The decision ladders, driven by made-up R-squared values.
#include <gtest/gtest.h>

#include "analysis/decision.h"

namespace {

using zolt::EndAgreement;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Three columns with the three kinds of offset.
constexpr zolt::PairStep kSteps[] = {{2, 0.0, 5, 6}, {0, -0.0005, 7, 8}, {1, 0.001, 9, 10}};
using Row3 = std::array<double, 3>;

TEST(WalkPairs, TakesTheFirstPairThatPasses) {
  struct Row {
    const char* what;
    Row3 native, denatured;
    int code;
  };
  const double first = 0.9995, second = 0.9995 - 0.0005 * 1;
  const double last = 0.9995 - 0.0005 * 19;
  for (const Row& row : {
           Row{"nothing", {0, 0, 0}, {0, 0, 0}, 0},
           Row{"failed columns", {-1, kNaN, -1}, {kNaN, -1, kNaN}, 0},
           Row{"at the threshold", {0, 0, first}, {0, 0, 0}, 5},
           Row{"the denatured column alone", {0, 0, 0}, {0, 0, first}, 6},
           Row{"a tie is the denatured column's", {0, 0, first}, {0, 0, first}, 6},
           Row{"the better of the two", {0, 0, 0.9999}, {0, 0, first}, 5},
           Row{"earlier in the order", {1, 1, 1}, {0, 0, 0}, 5},
           Row{"a lenient column passes a step early", {second, 0, second}, {0, 0, 0}, 7},
           Row{"a strict column passes at 1 only two steps late", {0, 1, 0}, {0, 0, first}, 6},
           Row{"a strict column", {0, 1, 0}, {0, 0, 0}, 9},
           Row{"a higher threshold before an earlier place", {first - 0.0005, 0, 0.9989}, {}, 7},
           Row{"the last threshold", {0, 0, last}, {0, 0, 0}, 5},
           Row{"just below the last", {0, 0, std::nextafter(last, 0.0)}, {0, 0, 0}, 0},
           Row{"the last threshold, lenient", {last - 0.0005, 0, 0}, {0, 0, 0}, 7},
           Row{"the last threshold, strict", {0, 0, 0}, {0, last + 0.001, 0}, 10},
           Row{"just below the last, strict", {}, {0, std::nextafter(last + 0.001, 0.0), 0}, 0},
           Row{"NaN beside a number", {0, 0, kNaN}, {0, 0, first}, 6},
           Row{"NaN loses even where it took no part", {0, 0, first}, {0, 0, kNaN}, 6},
       }) {
    const auto taken = zolt::walkPairs(kSteps, row.native, row.denatured);
    EXPECT_EQ(taken ? taken->code : 0, row.code) << row.what;
    if (taken) {
      EXPECT_EQ(taken->native, row.code % 2 == 1) << row.what;
      EXPECT_EQ(taken->column, row.code <= 6 ? 2u : row.code <= 8 ? 0u : 1u) << row.what;
    }
  }
}

TEST(WalkColumns, TakesTheFirstColumnThatPasses) {
  constexpr int kOrder[] = {2, 0, 1};
  struct Row {
    const char* what;
    Row3 rsq;
    int code;
  };
  const double last = 0.999 - 0.001 * 49;
  for (const Row& row : {Row{"nothing", {0, -1, kNaN}, 0}, Row{"preferred", {1, 1, 0.999}, 40},
                         Row{"higher threshold first", {0.9981, 0.9991, 0.9985}, 42},
                         Row{"same threshold", {0.9989, 0.9982, 0.9979}, 41},
                         Row{"last threshold", {0, 0, last}, 40},
                         Row{"below the last", {0, 0, std::nextafter(last, 0.0)}, 0}}) {
    const auto taken = zolt::walkColumns(kOrder, 40, row.rsq);
    EXPECT_EQ(taken ? taken->code : 0, row.code) << row.what;
    if (taken) {
      EXPECT_EQ(taken->column, static_cast<std::size_t>(kOrder[row.code - 40])) << row.what;
    }
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
