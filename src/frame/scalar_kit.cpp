#include "frame/scalar_kit.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>

namespace zolt {
namespace {

// From this magnitude on every double is a whole number.
constexpr double kAllWhole = 4503599627370496.0;

template <class Beats>
double extremeSkipNaN(Row v, Beats beats) {
  std::size_t first = 0;
  while (first + 1 < v.size() && isNaNValue(v[first])) {
    ++first;
  }
  double extreme = v.empty() ? std::numeric_limits<double>::quiet_NaN() : v[first];
  for (std::size_t i = first + 1; i < v.size(); ++i) {
    if (beats(v[i], extreme)) {
      extreme = v[i];
    }
  }
  return extreme;
}

double plainSquare(double v) { return v * v; }

}  // namespace

double scalarRound(double v) {
  if (!(absValue(v) < kAllWhole)) {
    return v;
  }
  if (v >= 0.5) {
    return std::floor(v + 0.5);
  }
  if (v > -0.5) {
    return v * 0.0;
  }
  return std::ceil(v - 0.5);
}

int roundToInt(double v) {
  const double rounded = scalarRound(v);
  if (isNaNValue(rounded)) {
    return 0;
  }
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<int>(std::clamp<double>(rounded, Limits::min(), Limits::max()));
}

double meanOf(Row v) {
  double sum = 0.0;
  for (double value : v) {
    sum += value;
  }
  return sum / static_cast<double>(v.size());
}

double sampleStdDev(Row v) {
  if (v.empty()) {
    return 0.0;
  }
  const auto n = static_cast<double>(v.size());
  return std::sqrt(sumAboutMean(v, plainSquare) / (v.size() >= 2 ? n - 1.0 : n));
}

double populationStdDev(Row v) {
  return std::sqrt(sumAboutMean(v, plainSquare) / static_cast<double>(v.size()));
}

double arrayMaxSkipNaN(Row v) { return extremeSkipNaN(v, std::greater<>()); }
double arrayMinSkipNaN(Row v) { return extremeSkipNaN(v, std::less<>()); }

bool allTrue(std::span<const bool> v) {
  return std::all_of(v.begin(), v.end(), [](bool b) { return b; });
}
bool anyTrue(std::span<const bool> v) {
  return std::any_of(v.begin(), v.end(), [](bool b) { return b; });
}

}  // namespace zolt
