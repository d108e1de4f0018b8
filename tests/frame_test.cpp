// Array records, the scalar kit, the sorts and the grid.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "frame/array_records.h"
#include "frame/linear_grid.h"
#include "frame/result_vector.h"
#include "frame/scalar_kit.h"
#include "frame/sorting.h"
#include "support/bits.h"
#include "support/records.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
using Vector = std::vector<double>;

TEST(ArrayRecords, GrowByDoublingAndKeepWhatWasThere) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  struct Growth {
    std::int32_t allocated, wanted, capacity;
  };
  for (const Growth& row : {Growth{0, 1, 16},
                            {0, 17, 32},
                            {100, 101, 200},
                            {17, 18, 34},
                            {-1, 3, 16},
                            {0x40000000, 0x40000001, kMost},
                            {1, kMost, kMost}}) {
    EXPECT_EQ(zolt::grownCapacity(row.allocated, row.wanted), row.capacity)
        << row.allocated << " to " << row.wanted;
  }

  struct Resize {
    std::int32_t before, after, oldCount, kept;
    bool moves;
  };
  for (const Resize& row : {Resize{4, 3, 4, 3, false},
                            {4, 4, 4, 4, false},
                            {4, 5, 4, 4, true},
                            {4, 40, 2, 2, true},
                            {4, 5, -3, 0, true},
                            {0, 1, 0, 0, true}}) {
    double buffer[] = {1, 2, 3, 4};
    auto* record = zolt::emxCreateWrapper<emxArray_real_T>(buffer, 1, row.before);
    record->size[1] = row.after;
    zolt::emxEnsureCapacity(record, row.oldCount, sizeof(double));
    EXPECT_EQ(record->data != buffer, row.moves) << row.after;
    EXPECT_EQ(record->canFreeData, row.moves) << row.after;
    for (std::int32_t i = 0; i < row.after; ++i) {
      EXPECT_EQ(record->data[i], i < row.kept ? i + 1.0 : 0.0) << row.after << " at " << i;
    }
    zolt::emxFree(&record);
    EXPECT_EQ(record, nullptr);
    zolt::emxFree(&record);
    EXPECT_EQ(buffer[3], 4.0);
  }
}

TEST(ArrayRecords, OneWrapperServesEveryKind) {
  // Compilers take two names for two addresses unless they cannot look.
  void (*volatile real)() = reinterpret_cast<void (*)()>(&ZOLTA_emxCreateWrapper_real_T);
  void (*volatile whole)() = reinterpret_cast<void (*)()>(&ZOLTA_emxCreateWrapper_int32_T);
  EXPECT_EQ(real, whole);
  emxArray_int32_T* record = ZOLTA_emxCreateWrapper_int32_T(nullptr, 0, 7);
  EXPECT_EQ(record->allocatedSize, 0);
  EXPECT_EQ(record->numDimensions, 2);
  EXPECT_FALSE(record->canFreeData);
  EXPECT_EQ(zolt::resizeRow(record, 17).size(), 17u);
  EXPECT_EQ(record->allocatedSize, 32);
  EXPECT_EQ(zolt::resizeRow(record, -5).size(), 0u);
  EXPECT_EQ(record->allocatedSize, 32);
  record->size[0] = record->size[1] = 0x10000;
  EXPECT_EQ(zolt::elementCount(record->size, 2), 0) << "the count wraps";
  zolt::emxFree(&record);
}

TEST(ScalarKit, SpecialCases) {
  const double third = 1.0 / 3.0;
  struct Row {
    const char* call;
    double got, wanted;
  };
  for (const Row& row : {
           Row{"power(3, 0)", zolt::scalarPower(3, 0), 0},
           {"power(0.5, -0)", zolt::scalarPower(0.5, -0.0), 0},
           {"power(1, 0)", zolt::scalarPower(1, 0), 1},
           {"power(-1, 0)", zolt::scalarPower(-1, 0), 1},
           {"power(NaN, 2)", zolt::scalarPower(kNaN, 2), 0},
           {"power(2, NaN)", zolt::scalarPower(2, kNaN), 0},
           {"power(-8, 1/3)", zolt::scalarPower(-8, third), 0},
           {"power(-2, 3)", zolt::scalarPower(-2, 3), -8},
           {"power(4, -1)", zolt::scalarPower(4, -1), 0.25},
           {"power(inf, 2)", zolt::scalarPower(kInf, 2), kInf},
           {"power(9, 0.5)", zolt::scalarPower(9, 0.5), 3},
           {"hypot(1, 1)", zolt::scalarHypot(1, 1), 1.4142135623730951},
           {"hypot(3*2^600, -4*2^600)", zolt::scalarHypot(0x3p600, -0x4p600), 0x5p600},
           {"hypot(1, NaN)", zolt::scalarHypot(1, kNaN), kNaN},
           {"hypot(NaN, 1)", zolt::scalarHypot(kNaN, 1), kNaN},
           {"hypot(inf, inf)", zolt::scalarHypot(kInf, -kInf), kInf},
           {"round(-0.5)", zolt::scalarRound(-0.5), -1},
           {"round(-0.4)", zolt::scalarRound(-0.4), -0.0},
           {"round(0.4)", zolt::scalarRound(0.4), 0.0},
           {"round(2.5)", zolt::scalarRound(2.5), 3},
           {"round(-2.5)", zolt::scalarRound(-2.5), -3},
           {"round(2^52 + 1)", zolt::scalarRound(4503599627370497.0), 4503599627370497.0},
           {"round(NaN)", zolt::scalarRound(kNaN), kNaN},
           {"roundToInt(NaN)", double(zolt::roundToInt(kNaN)), 0},
           {"roundToInt(1e30)", double(zolt::roundToInt(1e30)), 2147483647.0},
           {"roundToInt(-inf)", double(zolt::roundToInt(-kInf)), -2147483648.0},
           {"deviation()", zolt::sampleStdDev(Vector{}), 0},
           {"deviation(7)", zolt::sampleStdDev(Vector{7}), 0},
           {"deviation(1, 3)", zolt::sampleStdDev(Vector{1, 3}), std::sqrt(2.0)},
           {"deviation(1, NaN)", zolt::sampleStdDev(Vector{1, kNaN}), kNaN},
           {"max()", zolt::arrayMaxSkipNaN(Vector{}), kNaN},
           {"max(NaN, NaN)", zolt::arrayMaxSkipNaN(Vector{kNaN, kNaN}), kNaN},
           {"max(NaN, -2, NaN, -1)", zolt::arrayMaxSkipNaN(Vector{kNaN, -2, kNaN, -1}), -1},
           {"min(3, NaN, 1, 2)", zolt::arrayMinSkipNaN(Vector{3, kNaN, 1, 2}), 1},
           {"min(0, -0)", zolt::arrayMinSkipNaN(Vector{0.0, -0.0}), 0.0},
           {"mean of five", zolt::meanOfFive(Vector{1e16, 1, 1, 1, -1e16}.data()), 0},
       }) {
    EXPECT_TRUE(sameBits(row.wanted, row.got)) << row.call << " " << wantedGot(row.wanted, row.got);
  }
  // The stored infinity is 0, and only 0 is infinite.
  EXPECT_TRUE(zolt::isInfiniteValue(0.0) && zolt::isInfiniteValue(-0.0));
  EXPECT_FALSE(zolt::isInfiniteValue(kInf) || zolt::isInfiniteValue(kNaN));
  const bool flags[] = {true, false};
  EXPECT_TRUE(zolt::allTrue({}) && !zolt::anyTrue({}));
  EXPECT_TRUE(!zolt::allTrue(flags) && zolt::anyTrue(flags));
}

TEST(Sorting, IsStableAndKnowsWhereNaNGoes) {
  struct Row {
    Vector values, descending;
    std::vector<int> descendingPlaces;
    Vector ascending;
    std::vector<int> ascendingPlaces;
  };
  for (const Row& row : {Row{{}, {}, {}, {}, {}},
                         {{1, 3, 2}, {3, 2, 1}, {1, 2, 0}, {1, 2, 3}, {0, 2, 1}},
                         {{2, 1, 2, 1}, {2, 2, 1, 1}, {0, 2, 1, 3}, {1, 1, 2, 2}, {1, 3, 0, 2}},
                         {{0.0, -0.0}, {0.0, -0.0}, {0, 1}, {0.0, -0.0}, {0, 1}},
                         {{1, kNaN, kInf, kNaN, -kInf},
                          {kNaN, kNaN, kInf, 1, -kInf},
                          {1, 3, 2, 0, 4},
                          {-kInf, 1, kInf, kNaN, kNaN},
                          {4, 0, 2, 1, 3}}}) {
    Vector down = row.values, up = row.values;
    std::vector<int> downPlaces(down.size()), upPlaces(up.size());
    zolt::sortDescending(down, downPlaces);
    zolt::sortAscending(up, upPlaces);
    EXPECT_EQ(downPlaces, row.descendingPlaces);
    EXPECT_EQ(upPlaces, row.ascendingPlaces);
    for (std::size_t i = 0; i < down.size(); ++i) {
      EXPECT_TRUE(sameBits(row.descending[i], down[i])) << wantedGot(row.descending[i], down[i]);
      EXPECT_TRUE(sameBits(row.ascending[i], up[i])) << wantedGot(row.ascending[i], up[i]);
    }
  }
}

TEST(LinearGrid, EndsAreExact) {
  struct Row {
    double a, b;
    std::int32_t n;
    Vector grid;
  };
  for (const Row& row : {Row{0, 1, 0, {}},
                         {0, 1, -2, {}},
                         {0, 1, 1, {1}},
                         {0, 1, 2, {0, 1}},
                         {0.1, 0.7, 3, {0.1, 0.1 + 0.6 / 2, 0.7}},
                         {5, 1, 3, {5, 3, 1}},
                         {2, 2, 3, {2, 2, 2}},
                         {-1.5e308, 1.5e308, 3, {-1.5e308, 0, 1.5e308}}}) {
    RealRecord out;
    zolt::linearGrid(row.a, row.b, row.n, &out);
    const Vector grid = out.row();
    ASSERT_EQ(grid.size(), row.grid.size());
    for (std::size_t i = 0; i < grid.size(); ++i) {
      EXPECT_DOUBLE_EQ(grid[i], row.grid[i]) << row.a << " to " << row.b << " at " << i;
    }
    EXPECT_TRUE(grid.empty() || sameBits(grid.back(), row.b));
  }
}

TEST(ResultVector, FailureShapesGrowWithTheModel) {
  for (int transitions = 1; transitions <= 3; ++transitions) {
    std::array<double, ZOLTA_RESULT_LENGTH> result;
    result.fill(7);
    zolt::writeFailure(transitions, 34, zolt::resultView(result.data()));
    for (int i = 0; i < ZOLTA_RESULT_LENGTH; ++i) {
      const bool missing = i < 3 + 3 * transitions || i == ZOLTA_RT || i == ZOLTA_R_SQUARED;
      const double wanted = i == ZOLTA_FIT_CODE ? 34.0 : missing ? -1.0 : 0.0;
      EXPECT_EQ(result[static_cast<std::size_t>(i)], wanted) << transitions << " element " << i;
    }
  }
}

}  // namespace
