#include "analysis/part_fits.h"

#include <algorithm>

#include "fit/linear_algebra.h"

namespace zolt {
namespace {

// A part's fit below this is tried again from other baselines.
constexpr double kGoodPart = 0.99;

// Limits of a share of the signal; beyond them the parts say nothing about it.
constexpr double kLeastShare = 0.15;
constexpr double kMostShare = 0.85;

Baseline lineThrough(const Curve& curve, int first) {
  const auto start = static_cast<std::size_t>(std::clamp(first, 0, curve.points() - 3));
  const Line line = lineFit3(&curve.x[start], &curve.y[start]);
  return {line.intercept, line.slope};
}

double valueAt(const PartFit& fit, double x) {
  return unfoldingSignal<1>(fit.p, weightsOf<1>(fit.p.data()), x);
}

double at(Row row, int point) { return row[static_cast<std::size_t>(point - 1)]; }

double lineAt(const Baseline& line, double x) { return line.slope * x + line.intercept; }

}  // namespace

PartFit fitPart(const Setting& setting, Span span, double dG, double Cm) {
  const Curve part = setting.curve.part(static_cast<std::size_t>(span.first - 1),
                                        static_cast<std::size_t>(span.last - span.first + 1));
  const Yardstick yardstick = yardstickOf(part.y);
  const auto fitBetween = [&](const Baselines& lines) {
    const Parameters<1> start{dG,
                              Cm,
                              lines.native.intercept,
                              lines.native.slope,
                              lines.denatured.intercept,
                              lines.denatured.slope,
                              setting.RT};
    return fitCurve<1>(setting, part, {}, start);
  };

  const Candidate<1> fromLines = fitBetween(
      {lineThrough(setting.curve, span.first - 1), lineThrough(setting.curve, span.last - 3)});
  const double r = rSquared(fromLines.misfit, yardstick);
  const PartFit fit{part, fromLines.p};
  if (fit.failed() || r < kGoodPart) {
    const Candidate<1> fromEnds = fitBetween({{part.y[0], kFlatSlope}, {part.lastY(), kFlatSlope}});
    const PartFit again{part, fromEnds.p};
    if (!again.failed() && rSquared(fromEnds.misfit, yardstick) > r) {
      return again;
    }
  }
  return fit;
}

double joinWeight(const Curve& curve, const PartFit& left, const PartFit& right, Joint joint,
                  double height) {
  double share = 0.0;
  if (left.failed() || right.failed()) {
    const double middle = (at(curve.y, joint.leftEnd) + at(curve.y, joint.rightStart)) / 2.0;
    share = (absValue(middle) - curve.y[0]) / absValue(height);
  } else {
    const double x = (at(curve.x, joint.leftEnd) + at(curve.x, joint.rightStart)) / 2.0;
    const double native = lineAt(left.native(), x);
    const double middle =
        (valueAt(left, left.part.lastX()) + valueAt(right, right.part.x[0])) / 2.0;
    share = absValue((middle - native) / (lineAt(right.denatured(), x) - native));
  }
  return share > kMostShare || share < kLeastShare ? 0.5 : share;
}

TransitionStart transitionAt(const Curve& curve, int point, double mValue) {
  const double Cm = at(curve.x, point);
  return {mValue * Cm, Cm};
}

FirstPart firstPart(const Curve& curve, const PartFit& left, int point,
                    bool keepsUnusableBaseline) {
  if (isUsable(left, curve)) {
    return {{left.dG(), left.Cm()}, left.native()};
  }
  const bool keeps = keepsUnusableBaseline && !left.failed();
  return {transitionAt(curve, point, kFirstMValue),
          keeps ? left.native() : Baseline{curve.y[0], kFlatSlope}};
}

int countUpTo(Row x, double limit) {
  return static_cast<int>(std::count_if(x.begin(), x.end(), [=](double v) { return v <= limit; }));
}
int countBelow(Row x, double limit) {
  return static_cast<int>(std::count_if(x.begin(), x.end(), [=](double v) { return v < limit; }));
}

int lastUpTo(Row x, double limit, int otherwise) {
  for (std::size_t i = x.size(); i > 0; --i) {
    if (x[i - 1] <= limit) {
      return static_cast<int>(i);
    }
  }
  return otherwise;
}
int lastBelow(Row x, double limit, int otherwise) {
  for (std::size_t i = x.size(); i > 0; --i) {
    if (x[i - 1] < limit) {
      return static_cast<int>(i);
    }
  }
  return otherwise;
}

int heldInside(int point, const Curve& curve) { return std::clamp(point, 1, curve.points()); }

}  // namespace zolt
