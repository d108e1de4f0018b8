// The join of two halves of a curve, each fitted as a two-state transition.
#include "analysis/three_state.h"

namespace zolt {
namespace {

// Free energies from which the halves start.
constexpr double kLeftStart = 4000.0;
constexpr double kRightStart = 8000.0;

// The fewest points left to each part, and left over for the other.
constexpr int kShortestLeft = 8;
constexpr int kLeastAfterLeft = 4;
constexpr int kFirstRightStart = 5;
constexpr int kShortestRight = 8;

// Where a curve is split into halves. Left part: points 1 to leftEnd. Right part: rightStart to the
// last point. They overlap at the split, and the two middles stand for the midpoints of parts whose
// fit is not usable.
struct HalvesSplit {
  int leftEnd;
  int rightStart;
  int leftMiddle;
  int rightMiddle;
};

HalvesSplit splitInHalves(const Curve& curve,
                          const std::optional<std::array<double, 2>>& midpoints) {
  const Row x = curve.x;
  const int n = curve.points();
  HalvesSplit split{};
  if (midpoints) {
    const double middle = ((*midpoints)[0] + (*midpoints)[1]) / 2.0;
    const int half = roundToInt(n / 2.0);
    split.leftEnd =
        std::min(std::max(lastUpTo(x, middle, half), kShortestLeft), n - kLeastAfterLeft);
    split.rightStart =
        std::max(std::min(lastBelow(x, middle, half), n - kShortestRight), kFirstRightStart);
  } else {
    const auto xAt = [&](double point) { return x[static_cast<std::size_t>(point) - 1]; };
    split.leftEnd = heldInside(countUpTo(x, xAt(std::ceil(0.5 * n))), curve);
    split.rightStart = heldInside(countBelow(x, xAt(std::floor(0.51 * n))), curve);
  }
  const double margin = scalarRound(0.05 * n);
  split.leftMiddle = static_cast<int>(std::ceil((1 + split.leftEnd) / 2.0 + margin));
  split.rightMiddle = static_cast<int>(std::floor((split.rightStart + n) / 2.0 - margin));
  return split;
}

}  // namespace

Joined<2> joinHalves(const Setting& setting,
                     const std::optional<std::array<double, 2>>& midpoints) {
  using Order = ParameterOrder<2>;
  const Curve& curve = setting.curve;
  const HalvesSplit split = splitInHalves(curve, midpoints);
  const int n = curve.points();

  const PartFit left = fitPart(setting, {1, split.leftEnd}, kLeftStart,
                               curve.x[static_cast<std::size_t>(split.leftMiddle - 1)]);
  const PartFit right = fitPart(setting, {split.rightStart, n}, kRightStart,
                                curve.x[static_cast<std::size_t>(split.rightMiddle - 1)]);
  const double f =
      joinWeight(curve, left, right, {split.leftEnd, split.rightStart}, curve.lastY() - curve.y[0]);

  const FirstPart first = firstPart(curve, left, split.leftMiddle, midpoints.has_value());
  TransitionStart second{right.dG(), right.Cm()};
  Baseline denatured = right.denatured();
  if (!isUsable(right, curve)) {
    second = transitionAt(curve, split.rightMiddle, kLaterMValue);
    if (!midpoints.has_value() || right.failed()) {
      denatured = {curve.lastY(), kFlatSlope};
    }
  }
  Joined<2> joined{
      {first.transition.dG, first.transition.Cm, second.dG, second.Cm, f, first.native.intercept,
       first.native.slope, denatured.intercept, denatured.slope, setting.RT},
      std::nullopt};
  if (left.isPlausible() && right.isPlausible()) {
    joined.unfitted = joined.start;
    (*joined.unfitted)[Order::dG(0)] = left.dG();
    (*joined.unfitted)[Order::Cm(0)] = left.Cm();
    (*joined.unfitted)[Order::dG(1)] = right.dG();
    (*joined.unfitted)[Order::Cm(1)] = right.Cm();
  }
  return joined;
}

// Both fits are made from the same start; the one with the weight held must be strictly better.
std::optional<Candidate<2>> halvesFit(const Setting& setting, const Joined<2>& halves) {
  const Curve& curve = setting.curve;
  Candidate<2> joined = fitCurve<2>(setting, curve, kBaselinesHeld, halves.start);
  const Candidate<2> weightHeld =
      fitCurve<2>(setting, curve, kBaselinesHeld | ThreeState::kWeight, halves.start);
  if (rSquaredOf<2>(setting, weightHeld) > rSquaredOf<2>(setting, joined)) {
    joined = weightHeld;
  }
  if (rSquaredOf<2>(setting, joined) == -1.0) {
    joined = failedCandidate<2>(curve);
  }
  if (halves.unfitted && !plausible<2>(joined.p, curve.x)) {
    joined = candidateOf<2>(curve, *halves.unfitted);
  }
  return settled<2>(curve, joined);
}

}  // namespace zolt
