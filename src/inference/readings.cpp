// From a caller's curve to sorted, scaled readings.
#include "inference/readings.h"

#include <algorithm>
#include <cmath>

namespace zolt::inference {
namespace {

constexpr double kGasConstant = 1.9872;  // cal/(mol K), the engine's
constexpr double kZeroCelsius = 273.15;
// Squares of such ranges, and their inverses, are still ordinary numbers.
constexpr double kLeastRange = 1e-140, kMostRange = 1e140;
// Beyond this ratio a reading weighs nothing beside the others, and counting it would be wrong.
constexpr double kMostDeviationRatio = 1e6;

bool isRange(double range) { return range >= kLeastRange && range <= kMostRange; }

// Puts the readings that are there into `readings` in the order of x; replicates keep their order.
int collect(const ZOLTI_Curve& curve, Readings& r) {
  const int length = std::max(curve.n, 0);
  r.n = r.missing = 0;
  for (int i = 0; i < length; ++i) {
    if (!std::isfinite(curve.x[i]) || !std::isfinite(curve.y[i]) ||
        (curve.sd != nullptr && std::isnan(curve.sd[i]))) {
      ++r.missing;
    } else if (r.n == kMostReadings) {
      return ZOLTI_TOO_MANY_READINGS;
    } else {
      r.place[r.n++] = i;
    }
  }
  const auto end = r.place.begin() + r.n;
  std::sort(r.place.begin(), end, [&](int a, int b) {
    return curve.x[a] < curve.x[b] || (curve.x[a] == curve.x[b] && a < b);
  });
  return r.n >= 2 ? ZOLTI_FITTED : ZOLTI_TOO_FEW_READINGS;
}

int scale(const ZOLTI_Curve& curve, Readings& r) {
  r.xFirst = curve.x[r.place[0]];
  r.xSpan = curve.x[r.place[r.n - 1]] - r.xFirst;
  double low = curve.y[r.place[0]], high = low;
  for (int i = 1; i < r.n; ++i) {
    low = std::min(low, curve.y[r.place[i]]);
    high = std::max(high, curve.y[r.place[i]]);
  }
  r.yMiddle = 0.5 * low + 0.5 * high;
  r.ySpan = high - low;
  if (r.xSpan == 0.0) {
    return ZOLTI_TOO_FEW_CONCENTRATIONS;
  }
  if (r.ySpan == 0.0) {
    return ZOLTI_FLAT_SIGNAL;
  }
  if (!isRange(r.xSpan) || !isRange(r.ySpan)) {
    return ZOLTI_BEYOND_ARITHMETIC;
  }
  r.u.resize(r.n);
  r.y.resize(r.n);
  for (int i = 0; i < r.n; ++i) {
    r.u[i] = (curve.x[r.place[i]] - r.xFirst) / r.xSpan;
    r.y[i] = (curve.y[r.place[i]] - r.yMiddle) / r.ySpan;
  }
  return ZOLTI_FITTED;
}

int weigh(const ZOLTI_Curve& curve, bool sdKnown, Readings& r) {
  r.weighted = curve.sd != nullptr;
  r.sdKnown = r.weighted && sdKnown;
  r.root = PerReading::Ones(r.n);
  r.sseUnit = r.ySpan * r.ySpan;
  if (!r.weighted) {
    return ZOLTI_FITTED;
  }
  double least = curve.sd[r.place[0]];
  double most = least;
  for (int i = 0; i < r.n; ++i) {
    const double sd = curve.sd[r.place[i]];
    if (!(sd > 0.0) || !std::isfinite(sd)) {
      return ZOLTI_BAD_DEVIATION;
    }
    least = std::min(least, sd);
    most = std::max(most, sd);
  }
  if (most / least > kMostDeviationRatio) {
    return ZOLTI_BAD_DEVIATION;
  }
  for (int i = 0; i < r.n; ++i) {
    r.root[i] = least / curve.sd[r.place[i]];
  }
  const double mean = r.root.squaredNorm() / r.n;
  r.root /= std::sqrt(mean);
  const double signal = r.ySpan / least;
  r.sseUnit = signal * signal * mean;
  return isRange(signal) ? ZOLTI_FITTED : ZOLTI_BEYOND_ARITHMETIC;
}

// Groups of equal concentrations: their count, the gaps between them, the scatter within.
void findReplicates(Readings& r) {
  std::array<double, kMostReadings> gaps;
  r.distinct = 0;
  r.pureSse = 0.0;
  for (int first = 0, next; first < r.n; first = next) {
    double weights = 0.0, sum = 0.0;
    for (next = first; next < r.n && r.u[next] == r.u[first]; ++next) {
      const double w = r.root[next] * r.root[next];
      weights += w;
      sum += w * r.y[next];
    }
    for (int i = first; i < next; ++i) {
      const double off = r.root[i] * (r.y[i] - sum / weights);
      r.pureSse += off * off;
    }
    if (first > 0) {
      gaps[r.distinct - 1] = r.u[first] - r.u[first - 1];
    }
    ++r.distinct;
  }
  r.pureDegrees = r.n - r.distinct;
  const auto middle = gaps.begin() + (r.distinct - 1) / 2;
  std::nth_element(gaps.begin(), middle, gaps.begin() + (r.distinct - 1));
  r.gap = *middle;
}

}  // namespace

int takeIn(const ZOLTI_Curve& curve, bool sdKnown, Readings& r) {
  if (curve.n > 0 && (curve.x == nullptr || curve.y == nullptr)) {
    return ZOLTI_BAD_ARGUMENT;
  }
  if (!(curve.temperature >= 0.0 && curve.temperature <= 100.0)) {
    return ZOLTI_BAD_TEMPERATURE;
  }
  r.RT = (curve.temperature + kZeroCelsius) * kGasConstant;
  int status = collect(curve, r);
  if (status == ZOLTI_FITTED) {
    status = scale(curve, r);
  }
  if (status == ZOLTI_FITTED) {
    status = weigh(curve, sdKnown, r);
  }
  if (status == ZOLTI_FITTED) {
    findReplicates(r);
  }
  return status;
}

Readings Readings::without(int left) const {
  Readings fewer = *this;
  fewer.n = n - 1;
  for (PerReading* row : {&fewer.u, &fewer.y, &fewer.root}) {
    std::copy(row->data() + left + 1, row->data() + n, row->data() + left);
    row->conservativeResize(n - 1);
  }
  std::copy(place.begin() + left + 1, place.begin() + n, fewer.place.begin() + left);
  return fewer;
}

}  // namespace zolt::inference
