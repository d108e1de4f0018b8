#include "analysis/derivative_peaks.h"

#include <algorithm>
#include <vector>

#include "fit/masked_fit.h"
#include "frame/scalar_kit.h"
#include "frame/sorting.h"

namespace zolt {
namespace {

// Start of a peak, as parts of the last abscissa of the derivative.
struct PeakStart {
  double centre;
  double width;
};

template <int Peaks>
struct PeakStarts;
template <>
struct PeakStarts<1> {
  static constexpr PeakStart rows[] = {{0.5, 0.4}};
};
template <>
struct PeakStarts<2> {
  static constexpr PeakStart rows[] = {{0.33, 0.25}, {0.66, 0.25}};
};
template <>
struct PeakStarts<3> {
  static constexpr PeakStart rows[] = {{0.3, 0.25}, {0.5, 0.25}, {0.7, 0.25}};
};

}  // namespace

template <int Peaks>
std::array<double, Peaks> derivativePeaks(const Curve& curve, FitWorkspace& workspace) {
  const Row x = curve.x;
  const Row y = curve.y;
  const std::size_t slopes = x.size() - 1;
  std::vector<double> storage(2 * slopes);
  const auto middle = std::span(storage).first(slopes);
  const auto slope = std::span(storage).last(slopes);
  for (std::size_t i = 0; i < slopes; ++i) {
    middle[i] = (x[i] + x[i + 1]) / 2.0;
    slope[i] = (y[i] - y[i + 1]) / (x[i] - x[i + 1]);
  }

  // The largest signed slope serves as height, so a falling curve starts from a small one
  // (design.md: signed slopes).
  const double height = arrayMaxSkipNaN(slope);
  std::array<double, 3 * Peaks> start{};
  for (std::size_t k = 0; k < Peaks; ++k) {
    const PeakStart& row = PeakStarts<Peaks>::rows[k];
    start[3 * k] = height;
    start[3 * k + 1] = row.centre * middle.back();
    start[3 * k + 2] = row.width * middle.back();
  }
  const auto peaks = maskedFit<GaussianModel<Peaks>>({}, Curve{middle, slope}, start, workspace).p;

  std::array<double, Peaks> centres{};
  bool outside = false;
  for (std::size_t k = 0; k < Peaks; ++k) {
    centres[k] = peaks[3 * k + 1];
    outside = outside || centres[k] < x[0] || centres[k] > curve.lastX();
  }
  if (outside) {
    centres.fill(-1.0);
  }
  sortAscending(centres);
  return centres;
}

template std::array<double, 1> derivativePeaks<1>(const Curve&, FitWorkspace&);
template std::array<double, 2> derivativePeaks<2>(const Curve&, FitWorkspace&);
template std::array<double, 3> derivativePeaks<3>(const Curve&, FitWorkspace&);

}  // namespace zolt
