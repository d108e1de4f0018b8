// A choice of 2, 3 or 4 states from the signal alone. Every transition is a peak of the signal's
// derivative; three counters vote on derivative curves over the index of the points, which counts
// as evenly spaced.
#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>

#include "elementary/exponential.h"
#include "elementary/logarithm.h"
#include "frame/curve.h"
#include "frame/scalar_kit.h"
#include "smoothing/smoothing.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

constexpr std::size_t kFewestPoints = 3;
constexpr std::size_t kMostPoints = kLargestCurve;

// The dense grid of 256 points, two steps each, is the longest.
constexpr std::size_t kMostDensePoints = 511;

// A row in fixed storage.
struct DenseRow {
  std::array<double, kMostDensePoints> storage;
  std::size_t length;

  explicit DenseRow(std::size_t n) : length(n) {}
  double& operator[](std::size_t i) { return storage[i]; }
  double operator[](std::size_t i) const { return storage[i]; }
  operator Row() const { return {storage.data(), length}; }
  operator std::span<double>() { return {storage.data(), length}; }
};

DenseRow normaliseBetweenBaselines(Row y) {
  const std::size_t N = y.size();
  const double s_a = (y[2] - y[0]) / 2.0;
  // The mean of the first points serves as the intercept as it stands.
  const double m_a = (y[0] + y[1] + y[2]) / 3.0;
  const double s_b = (y[N - 1] - y[N - 3]) / 2.0;
  const double m_b = (y[N - 3] + y[N - 2] + y[N - 1]) / 3.0;
  const double b_b = m_b - s_b * static_cast<double>(N);
  DenseRow c(N);
  for (std::size_t i = 0; i < N; ++i) {
    const auto position = static_cast<double>(i + 1);
    const double low = m_a + s_a * position;
    const double high = b_b + s_b * position;
    c[i] = (y[i] - low) / (high - low);
  }
  return c;
}

DenseRow movingAverage(const DenseRow& y, double span) {
  DenseRow smooth(y.length);
  smoothMoving(y, span, smooth);
  return smooth;
}

DenseRow smoothTwice(const DenseRow& y, double span) {
  DenseRow smooth(y.length);
  smoothSGolay(movingAverage(y, span), smooth);
  return smooth;
}

DenseRow interpolateDensely(const DenseRow& a) {
  const std::size_t N = a.length;
  const auto r = static_cast<std::size_t>(scalarRound(384.0 / static_cast<double>(N)));
  DenseRow Y((N - 1) * r + 1);
  for (std::size_t i = 0; i + 1 < N; ++i) {
    Y[i * r] = a[i];
    for (std::size_t j = 1; j < r; ++j) {
      Y[i * r + j] = a[i] + static_cast<double>(j) * (a[i + 1] - a[i]) / static_cast<double>(r);
    }
  }
  Y[Y.length - 1] = a[N - 1];
  return Y;
}

// The slope of Y, every difference divided by the step at its position (from 1).
template <class Step>
DenseRow slope(const DenseRow& Y, Step stepAt) {
  DenseRow d(Y.length - 1);
  for (std::size_t k = 0; k < d.length; ++k) {
    d[k] = (Y[k + 1] - Y[k]) / stepAt(k + 1);
  }
  return d;
}

// The steps between the logarithms of the positions, asked for in turn from position 1 on.
struct LogarithmicSteps {
  double reached = 0.0;

  double operator()(std::size_t position) {
    const double next = logarithm(static_cast<double>(position + 1));
    return next - std::exchange(reached, next);
  }
};

// Takes away a sigmoid that steps from 0 to the difference of the ends, centred on the peak, and
// then the smallest value of the curve as it came.
DenseRow removeStep(const DenseRow& d, double W) {
  const double P = arrayMaxSkipNaN(d);
  const Row row = d;
  const auto p = static_cast<double>(std::find(row.begin(), row.end(), P) - row.begin());
  const double lowest = arrayMinSkipNaN(d);
  const double step = row.back() - row.front();
  DenseRow e(d.length);
  for (std::size_t k = 0; k < d.length; ++k) {
    e[k] = (P / W) * (p - static_cast<double>(k));
  }
  exponentials(&e[0], static_cast<int>(d.length));
  for (std::size_t k = 0; k < d.length; ++k) {
    e[k] = d[k] - step / (1.0 + e[k]);
    e[k] -= lowest;
  }
  return e;
}

DenseRow smoothedDifferences(const DenseRow& e) {
  return smoothTwice(slope(e, [](std::size_t) { return 1.0; }), 20.0);
}

double voteFor(int peaks) { return peaks == 2 ? 3.0 : peaks == 3 ? 4.0 : 2.0; }

// s where it exceeds `percent` of its largest value, 0.0 elsewhere; runs of fewer than `shortest`
// points are dropped, unless one reaches the end of the row.
DenseRow keepPeaks(const DenseRow& s, double percent, std::size_t shortest) {
  const double limit = arrayMaxSkipNaN(s) * percent / 100.0;
  DenseRow b(s.length);
  std::size_t run = 0;
  for (std::size_t i = 0; i < s.length; ++i) {
    b[i] = s[i] > limit ? s[i] : 0.0;
    if (b[i] > 0.0) {
      ++run;
      continue;
    }
    if (run < shortest) {
      std::fill_n(b.storage.begin() + static_cast<std::ptrdiff_t>(i - run), run, 0.0);
    }
    run = 0;
  }
  return b;
}

// A peak is a long enough rise, counted once; a short fall of more than 2 % a point ends it.
double countRiseFallPeaks(const DenseRow& s) {
  const auto m = static_cast<double>(s.length);
  const auto wide = static_cast<std::size_t>(scalarRound(m * 0.045));
  const auto narrow = static_cast<std::size_t>(scalarRound(m * 0.015));
  const DenseRow b = keepPeaks(s, 10.0, wide);
  std::size_t up = 0;
  std::size_t down = 0;
  int peaks = 0;
  bool counted = false;
  for (std::size_t i = 1; i + 2 < s.length; ++i) {
    // On a gentle fall and on a stretch of zeros both of the first tests fire, which holds `down`
    // at 1.
    if (b[i] >= 0.98 * b[i - 1] && 1.0204081632653061 * b[i + 1] >= b[i]) {
      ++up;
      down = 0;
    }
    if ((b[i - 1] > b[i] && b[i] >= b[i + 1]) || b[i] == 0.0) {
      ++down;
      up = 0;
    }
    if (up == wide && down == 0 && !counted) {
      ++peaks;
      counted = true;
    }
    if (down == narrow && up == 0) {
      counted = false;
    }
  }
  return voteFor(peaks);
}

double countThresholdRuns(const DenseRow& s) {
  const DenseRow b = keepPeaks(s, 15.0, 6);
  int runs = 0;
  for (std::size_t i = 0; i < b.length; ++i) {
    if (b[i] > 0.0 && (i == 0 || !(b[i - 1] > 0.0))) {
      ++runs;
    }
  }
  return voteFor(runs);
}

// How many of the thresholds 100, 150, ... 1000 a value in thousandths of the largest exceeds.
int amplitudeLevel(double value, double top) {
  const int q = roundToInt(1000.0 * value / top);
  int level = 0;
  for (int threshold = 100; threshold <= 1000; threshold += 50) {
    level += q > threshold;
  }
  return level;
}

// A peak is a climb of three levels without a fall. Beyond the row the level is 0, which can only
// end a peak.
double countAmplitudeSteps(const DenseRow& s) {
  const double top = arrayMaxSkipNaN(s);
  int current = amplitudeLevel(s[0], top);
  int steps = 0;
  int peaks = 0;
  bool locked = false;
  for (std::size_t i = 1; i < s.length; ++i) {
    const int level = amplitudeLevel(s[i], top);
    if (level > current && !locked) {
      current = level;
      ++steps;
    }
    if (current > level) {
      current = level;
      steps = 0;
      locked = false;
    }
    if (steps >= 3 && !locked) {
      ++peaks;
      locked = true;
    }
  }
  return voteFor(peaks);
}

struct Asymmetry {
  double flag;
  double ratio;
};

Asymmetry measureAsymmetry(const DenseRow& s) {
  const double hi = arrayMaxSkipNaN(s);
  const double lo = -arrayMinSkipNaN(s);
  const double ratio = absValue(hi - lo) / ((hi + lo) / 2.0);
  return {ratio > 0.2 ? 1.0 : 0.0, ratio};
}

int pickStates(Row y) {
  const DenseRow c = normaliseBetweenBaselines(y);
  const DenseRow a = smoothTwice(c, 4.0);
  const DenseRow Y = movingAverage(interpolateDensely(a), 20.0);

  // Slopes against the position, against its logarithm, and against the last logarithmic step
  // throughout.
  const std::size_t L = Y.length;
  const DenseRow d1 = slope(Y, [](std::size_t) { return 1.0; });
  const DenseRow d2 = slope(Y, LogarithmicSteps{});
  const double lastStep = logarithm(static_cast<double>(L)) - logarithm(static_cast<double>(L - 1));
  const DenseRow d3 = slope(Y, [lastStep](std::size_t) { return lastStep; });

  const double W = static_cast<double>(L - 1) / 12.8;
  const DenseRow e1 = removeStep(d1, 0.3);
  const DenseRow e2 = removeStep(d2, W);
  const DenseRow e3 = removeStep(d3, W);

  const DenseRow s1 = smoothedDifferences(e1);
  const DenseRow s2 = smoothedDifferences(e2);
  const DenseRow s3 = smoothedDifferences(e3);

  // s2 has two votes.
  const double peaks = countRiseFallPeaks(e1) + countRiseFallPeaks(d2) + countRiseFallPeaks(d3);
  const double score =
      peaks + countThresholdRuns(s1) + 2.0 * countThresholdRuns(s2) + countAmplitudeSteps(e1);
  if (score > 26.0) {
    return 4;
  }
  if (score > 18.0) {
    return 3;
  }
  if (score <= 16.0) {
    return 2;
  }

  const Asymmetry a1 = measureAsymmetry(s1);
  const Asymmetry a2 = measureAsymmetry(s2);
  const Asymmetry a3 = measureAsymmetry(s3);
  const bool asymmetric =
      a1.flag + a2.flag + a3.flag >= 2.0 && a1.ratio + a2.ratio + a3.ratio >= 0.6;
  return asymmetric || peaks >= 9.0 ? 3 : 2;
}

}  // namespace
}  // namespace zolt

// Too short a signal, or one longer than any curve, counts as one transition.
extern "C" int32_t ZOLTA_ChemDenatModelPicker(const double* y, const int32_t* ySize) noexcept {
  const zolt::Row signal = zolt::rowView(y, ySize);
  if (signal.size() < zolt::kFewestPoints || signal.size() > zolt::kMostPoints) {
    return 2;
  }
  return zolt::pickStates(signal);
}
