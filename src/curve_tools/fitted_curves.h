// The curve that a ResultVector describes.
#pragma once

#include <span>

#include "fit/unfolding_model.h"
#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// The number of transitions, told by the elements that smaller models leave at 0.
inline int transitionsOf(ConstResultVector result) {
  const auto zero = [result](auto... elements) { return ((result[elements] == 0.0) && ...); };
  if (zero(ZOLTA_DG2, ZOLTA_CM2, ZOLTA_WEIGHT1)) {
    return 1;
  }
  return zero(ZOLTA_DG3, ZOLTA_CM3, ZOLTA_WEIGHT2) ? 2 : 3;
}

// The fitted signal at every x. The caller has chosen the model; nothing is tested.
template <int Transitions>
void curveFromResult(ConstResultVector result, Row x, std::span<double> out) {
  unfoldingCurve<Transitions>(parametersOf<Transitions>(result), x, out);
}

inline constexpr auto& twoStateCurveFromResult = curveFromResult<1>;
inline constexpr auto& threeStateCurveFromResult = curveFromResult<2>;
inline constexpr auto& fourStateCurveFromResult = curveFromResult<3>;

// The fraction denatured, the baselines left out.
template <int Transitions>
void fractionFromResult(ConstResultVector result, Row x, std::span<double> out) {
  using Order = ParameterOrder<Transitions>;
  const auto p = parametersOf<Transitions>(result);
  const auto weights = weightsOf<Transitions>(p.data());
  for (std::size_t i = 0; i < x.size(); ++i) {
    double fraction = 0.0;
    for (int t = 0; t < Transitions; ++t) {
      const double K = equilibriumConstant(x[i], p[Order::dG(t)], p[Order::Cm(t)], p[Order::RT]);
      const double term = weights[static_cast<std::size_t>(t)] * (K / (1.0 + K));
      fraction = t == 0 ? term : fraction + term;
    }
    out[i] = fraction;
  }
}

}  // namespace zolt
