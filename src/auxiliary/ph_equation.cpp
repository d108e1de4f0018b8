// The calibration polynomial of a signal ratio against pH.
#include <algorithm>
#include <vector>

#include "auxiliary/polynomial_fit.h"
#include "auxiliary/strided_copy.h"
#include "frame/curve.h"
#include "frame/scalar_kit.h"
#include "zolt_fitting_engine.h"

namespace zolt {
namespace {

constexpr std::size_t kMostCoefficients = 5;

struct Calibration {
  std::array<double, kMostCoefficients> coefficients{};  // the constant first
  double squares = 0.0;                                  // sum of squared residuals
};

// A residual that is not a number counts as 0, by the library's rule of powers.
template <std::size_t Degree>
Calibration calibrate(Row x, Row ratio) {
  Calibration fit;
  const auto highestFirst = polyFit<Degree>(x, ratio);
  std::reverse_copy(highestFirst.begin(), highestFirst.end(), fit.coefficients.begin());
  const auto& c = fit.coefficients;
  for (std::size_t i = 0; i < x.size(); ++i) {
    double value = c[0] + c[1] * x[i];
    for (std::size_t k = 2; k <= Degree; ++k) {
      value += c[k] * scalarPower(x[i], static_cast<double>(k));
    }
    fit.squares += scalarPower(ratio[i] - value, 2.0);
  }
  return fit;
}

}  // namespace
}  // namespace zolt

extern "C" void ZOLTA_pHequation(const double* a, const int32_t* aSize, const double* b,
                                 const int32_t* bSize, const double* x, const int32_t* xSize,
                                 double* out) noexcept {
  using namespace zolt;
  const std::size_t n = rowView(x, xSize).size();
  const std::vector<double> pH = stridedCopy(x, xSize, n);
  const std::vector<double> first = stridedCopy(a, aSize, n);
  std::vector<double> ratio = stridedCopy(b, bSize, n);
  for (std::size_t i = 0; i < n; ++i) {
    ratio[i] = ratio[i] / (first[i] + ratio[i]);
  }
  const Calibration cubic = calibrate<3>(pH, ratio);
  const Calibration quartic = calibrate<4>(pH, ratio);
  // The cubic wins a tie.
  const Calibration& better = quartic.squares >= cubic.squares ? cubic : quartic;
  std::copy(better.coefficients.begin(), better.coefficients.end(), out);
}
