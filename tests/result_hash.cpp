#include "result_hash.h"

#include <span>
#include <vector>

#include "support/bits.h"
#include "support/generated_curves.h"
#include "support/records.h"

namespace {

using Vector = std::vector<double>;
using Mask = std::vector<std::int32_t>;

// FNV-1a over bytes, the least significant one first.
struct Hash {
  std::uint64_t state = 0xcbf29ce484222325u;

  void add(std::uint64_t word) {
    for (int byte = 0; byte < 8; ++byte) {
      state = (state ^ (word >> (8 * byte) & 0xff)) * 0x100000001b3u;
    }
  }
  void add(double value) { add(bitsOf(value)); }
  void add(std::int32_t value) {
    add(static_cast<std::uint64_t>(static_cast<std::uint32_t>(value)));
  }
  template <class Element>
  void add(const std::vector<Element>& row) {
    add(static_cast<std::uint64_t>(row.size()));
    for (const Element& element : row) {
      add(element);
    }
  }
};

using Analysis = decltype(&ZOLTA_2state);
using UserAnalysis = decltype(&ZOLTA_2state_user_set_baselines);
constexpr Analysis kAnalyses[] = {ZOLTA_2state,       ZOLTA_2state_chalf, ZOLTA_3state,
                                  ZOLTA_3state_chalf, ZOLTA_4state,       ZOLTA_4state_chalf};
constexpr UserAnalysis kUserAnalyses[] = {ZOLTA_2state_user_set_baselines,
                                          ZOLTA_3state_user_set_baselines,
                                          ZOLTA_4state_user_set_baselines};
constexpr decltype(&ZOLTA_ChemDenatFDFitCurve) kFittedCurves[] = {
    ZOLTA_ChemDenatFluorescenceFitCurve, ZOLTA_ChemDenatFDFitCurve,
    ZOLTA_ChemDenatFirstDerivativeFitCurve};

// The slowest entries take every third curve; the rest take all.
void addAnalyses(Hash& hash, const GeneratedCurve& curve, int index) {
  const RowSize size(curve.x.size());
  Vector result(ZOLTA_RESULT_LENGTH);
  Mask mask(curve.x.size());
  std::int32_t maskSize[2];
  for (const Analysis analyse : kAnalyses) {
    if (analyse == ZOLTA_4state && index % 3 != 0) {
      continue;
    }
    analyse(curve.x.data(), size, curve.y.data(), size, curve.temperature, result.data());
    hash.add(result);
    for (const auto draw : kFittedCurves) {
      RealRecord xFit, yFit;
      draw(curve.x.data(), size, result.data(), 21, &xFit, &yFit);
      hash.add(xFit.row());
      hash.add(yFit.row());
    }
    ZOLTA_ChemDenatOutlierRemoval(curve.x.data(), size, curve.y.data(), size, result.data(),
                                  mask.data(), maskSize);
    hash.add(mask);
  }
  for (const UserAnalysis analyse : kUserAnalyses) {
    if (analyse == ZOLTA_4state_user_set_baselines && index % 3 != 1) {
      continue;
    }
    analyse(curve.x.data(), size, curve.y.data(), size, curve.baselines, curve.temperature,
            result.data());
    hash.add(result);
  }
}

void addTools(Hash& hash, GeneratedCurve& curve) {
  const RowSize size(curve.x.size());
  Vector row(curve.x.size()), fitted(curve.x.size());
  Mask mask(curve.x.size());
  std::int32_t rowSize[2];
  hash.add(ZOLTA_ChemDenatModelPicker(curve.y.data(), size));
  ZOLTA_ChemDenatKillSpikes(curve.y.data(), size, mask.data(), rowSize);
  hash.add(mask);
  ZOLTA_emission_smooth(curve.y.data(), size, curve.midpoints[0], row.data(), rowSize);
  hash.add(row);
  ZOLTA_dGtrend_normalization(curve.y.data(), size, curve.y[0], 1.0, row.data(), rowSize);
  hash.add(row);
  Vector coefficients(5);
  ZOLTA_pHequation(curve.y.data(), size, row.data(), size, curve.x.data(), size,
                   coefficients.data());
  hash.add(coefficients);
  for (const auto fit : {ZOLTA_mfit1storder, ZOLTA_mfit2ndorder, ZOLTA_mfitlog}) {
    RealRecord xGrid, yGrid;
    fit(curve.x.data(), size, curve.y.data(), size, row.data(), size, 9, fitted.data(), rowSize,
        &xGrid, &yGrid);
    hash.add(fitted);
    hash.add(xGrid.row());
    hash.add(yGrid.row());
  }
  emxArray_real_T* real = ZOLTA_emxCreateWrapper_real_T(row.data(), 1, size.pair[1]);
  emxArray_int32_T* whole = ZOLTA_emxCreateWrapper_int32_T(mask.data(), size.pair[1], 1);
  hash.add(real->allocatedSize);
  hash.add(whole->size[0]);
  std::free(real->size);
  std::free(real);
  std::free(whole->size);
  std::free(whole);
}

void addTrend(Hash& hash, const Vector& labels, const RealRecord& results, const Mask& include,
              int transition) {
  const RowSize size(labels.size());
  const auto curve = [&](auto draw, auto... arguments) {
    RealRecord x, y;
    draw(labels.data(), size, arguments..., &x, &y);
    hash.add(x.row());
    hash.add(y.row());
  };
  for (const auto calculate : {ZOLTA_dGtrend_calc, ZOLTA_dGagg_calc}) {
    RealRecord label, dG, error;
    IntRecord used;
    Vector trend(4);
    calculate(labels.data(), size, &results.record, include.data(), size, transition, &label, &dG,
              &error, &used, trend.data());
    hash.add(label.row());
    hash.add(dG.row());
    hash.add(error.row());
    hash.add(used.row());
    hash.add(trend);
    curve(ZOLTA_dGtrend_trend, trend.data(), 11);
    curve(ZOLTA_dGagg_trend, trend.data(), 11);
    curve(ZOLTA_dGtrend_fd, trend.data(), 11, 25.0);
    curve(ZOLTA_dGtrend_fragg, trend.data(), 11, 25.0);
    curve(ZOLTA_dGtrend_fraggfd, trend.data(), 11, 25.0);
  }
}

// A series of curves of one shape at growing labels, the first label twice.
void addSeries(Hash& hash, int states, std::uint64_t seed) {
  Vector x, y;
  const Vector labels{1, 1, 2, 4};
  const Mask include{1, 1, 0, 1};
  Mask userMask;
  CurveRecipe recipe;
  recipe.points = 30;
  recipe.transitions = states - 1;
  recipe.noise = 0.004;
  for (std::size_t c = 0; c < labels.size(); ++c) {
    const GeneratedCurve curve = generateCurve(recipe, seed + c);
    x.insert(x.end(), curve.x.begin(), curve.x.end());
    y.insert(y.end(), curve.y.begin(), curve.y.end());
    for (int i = 0; i < recipe.points; ++i) {
      userMask.push_back((static_cast<std::uint64_t>(i) + seed) % 11 != 5);
    }
  }
  const RowSize size(labels.size());
  RealRecord xs(x), ys(y);
  for (const auto fit : {ZOLTA_dGtrend_primaryFit, ZOLTA_dGagg_primaryFit}) {
    RealRecord results;
    IntRecord mask;
    fit(recipe.points, &xs, &ys, labels.data(), size, states, 25, &results, &mask);
    hash.add(results.row());
    hash.add(mask.row());
    addTrend(hash, labels, results, include, 1 + static_cast<int>(seed % 3));
  }
  for (const auto fit : {ZOLTA_dGtrend_user_primaryFit, ZOLTA_dGagg_user_primaryFit}) {
    RealRecord results;
    fit(recipe.points, &xs, &ys, labels.data(), size, userMask.data(), RowSize(userMask.size()),
        states, 25, &results);
    hash.add(results.row());
  }
}

}  // namespace

std::uint64_t resultHash() {
  constexpr int kCurves = 300;
  constexpr std::uint64_t kSeries = 6;
  Hash hash;
  for (int index = 0; index < kCurves; ++index) {
    GeneratedCurve curve = assortedCurve(index);
    addAnalyses(hash, curve, index);
    addTools(hash, curve);
  }
  for (std::uint64_t seed = 0; seed < kSeries; ++seed) {
    addSeries(hash, 2 + static_cast<int>(seed % 3), seed);
  }
  return hash.state;
}
