#include "analysis/part_fits.h"
#include "analysis/three_state/three_state_seeds.h"

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

}  // namespace

HalvesSplit splitInHalves(const Curve& curve, const std::optional<MidpointPair>& midpoints) {
  const Row x = curve.x;
  const int n = curve.points();
  HalvesSplit split{};
  split.hinted = midpoints.has_value();
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

Candidate<2> halvesFit(const Setting& setting, const HalvesSplit& split) {
  using Order = ParameterOrder<2>;
  const Curve& curve = setting.curve;
  const int n = curve.points();

  const PartFit left = fitPart(setting, {1, split.leftEnd}, kLeftStart,
                               curve.x[static_cast<std::size_t>(split.leftMiddle - 1)]);
  const PartFit right = fitPart(setting, {split.rightStart, n}, kRightStart,
                                curve.x[static_cast<std::size_t>(split.rightMiddle - 1)]);
  const double f =
      joinWeight(curve, left, right, {split.leftEnd, split.rightStart}, curve.lastY() - curve.y[0]);

  const FirstPart first = firstPart(curve, left, split.leftMiddle, split.hinted);
  Transition second{right.dG(), right.Cm()};
  Baseline denatured = right.denatured();
  if (!isUsable(right, curve)) {
    second = transitionAt(curve, split.rightMiddle, kLaterMValue);
    if (!split.hinted || right.failed()) {
      denatured = {curve.lastY(), kFlatSlope};
    }
  }
  const Parameters<2> start{first.transition.dG,
                            first.transition.Cm,
                            second.dG,
                            second.Cm,
                            f,
                            first.native.intercept,
                            first.native.slope,
                            denatured.intercept,
                            denatured.slope,
                            setting.RT};

  // Both fits are made from the same start; the one with the weight held must be strictly better.
  Candidate<2> joined = fitCurve<2>(setting, fit3State_baselinesHeld, start);
  const Candidate<2> weightHeld = fitCurve<2>(setting, fit3State_weightBaselinesHeld, start);
  if (rSquaredOf<2>(setting, weightHeld) > rSquaredOf<2>(setting, joined)) {
    joined = weightHeld;
  }
  if (rSquaredOf<2>(setting, joined) == -1.0) {
    joined = failed<2>(setting);
  }

  // Where the joint fit fails, two sound halves stand as they are.
  if (!plausible<2>(joined.p, curve.x) && left.isPlausible() && right.isPlausible()) {
    Parameters<2> halves = start;
    halves[Order::dG(0)] = left.dG();
    halves[Order::Cm(0)] = left.Cm();
    halves[Order::dG(1)] = right.dG();
    halves[Order::Cm(1)] = right.Cm();
    joined = candidateOf<2>(curve, halves);
  }
  return settled<2>(setting, joined);
}

}  // namespace zolt
