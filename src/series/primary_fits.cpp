// The primary fits of a series: one reference fit on averaged replicates, a refit of every curve
// from it, and in the trend forms m-values that lie on one line in the logarithm of the label.
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "curve_tools/outlier_removal.h"
#include "curve_tools/spike_removal.h"
#include "elementary/logarithm.h"
#include "fit/linear_algebra.h"
#include "fit/workspace.h"
#include "frame/array_records.h"
#include "frame/scalar_kit.h"
#include "frame/sorting.h"
#include "series/series_refit.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

// Curves laid end to end, n points each, with one label a curve. Points that a row lacks are NaN.
struct Series {
  std::int32_t n;
  std::int32_t curves;
  Row x, y, labels;

  std::size_t place(std::int32_t c, std::int32_t k) const {
    return static_cast<std::size_t>(c) * static_cast<std::size_t>(n) + static_cast<std::size_t>(k);
  }
  double xAt(std::int32_t c, std::int32_t k) const { return at(x, place(c, k)); }
  double yAt(std::int32_t c, std::int32_t k) const { return at(y, place(c, k)); }
  double label(std::int32_t c) const { return labels[static_cast<std::size_t>(c)]; }

 private:
  static double at(Row row, std::size_t i) {
    return i < row.size() ? row[i] : std::numeric_limits<double>::quiet_NaN();
  }
};

// What the four exports choose between: with `clean`, spikes and outliers are removed and `mask`
// tells which points are kept; otherwise `userMask` admits points. The trend forms force the
// m-values onto a line.
struct PrimaryFit {
  bool clean;
  bool mValueLine;
  std::span<const std::int32_t> userMask;

  bool admits(std::size_t place) const {
    return clean || (place < userMask.size() && userMask[place] == 1);
  }
};

// The points of a curve that take part in a fit.
struct Points {
  std::vector<double> x, y;

  void add(double xValue, double yValue) {
    x.push_back(xValue);
    y.push_back(yValue);
  }
  Curve curve() const { return {x, y}; }
};

Points withoutSpikes(const Points& points) {
  std::vector<std::int32_t> mask(points.y.size());
  ChemDenatKillSpikesArrays(points.y, mask);
  Points kept;
  for (std::size_t i = 0; i < mask.size(); ++i) {
    if (mask[i] == 1) {
      kept.add(points.x[i], points.y[i]);
    }
  }
  return kept;
}

// Removes the outliers of a fit and tells whether there were any.
bool removeOutliers(Points& points, ConstResultVector fit) {
  Points kept;
  ChemDenatOutlierRemovalArrays(points.x, points.y, fit, kept.x, kept.y);
  const bool removed = kept.x.size() < points.x.size();
  points = std::move(kept);
  return removed;
}

// The labels in the order of trial from the last to the first. Replicates that stand together
// count once, and the places they leave are zeros, which sort among the labels (design.md: labels
// to try).
std::vector<double> labelsToTry(const Series& series) {
  std::vector<double> u(series.labels.size());
  u[0] = series.labels[0];
  std::size_t count = 1;
  for (std::size_t c = 1; c < series.labels.size(); ++c) {
    if (series.labels[c] != series.labels[c - 1]) {
      u[count++] = series.labels[c];
    }
  }
  sortAscending(u);
  return u;
}

// The positive means of a label's replicates at the x of the anchor curve. A replicate takes part
// in a point where its x is the same to the last digit.
Points averageOf(const Series& series, const PrimaryFit& choice, double label,
                 std::int32_t anchor) {
  Points means;
  for (std::int32_t k = 0; k < series.n; ++k) {
    const double x = series.xAt(anchor, k);
    double sum = 0.0;
    int count = 0;
    for (std::int32_t c = 0; c < series.curves; ++c) {
      if (series.label(c) == label && series.xAt(c, k) == x && choice.admits(series.place(c, k))) {
        sum += series.yAt(c, k);
        ++count;
      }
    }
    const double mean = count > 0 ? sum / count : 0.0;
    if (mean > 0.0) {
      means.add(x, mean);
    }
  }
  return means;
}

// Tries the labels until one gives a reference whose native intercept is not negative.
std::array<double, ZOLTA_RESULT_LENGTH> referenceFit(const Series& series, const PrimaryFit& choice,
                                                     const SeriesModel& model, double temperature) {
  std::array<double, ZOLTA_RESULT_LENGTH> reference{};
  const std::vector<double> u = labelsToTry(series);
  double label = series.labels[0];
  std::int32_t anchor = 0;
  for (std::size_t attempt = 1; attempt <= u.size(); ++attempt) {
    Points means = averageOf(series, choice, label, anchor);
    if (choice.clean) {
      means = withoutSpikes(means);
    }
    model.analyse(means.curve(), temperature, reference);
    if (choice.clean && removeOutliers(means, reference)) {
      model.analyse(means.curve(), temperature, reference);
    }
    if (reference[ZOLTA_NATIVE_INTERCEPT] >= 0.0) {
      break;
    }
    label = u[u.size() - attempt];
    anchor = 0;
    while (anchor + 1 < series.curves && series.label(anchor) != label) {
      ++anchor;
    }
  }
  return reference;
}

// The points of curve c that a first refit takes.
Points pointsOf(const Series& series, const PrimaryFit& choice, std::int32_t c) {
  Points points;
  for (std::int32_t k = 0; k < series.n; ++k) {
    if (choice.admits(series.place(c, k))) {
      points.add(series.xAt(c, k), series.yAt(c, k));
    }
  }
  return choice.clean ? withoutSpikes(points) : points;
}

// Marks the points of curve c whose x is not among the kept ones.
void markRemoved(const Series& series, std::int32_t c, const Points& kept,
                 std::span<std::int32_t> mask) {
  if (kept.x.size() == static_cast<std::size_t>(series.n)) {
    return;
  }
  for (std::int32_t k = 0; k < series.n; ++k) {
    if (std::count(kept.x.begin(), kept.x.end(), series.xAt(c, k)) == 0) {
      mask[series.place(c, k)] = 0;
    }
  }
}

ResultVector vectorOf(std::span<double> results, std::int32_t c) {
  return resultView(results.data() + static_cast<std::ptrdiff_t>(c) * ZOLTA_RESULT_LENGTH);
}

int transitionsIn(std::span<double> results, std::int32_t curves) {
  int transitions = 1;
  for (std::int32_t c = 0; c < curves; ++c) {
    const ResultVector v = vectorOf(results, c);
    transitions = std::max(transitions, v[ZOLTA_DG3] > 0.0 ? 3 : v[ZOLTA_DG2] > 0.0 ? 2 : 1);
  }
  return transitions;
}

// Forces the m-values of the curves with a fit onto a line in the logarithm of the label. The two
// rows of the line are as long as there are such curves but are filled by the curves' numbers, so
// that a failed curve counts as a point at 0, 0 and the curves past the end do not count
// (design.md: trend points).
void forceMValueLine(const Series& series, std::span<double> results) {
  std::vector<std::int32_t> valid;
  for (std::int32_t c = 0; c < series.curves; ++c) {
    if (vectorOf(results, c)[ZOLTA_RT] >= 0.0) {
      valid.push_back(c);
    }
  }
  constexpr std::array<std::array<std::size_t, 2>, 3> elements{
      {{ZOLTA_DG1, ZOLTA_CM1}, {ZOLTA_DG2, ZOLTA_CM2}, {ZOLTA_DG3, ZOLTA_CM3}}};
  const auto transitions = static_cast<std::size_t>(transitionsIn(results, series.curves));
  for (const auto& [dG, Cm] : std::span(elements).first(transitions)) {
    std::vector<double> logarithms(valid.size());
    std::vector<double> mValues(valid.size());
    for (std::int32_t c : valid) {
      const auto position = static_cast<std::size_t>(c);
      if (position < valid.size()) {
        const ResultVector v = vectorOf(results, c);
        logarithms[position] = logarithm(series.label(c));
        mValues[position] = v[dG] / v[Cm];
      }
    }
    const Line line = lineFit(logarithms, mValues);
    for (std::int32_t c : valid) {
      const ResultVector v = vectorOf(results, c);
      v[dG] = v[Cm] * (line.slope * logarithm(series.label(c)) + line.intercept);
    }
  }
}

// The number of curves of n points in a row of `length`, or 0 when there is none.
std::int32_t curvesIn(std::size_t length, std::int32_t n) {
  return n > 0 ? roundToInt(static_cast<double>(length) / n) : 0;
}

// A row of `curves` times `each` elements. A product beyond the range of a size pair has no row.
template <class Record>
auto resizeSeries(Record* record, std::int32_t curves, std::int32_t each) {
  const std::int64_t length = std::int64_t{curves} * each;
  return resizeRow(record, length > std::numeric_limits<std::int32_t>::max()
                               ? 0
                               : static_cast<std::int32_t>(length));
}

void fitSeries(const Series& series, const PrimaryFit& choice, const SeriesModel& model,
               double temperature, std::span<double> results, std::span<std::int32_t> mask) {
  const auto reference = referenceFit(series, choice, model, temperature);
  if (reference[ZOLTA_RT] < 0.0) {
    return;
  }
  FitWorkspace workspace(series.n);
  for (std::int32_t c = 0; c < series.curves; ++c) {
    const ResultVector v = vectorOf(results, c);
    Points points = pointsOf(series, choice, c);
    model.refit(points.curve(), reference, workspace, v);
    if (!choice.clean) {
      continue;
    }
    if (removeOutliers(points, v)) {
      model.refit(points.curve(), reference, workspace, v);
    }
    markRemoved(series, c, points, mask);
  }
  if (choice.mValueLine) {
    forceMValueLine(series, results);
  }
}

// Until a curve is fitted its vector has 0 everywhere but -1 for the thermal energy, which is also
// how a series without a reference ends.
void primaryFit(std::int32_t n, const emxArray_real_T* x, const emxArray_real_T* y,
                const double* labels, const std::int32_t* labelsSize, std::int32_t states,
                double temperature, const PrimaryFit& choice, emxArray_real_T* resultsOut,
                emxArray_int32_T* maskOut) {
  const Row xs = rowView(x);
  const Series series{n, std::max(curvesIn(xs.size(), n), 0), xs, rowView(y),
                      rowView(labels, labelsSize)};
  const std::span<double> results = resizeSeries(resultsOut, series.curves, ZOLTA_RESULT_LENGTH);
  std::fill(results.begin(), results.end(), 0.0);
  for (std::size_t i = ZOLTA_RT; i < results.size(); i += ZOLTA_RESULT_LENGTH) {
    results[i] = -1.0;
  }
  std::span<std::int32_t> mask;
  if (choice.clean) {
    mask = resizeSeries(maskOut, series.curves, std::max(n, 0));
    std::fill(mask.begin(), mask.end(), 1);
  }
  const bool hasRows = !results.empty() && (!choice.clean || !mask.empty());
  if (hasRows && curvesIn(series.y.size(), n) == series.curves &&
      series.labels.size() == static_cast<std::size_t>(series.curves)) {
    fitSeries(series, choice, seriesModelFor(states), temperature, results, mask);
  }
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_dGtrend_primaryFit(int32_t n, const emxArray_real_T* x,
                                         const emxArray_real_T* y, const double* labels,
                                         const int32_t* labelsSize, int32_t states,
                                         double temperature, emxArray_real_T* results,
                                         emxArray_int32_T* mask) noexcept {
  const zolt::PrimaryFit choice{.clean = true, .mValueLine = true, .userMask = {}};
  zolt::primaryFit(n, x, y, labels, labelsSize, states, temperature, choice, results, mask);
}

extern "C" void ZOLTA_dGagg_primaryFit(int32_t n, const emxArray_real_T* x,
                                       const emxArray_real_T* y, const double* labels,
                                       const int32_t* labelsSize, int32_t states,
                                       double temperature, emxArray_real_T* results,
                                       emxArray_int32_T* mask) noexcept {
  const zolt::PrimaryFit choice{.clean = true, .mValueLine = false, .userMask = {}};
  zolt::primaryFit(n, x, y, labels, labelsSize, states, temperature, choice, results, mask);
}

extern "C" void ZOLTA_dGtrend_user_primaryFit(int32_t n, const emxArray_real_T* x,
                                              const emxArray_real_T* y, const double* labels,
                                              const int32_t* labelsSize, const int32_t* userMask,
                                              const int32_t* userMaskSize, int32_t states,
                                              double temperature,
                                              emxArray_real_T* results) noexcept {
  const zolt::PrimaryFit choice{
      .clean = false, .mValueLine = true, .userMask = zolt::rowView(userMask, userMaskSize)};
  zolt::primaryFit(n, x, y, labels, labelsSize, states, temperature, choice, results, nullptr);
}

extern "C" void ZOLTA_dGagg_user_primaryFit(int32_t n, const emxArray_real_T* x,
                                            const emxArray_real_T* y, const double* labels,
                                            const int32_t* labelsSize, const int32_t* userMask,
                                            const int32_t* userMaskSize, int32_t states,
                                            double temperature, emxArray_real_T* results) noexcept {
  const zolt::PrimaryFit choice{
      .clean = false, .mValueLine = false, .userMask = zolt::rowView(userMask, userMaskSize)};
  zolt::primaryFit(n, x, y, labels, labelsSize, states, temperature, choice, results, nullptr);
}
