#include "series/series_refit.h"

#include "analysis/internal_forms.h"
#include "analysis/unfolding_statistics.h"
#include "fit/masked_fit.h"

namespace zolt {
namespace {

template <int Transitions>
constexpr auto kRefitMask = fit2State_slopesHeld;
template <>
constexpr auto kRefitMask<2> = fit3State_weightSlopesHeld;
template <>
constexpr auto kRefitMask<3> = fit4State_weightsSlopesHeld;

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

// Refits a curve from the reference with the slopes, the weights and the thermal energy held.
template <int Transitions>
Parameters<Transitions> seriesRefit(const Curve& curve, ConstResultVector reference,
                                    FitWorkspace& workspace) {
  if (curve.x.empty()) {
    return failedCandidate<Transitions>();
  }
  auto start = parametersOf<Transitions>(reference);
  if constexpr (Transitions == 3) {
    // The denatured baseline starts at the reference's slope and stays without one itself.
    using Order = ParameterOrder<3>;
    start[Order::aU] = reference[ZOLTA_DENATURED_SLOPE];
    start[Order::bU] = 0.0;
  }
  auto p = maskedFit(kRefitMask<Transitions>, curve, start, workspace).p;
  orderTransitions<Transitions>(p);
  return acceptable<Transitions>(p, curve.x) ? p : failedCandidate<Transitions>();
}

constexpr auto& seriesRefit2state = seriesRefit<1>;
constexpr auto& seriesRefit3state = seriesRefit<2>;
constexpr auto& seriesRefit4state = seriesRefit<3>;

template <int Transitions, auto& Refit>
void refitAndPackage(const Curve& curve, ConstResultVector reference, FitWorkspace& workspace,
                     ResultVector result) {
  package<Transitions>(curve, Refit(curve, reference, workspace), Transitions + 1, result);
}

constexpr SeriesModel kTwoStates{twoStateInternal, refitAndPackage<1, seriesRefit2state>};
constexpr SeriesModel kThreeStates{threeStateInternal, refitAndPackage<2, seriesRefit3state>};
constexpr SeriesModel kFourStates{fourStateInternal, refitAndPackage<3, seriesRefit4state>};

}  // namespace

const SeriesModel& seriesModelFor(std::int32_t states) {
  return states == 3 ? kThreeStates : states == 4 ? kFourStates : kTwoStates;
}

}  // namespace zolt
