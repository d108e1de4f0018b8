// What only the two-state model does, and its three exports.
#include "analysis/two_state.h"

#include "analysis/lighter_fits.h"

namespace zolt {
namespace {

using Order = ParameterOrder<1>;
constexpr double kNoHint = -1.0;

std::optional<Candidate<1>> refit(const Setting& setting, const Parameters<1>& start) {
  const Curve& curve = setting.curve;
  return settled<1>(curve, fitCurve<1>(setting, curve, kSlopesHeld, start));
}

}  // namespace

Held TwoState::takeHints(const Hints& hints, const Held& learned, const Curve& curve,
                         Parameters<1>& start) {
  const double hint = hints.midpoint;
  if (!learned.midpoints || !(hint > 0.0 && hint <= curve.lastX())) {
    return {};
  }
  start[Order::Cm(0)] = hint;
  return {.midpoints = hint < curve.lastX()};
}

TwoState::Hints TwoState::hintsOfJoins(const GeneralFamily<TwoState>& family) {
  return family.hints;
}

// The mean midpoint of the good fits, else the peak; none when it lies outside the range of x.
TwoState::Hints TwoState::hintsOfGoodFits(const Setting& setting,
                                          const GeneralFamily<TwoState>& family,
                                          std::span<const EndAgreement>) {
  const double lastX = setting.curve.lastX();
  const double peak = family.hints.midpoint;
  double sum = 0.0;
  int count = 0;
  for (std::size_t c = 0; c < family.set.size(); ++c) {
    if (family.set.isGood(c)) {
      sum += family.set.p(c)[Order::Cm(0)];
      ++count;
    }
  }
  double midpoint = kNoHint;
  if (count > 0) {
    midpoint = sum / count;
  } else if (peak > 0.0 && lastX > peak) {
    midpoint = peak;
  }
  return {midpoint < 0.0 || midpoint > lastX ? kNoHint : midpoint};
}

std::optional<Candidate<1>> TwoState::fitJoined(const Setting& setting, const Joined<1>& joined,
                                                const Held&) {
  return refit(setting, joined.start);
}

std::optional<Candidate<1>> TwoState::refitOfRanking(const Setting& setting, const GivenSet& set,
                                                     std::array<double, kGiven.size()> ranked) {
  std::array<int, kGiven.size()> places;
  sortDescending(ranked, places);
  Parameters<1> start;
  for (std::size_t i = 0; i < start.size(); ++i) {
    start[i] = set.p(static_cast<std::size_t>(places[i]))[Order::dG(0)];
  }
  return refit(setting, start);
}

std::optional<Candidate<1>> TwoState::fitOnBaselines(const Setting& setting,
                                                     const Baselines& baselines) {
  return fitFrom<TwoState>(setting, kEndPoint, {}, kBoth, baselines, {kNoHint});
}

template <>
void internalAnalysis<1>(const Curve& curve, double temperature, ResultVector result) {
  analyse<TwoState>(curve, temperature, kLargestCurve, result);
}
template <>
void midpointFit<1>(const Curve& curve, double temperature, ResultVector result) {
  fitMidpoint<TwoState>(curve, temperature, result);
}
template <>
void userBaselinesFit<1>(const Curve& curve, const Baselines& baselines, double temperature,
                         ResultVector result) {
  fitOnUserBaselines<TwoState>(curve, baselines, temperature, result);
}

}  // namespace zolt

extern "C" void ZOLTA_2state(const double* x, const int32_t* xSize, const double* y,
                             const int32_t* ySize, double temperature, double* result) noexcept {
  using namespace zolt;
  analyse<TwoState>(curveView(x, xSize, y, ySize), temperature, kAnyLength, resultView(result));
}

extern "C" void ZOLTA_2state_chalf(const double* x, const int32_t* xSize, const double* y,
                                   const int32_t* ySize, double temperature,
                                   double* result) noexcept {
  using namespace zolt;
  midpointFit<1>(curveView(x, xSize, y, ySize), temperature, resultView(result));
}

extern "C" void ZOLTA_2state_user_set_baselines(const double* x, const int32_t* xSize,
                                                const double* y, const int32_t* ySize,
                                                const double* baselines, double temperature,
                                                double* result) noexcept {
  using namespace zolt;
  userBaselinesFit<1>(curveView(x, xSize, y, ySize), userBaselines(baselines), temperature,
                      resultView(result));
}
