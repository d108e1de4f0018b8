#include "series/series_refit.h"

#include "analysis/candidates.h"
#include "analysis/entries.h"
#include "analysis/packaging.h"

namespace zolt {
namespace {

// What a refit holds: the reference's slopes and weights, as far as the model has them.
constexpr Held kFromReference = kSlopesHeld | Held{.weight1 = true, .weight2 = true};

template <int Transitions>
bool acceptable(const Parameters<Transitions>& p, Row x) {
  if constexpr (Transitions == 1) {
    using Order = ParameterOrder<1>;
    const double Cm = p[Order::Cm(0)];
    const double mValue = p[Order::dG(0)] / Cm;
    // Unlike the plausibility filter, a last x that is not a number passes here.
    return Cm >= 0.0 && !(x.back() < Cm) && mValue >= kSmallestMValue && mValue <= kLargestMValue;
  } else {
    return plausible<Transitions>(p, x);
  }
}

template <int Transitions>
Parameters<Transitions> refitOrFail(const Curve& curve, ConstResultVector reference,
                                    FitWorkspace& workspace) {
  Parameters<Transitions> failed;
  failed.fill(-1.0);
  if (curve.x.empty()) {
    return failed;
  }
  auto start = parametersOf<Transitions>(reference);
  if constexpr (Transitions == 3) {
    // The denatured baseline starts at the reference's slope and stays without one itself
    // (design.md: four-state refits).
    using Order = ParameterOrder<3>;
    start[Order::aU] = reference[ZOLTA_DENATURED_SLOPE];
    start[Order::bU] = 0.0;
  }
  const auto mask = holdMask<Transitions>(kFromReference);
  auto p = maskedFit<UnfoldingModel<Transitions>>(mask, curve, start, workspace).p;
  orderTransitions<Transitions>(p);
  return acceptable<Transitions>(p, curve.x) ? p : failed;
}

template <int Transitions>
void refit(const Curve& curve, ConstResultVector reference, FitWorkspace& workspace,
           ResultVector result) {
  const auto p = refitOrFail<Transitions>(curve, reference, workspace);
  package<Transitions>(curve, p, misfitOf<Transitions>(curve, p), yardstickOf(curve.y),
                       Transitions + 1, result);
}

}  // namespace

SeriesModel seriesModelFor(std::int32_t states) {
  return withTransitions(states == 3 || states == 4 ? states - 1 : 1, [](auto transitions) {
    return SeriesModel{internalAnalysis<transitions>, refit<transitions>};
  });
}

}  // namespace zolt
