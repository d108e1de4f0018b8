// The join of three parts of a curve, each fitted as a two-state transition.
#include "analysis/four_state.h"

namespace zolt {
namespace {

// Free energies from which the parts start. Between given midpoints the right part starts like the
// middle one.
constexpr double kLeftStart = 4000.0;
constexpr double kMiddleStart = 8000.0;
constexpr double kRightStart = 12000.0;

// Where the parts begin and end in a curve without midpoints.
constexpr double kLeftEnd = 0.35;
constexpr double kMiddleStartPart = 0.3;
constexpr double kMiddleEnd = 0.7;
constexpr double kRightStartPart = 0.65;

using MidpointTriple = std::array<double, 3>;

// Where a curve is split into thirds. Left part: points 1 to leftEnd. Middle part: middleStart to
// middleEnd. Right part: rightStart to the last point. Neighbours overlap, and a point in each part
// stands for the midpoint of a part whose fit is not usable.
struct ThirdsSplit {
  int leftEnd;
  int middleStart;
  int middleEnd;
  int rightStart;
  std::array<int, 3> middles;
};

// A curve here has at least 24 points, so that within these bounds no part is shorter than the
// lines through its ends need.
void splitAtMidpoints(const Curve& curve, const MidpointTriple& midpoints, ThirdsSplit& split) {
  const Row x = curve.x;
  const int n = curve.points();
  const double m1 = (midpoints[0] + midpoints[1]) / 2.0;
  const double m2 = (midpoints[1] + midpoints[2]) / 2.0;
  split.leftEnd = lastUpTo(x, m1, roundToInt(kLeftEnd * n));
  split.middleStart = lastBelow(x, m1, roundToInt(kMiddleStartPart * n));
  split.middleEnd = lastUpTo(x, m2, roundToInt(kMiddleEnd * n));
  split.rightStart = lastBelow(x, m2, roundToInt(kRightStartPart * n));

  split.leftEnd = std::min(std::max(split.leftEnd, 8), n - 4);
  split.middleStart = std::max(std::min(split.middleStart, n - 16), 5);
  split.middleEnd = std::min(std::max(split.middleEnd, 12), n - 4);
  if (split.middleStart > split.middleEnd) {
    std::swap(split.middleStart, split.middleEnd);
  }
  if (split.middleStart == split.middleEnd) {
    split.middleStart = roundToInt(n / 2.0);
    split.middleEnd = n;
  }
  split.rightStart = std::min(std::max(split.rightStart, 16), n - 8);
}

void splitAtFixedParts(const Curve& curve, ThirdsSplit& split) {
  const Row x = curve.x;
  const int n = curve.points();
  const auto xAt = [&](double point) { return x[static_cast<std::size_t>(point) - 1]; };
  split.leftEnd = heldInside(countUpTo(x, xAt(std::ceil(kLeftEnd * n))), curve);
  split.middleStart = heldInside(countBelow(x, xAt(std::floor(kMiddleStartPart * n))), curve);
  split.middleEnd = heldInside(countUpTo(x, xAt(std::ceil(kMiddleEnd * n))), curve);
  split.rightStart = heldInside(countBelow(x, xAt(std::floor(kRightStartPart * n))), curve);
  split.middleEnd = std::max(split.middleEnd, split.middleStart);
}

// The third transition and the denatured baseline of a joined start.
struct LastPart {
  TransitionStart transition;
  Baseline denatured;
};

// Without midpoints an unusable right part falls back on the first point of all and on the first y
// (design.md: last third).
LastPart lastPartOfFixedSplit(const Curve& curve, const PartFit& right, const ThirdsSplit& split) {
  if (isUsable(right, curve)) {
    return {{right.dG(), right.Cm()}, right.denatured()};
  }
  return {transitionAt(curve, split.middles[0], kLaterMValue), {curve.y[0], kFlatSlope}};
}

// Between midpoints the right part is tested and the middle part is copied (design.md: last third).
LastPart lastPartOfGivenSplit(const Curve& curve, const PartFit& middle, const PartFit& right,
                              const ThirdsSplit& split) {
  if (isUsable(right, curve)) {
    return {{middle.dG(), middle.Cm()}, middle.denatured()};
  }
  return {transitionAt(curve, split.middles[1], kLaterMValue),
          right.dG() > -1.0 ? right.denatured() : Baseline{curve.lastY(), kFlatSlope}};
}

ThirdsSplit splitInThirds(const Curve& curve, const std::optional<MidpointTriple>& midpoints) {
  const int n = curve.points();
  ThirdsSplit split{};
  if (midpoints) {
    splitAtMidpoints(curve, *midpoints, split);
  } else {
    splitAtFixedParts(curve, split);
  }
  const double margin = scalarRound(0.05 * n);
  split.middles[0] = static_cast<int>(std::ceil((1 + split.leftEnd) / 2.0 + margin));
  split.middles[1] = roundToInt((split.middleStart + split.middleEnd) / 2.0);
  split.middles[2] = static_cast<int>(std::floor((split.rightStart + n) / 2.0 - margin));
  return split;
}

}  // namespace

Joined<3> joinThirds(const Setting& setting, const std::optional<MidpointTriple>& midpoints) {
  using Order = ParameterOrder<3>;
  const Curve& curve = setting.curve;
  const ThirdsSplit split = splitInThirds(curve, midpoints);
  const bool given = midpoints.has_value();
  const int n = curve.points();
  const auto xAt = [&](int point) { return curve.x[static_cast<std::size_t>(point - 1)]; };
  const auto yAt = [&](int point) { return curve.y[static_cast<std::size_t>(point - 1)]; };

  const PartFit left = fitPart(setting, {1, split.leftEnd}, kLeftStart, xAt(split.middles[0]));
  const PartFit middle =
      fitPart(setting, {split.middleStart, split.middleEnd}, kMiddleStart, xAt(split.middles[1]));
  const PartFit right = fitPart(setting, {split.rightStart, n}, given ? kMiddleStart : kRightStart,
                                xAt(split.middles[2]));

  const double f1 = joinWeight(curve, left, middle, {split.leftEnd, split.middleStart},
                               yAt(split.middleEnd) - curve.y[0]);
  const double f2 = joinWeight(curve, middle, right, {split.middleEnd, split.rightStart},
                               curve.lastY() - yAt(split.middleStart));
  const FirstPart first = firstPart(curve, left, split.middles[0], given);
  const TransitionStart second = isUsable(middle, curve)
                                     ? TransitionStart{middle.dG(), middle.Cm()}
                                     : transitionAt(curve, split.middles[1], kLaterMValue);
  const LastPart last = given ? lastPartOfGivenSplit(curve, middle, right, split)
                              : lastPartOfFixedSplit(curve, right, split);
  Joined<3> joined{{first.transition.dG, first.transition.Cm, second.dG, second.Cm,
                    last.transition.dG, last.transition.Cm, f1, f2, first.native.intercept,
                    first.native.slope, last.denatured.intercept, last.denatured.slope, setting.RT},
                   std::nullopt};
  if (left.isPlausible() && middle.isPlausible() && right.isPlausible()) {
    joined.unfitted = joined.start;
    const PartFit* const parts[] = {&left, &middle, &right};
    for (int t = 0; t < 3; ++t) {
      (*joined.unfitted)[Order::dG(t)] = parts[t]->dG();
      (*joined.unfitted)[Order::Cm(t)] = parts[t]->Cm();
    }
  }
  return joined;
}

std::optional<Candidate<3>> thirdsFit(const Setting& setting, const Joined<3>& thirds,
                                      const Held& weights) {
  const Curve& curve = setting.curve;
  Candidate<3> joined = fitCurve<3>(setting, curve, kBaselinesHeld | weights, thirds.start);
  if (thirds.unfitted && !plausible<3>(joined.p, curve.x)) {
    joined = candidateOf<3>(curve, *thirds.unfitted);
  }
  return settled<3>(curve, joined);
}

}  // namespace zolt
