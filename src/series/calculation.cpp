// One dG and one error per label of a fitted series, and a straight line through dG against the
// label or its logarithm.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "analysis/unfolding_statistics.h"
#include "elementary/logarithm.h"
#include "fit/linear_algebra.h"
#include "frame/array_records.h"
#include "frame/curve.h"
#include "frame/scalar_kit.h"
#include "frame/sorting.h"
#include "series/label_values.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

// A line counts when the change it predicts across the labels is at least this, in cal/mol, and at
// least the sum of the errors at both ends.
constexpr double kSmallestChange = 300.0;

constexpr TransitionElements kFirst{ZOLTA_DG1, ZOLTA_DG1_WIDTH};
constexpr TransitionElements kSecond{ZOLTA_DG2, ZOLTA_DG2_WIDTH};
constexpr TransitionElements kThird{ZOLTA_DG3, ZOLTA_DG3_WIDTH};

TransitionElements transitionOfTrend(std::int32_t number) {
  return number == 2 ? kSecond : number == 3 ? kThird : kFirst;
}
TransitionElements transitionOfAgg(std::int32_t number) { return number < 2 ? kFirst : kSecond; }

double labelItself(double label) { return label; }

// Where the two calculations differ.
struct Calculation {
  TransitionElements (*transition)(std::int32_t number);
  ErrorOfLabel errorOfLabel;
  double (*abscissa)(double label);
  // Whether the line stands for what is not known: it gives the intercept without a significant
  // slope and dG at labels without an included curve, and its R-squared is told. Otherwise the mean
  // of dG and 0.0 take its place, and a first label without a curve takes the intercept's.
  bool lineThroughout;
};
constexpr Calculation kTrend{transitionOfTrend, errorByScatter, logarithm, true};
constexpr Calculation kAgg{transitionOfAgg, errorByMean, labelItself, false};

// The line through the labels with a positive dG, and those dG.
struct Trend {
  double (*abscissa)(double label);
  Line line;
  std::vector<double> dG;
  std::vector<double> fitted;

  double at(double label) const { return line.intercept + line.slope * abscissa(label); }
};

Trend trendThrough(const LabelValues& values, const Calculation& form) {
  Trend trend{form.abscissa, {}, {}, {}};
  std::vector<double> abscissae;
  for (std::size_t g = 0; g < values.dG.size(); ++g) {
    if (values.dG[g] > 0.0) {
      abscissae.push_back(form.abscissa(values.labels[g]));
      trend.dG.push_back(values.dG[g]);
    }
  }
  trend.line = lineFit(abscissae, trend.dG);
  for (double abscissa : abscissae) {
    trend.fitted.push_back(trend.line.intercept + trend.line.slope * abscissa);
  }
  return trend;
}

// Both ends count, even where dG is 0.
bool significant(const LabelValues& values, const Trend& trend) {
  if (values.labels.empty()) {
    return false;
  }
  const double errors = values.error.front() + values.error.back();
  const double limit = errors < kSmallestChange ? kSmallestChange : errors;
  return absValue(trend.at(values.labels.back()) - trend.at(values.labels.front())) >= limit;
}

struct Outputs {
  emxArray_real_T* labels;
  emxArray_real_T* dG;
  emxArray_real_T* error;
  emxArray_int32_T* used;
  double* trend;
};

// The shape of unusable inputs. The labels are compared with the smallest one only, so the list
// may hold repeats.
void writeUnusable(Row labels, const Outputs& out) {
  std::vector<double> sorted(labels.begin(), labels.end());
  sortAscending(sorted);
  const auto length = static_cast<std::int32_t>(sorted.size());
  const std::span<double> written = zeroRow(out.labels, length);
  zeroRow(out.dG, length);
  zeroRow(out.error, length);
  zeroRow(out.used, length);
  std::size_t count = 0;
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    if (i == 0 || sorted[i] != sorted[0]) {
      written[count++] = sorted[i];
    }
  }
  std::fill_n(out.trend, 3, 0.0);
  out.trend[3] = static_cast<double>(count);
}

bool usable(const FittedCurves& curves) {
  const std::size_t M = curves.count();
  if (curves.labels.size() != M || curves.include.size() != M ||
      std::count(curves.include.begin(), curves.include.end(), 1) == 0) {
    return false;
  }
  for (std::size_t c = 0; c < M; ++c) {
    if (curves.element(c, ZOLTA_RT) > 0.0) {
      return true;
    }
  }
  return false;
}

// All labels, used or not. Used ones take the values of the lists one after the other.
void writeLabels(const std::vector<LabelUse>& uses, const LabelValues& values, const Trend& trend,
                 const Calculation& form, const Outputs& out) {
  const auto count = static_cast<std::int32_t>(uses.size());
  const std::span<double> labels = resizeRow(out.labels, count);
  const std::span<double> dG = resizeRow(out.dG, count);
  const std::span<double> error = resizeRow(out.error, count);
  const std::span<std::int32_t> used = resizeRow(out.used, count);
  std::size_t next = 0;
  for (std::size_t g = 0; g < uses.size(); ++g) {
    labels[g] = uses[g].label;
    used[g] = uses[g].used ? 1 : 0;
    dG[g] = error[g] = 0.0;
    if (uses[g].used) {
      if (next < values.dG.size()) {
        dG[g] = values.dG[next];
        error[g] = values.error[next];
      }
      ++next;
    } else if (form.lineThroughout) {
      dG[g] = trend.at(uses[g].label);
    }
  }
}

void calculate(const Calculation& form, Row labels, Row results,
               std::span<const std::int32_t> include, std::int32_t transition, const Outputs& out) {
  const FittedCurves curves{labels, results, include, form.transition(transition)};
  if (!usable(curves)) {
    writeUnusable(labels, out);
    return;
  }
  const LabelValues values = valuesPerLabel(curves, form.errorOfLabel);
  const Trend trend = trendThrough(values, form);
  const bool sloped = significant(values, trend);
  const std::vector<LabelUse> uses = usePerLabel(curves);
  writeLabels(uses, values, trend, form, out);

  out.trend[0] = sloped ? trend.line.slope : 0.0;
  out.trend[1] = form.lineThroughout || sloped ? trend.line.intercept : meanOf(trend.dG);
  if (form.lineThroughout) {
    out.trend[2] = trend.dG.empty() ? 0.0 : rSquared(trend.dG, trend.fitted);
    out.trend[3] = static_cast<double>(uses.size());
    return;
  }
  out.trend[2] = 0.0;
  out.trend[3] = 2.0;
  // When one of the first two labels is not used, the intercept gives way to a label (design.md:
  // first label).
  const LabelUse first = uses[0];
  const LabelUse second = uses.size() > 1 ? uses[1] : LabelUse{0.0, false};
  if (!(first.used && second.used)) {
    out.trend[1] = first.used <= second.used ? second.label : first.label;
  }
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_dGtrend_calc(const double* labels, const int32_t* labelsSize,
                                   const emxArray_real_T* results, const int32_t* include,
                                   const int32_t* includeSize, int32_t transition,
                                   emxArray_real_T* labelsOut, emxArray_real_T* dGOut,
                                   emxArray_real_T* errorOut, emxArray_int32_T* usedOut,
                                   double* trend) noexcept {
  using namespace zolt;
  calculate(kTrend, rowView(labels, labelsSize), rowView(results), rowView(include, includeSize),
            transition, {labelsOut, dGOut, errorOut, usedOut, trend});
}

extern "C" void ZOLTA_dGagg_calc(const double* labels, const int32_t* labelsSize,
                                 const emxArray_real_T* results, const int32_t* include,
                                 const int32_t* includeSize, int32_t transition,
                                 emxArray_real_T* labelsOut, emxArray_real_T* dGOut,
                                 emxArray_real_T* errorOut, emxArray_int32_T* usedOut,
                                 double* trend) noexcept {
  using namespace zolt;
  calculate(kAgg, rowView(labels, labelsSize), rowView(results), rowView(include, includeSize),
            transition, {labelsOut, dGOut, errorOut, usedOut, trend});
}
