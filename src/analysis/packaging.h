// The packager that turns a parameter vector into the 24 elements of a ResultVector.
#pragma once

#include "analysis/unfolding_statistics.h"
#include "elementary/exponential.h"
#include "frame/result_vector.h"

namespace zolt {

// One-sided 0.95 quantile of Student's t for `degrees` (1 to 384) degrees of freedom.
double tQuantileTable(std::size_t degrees);

// Student t quantile times the residual standard error, or -1. The quantile is entered at the
// number of points and the error formed with two fewer; the two counts differ on purpose
// (design.md: width).
double confidenceWidth(double Cm1, const Curve& curve, const Misfit& misfit);

// Fills all 24 elements from a curve, a parameter vector with its misfit, and a fit code. A vector
// whose first dG is negative or NaN gives the failure shape of its model with this code.
template <int Transitions>
void package(const Curve& curve, const Parameters<Transitions>& p, const Misfit& misfit,
             const Yardstick& yardstick, int code, ResultVector result) {
  using Order = ParameterOrder<Transitions>;
  if (!(p[Order::dG(0)] >= 0.0)) {
    writeFailure(Transitions, code, result);
    return;
  }
  const double width = confidenceWidth(p[Order::Cm(0)], curve, misfit);
  writeParameters<Transitions>(p, result);
  result[ZOLTA_FIT_CODE] = code;
  result[ZOLTA_R_SQUARED] = rSquared(misfit, yardstick);
  for (int t = 0; t < Transitions; ++t) {
    const double dG = p[Order::dG(t)];
    result[static_cast<std::size_t>(ZOLTA_DG1_WIDTH + t)] = dG * width;
    result[static_cast<std::size_t>(ZOLTA_K1_PPM + t)] = exponential(-(dG / p[Order::RT])) * 1e6;
  }
}

}  // namespace zolt
