// What only the three-state model does, and its three exports.
#include "analysis/three_state.h"

#include "analysis/lighter_fits.h"

namespace zolt {
namespace {

using Order = ParameterOrder<2>;
constexpr double kNoWeight = -1.0;

// A guarded weight is held between these.
constexpr double kGuardLow = 0.01;
constexpr double kGuardHigh = 0.99;

}  // namespace

Held ThreeState::takeHints(const Hints& hints, const Held& learned, const Curve&,
                           Parameters<2>& start) {
  const double weight = hints.weight;
  if (!learned.weight1 || (hints.guarded && !(weight > kGuardLow && weight < kGuardHigh))) {
    return {};
  }
  start[Order::weight(0)] = weight;
  return kWeight;
}

ThreeState::Hints ThreeState::hintsOfJoins(const GeneralFamily<ThreeState>& family) {
  constexpr std::size_t kFirstJoin = firstColumn(kGeneral, Step::EvenSplit);
  constexpr std::size_t kEndOfJoins = firstColumn(kGeneral, Step::WithBestJoin);
  const std::size_t join = bestColumn(family.set.rsq, kFirstJoin, kEndOfJoins);
  return {family.set.rsq[join] > -1.0 ? family.set.p(join)[Order::weight(0)] : kNoWeight, false};
}

Joined<2> ThreeState::join(const Setting& setting, Step step, const std::array<double, 2>& peaks,
                           const Parameters<2>& best) {
  switch (step) {
    case Step::PeakSplit:
      return joinHalves(setting, peaks);
    case Step::BestSplit:
      return joinHalves(setting, std::array{best[Order::Cm(0)], best[Order::Cm(1)]});
    default:
      return joinHalves(setting, std::nullopt);
  }
}

std::optional<Candidate<2>> ThreeState::fitJoined(const Setting& setting, const Joined<2>& joined,
                                                  const Held&) {
  return halvesFit(setting, joined);
}

std::optional<Candidate<2>> ThreeState::fitOnBaselines(const Setting& setting,
                                                       const Baselines& baselines) {
  return fitFrom<ThreeState>(setting, kEndPoint, {}, kBoth, baselines, {kNoWeight, true});
}

template <>
void internalAnalysis<2>(const Curve& curve, double temperature, ResultVector result) {
  analyse<ThreeState>(curve, temperature, kLargestCurve, result);
}
template <>
void midpointFit<2>(const Curve& curve, double temperature, ResultVector result) {
  fitMidpoint<ThreeState>(curve, temperature, result);
}
template <>
void userBaselinesFit<2>(const Curve& curve, const Baselines& baselines, double temperature,
                         ResultVector result) {
  fitOnUserBaselines<ThreeState>(curve, baselines, temperature, result);
}

}  // namespace zolt

extern "C" void ZOLTA_3state(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, double temperature, double* result) noexcept {
  using namespace zolt;
  analyse<ThreeState>(curveView(x, xSize, y, ySize), temperature, kAnyLength, resultView(result));
}

extern "C" void ZOLTA_3state_chalf(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, double temperature,
                                   double* result) noexcept {
  using namespace zolt;
  midpointFit<2>(curveView(x, xSize, y, ySize), temperature, resultView(result));
}

extern "C" void ZOLTA_3state_user_set_baselines(const double* x, const int32_t* xSize,
                                                const double* y, const int32_t* ySize,
                                                const double* baselines, double temperature,
                                                double* result) noexcept {
  using namespace zolt;
  userBaselinesFit<2>(curveView(x, xSize, y, ySize), userBaselines(baselines), temperature,
                      resultView(result));
}
