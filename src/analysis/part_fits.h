// Two-state fits of parts of a curve, from which the larger models take their own starts.
#pragma once

#include "analysis/candidates.h"

namespace zolt {

// A part of a curve and its fit. The fit is used as it comes, without the filter of candidates; it
// counts as failed only when its dG is exactly -1 (design.md: failed candidates).
struct PartFit {
  Curve part;
  Parameters<1> p;

  double dG() const { return p[ParameterOrder<1>::dG(0)]; }
  double Cm() const { return p[ParameterOrder<1>::Cm(0)]; }
  Baseline native() const { return {p[ParameterOrder<1>::aN], p[ParameterOrder<1>::bN]}; }
  Baseline denatured() const { return {p[ParameterOrder<1>::aU], p[ParameterOrder<1>::bU]}; }
  bool failed() const { return dG() == -1.0; }
  bool isPlausible() const { return plausible<1>(p, part.x); }
};

// The start that the parts of a curve make when they are put together. Where the fit from it fails,
// sound parts stand as they are, unfitted.
template <int Transitions>
struct Joined {
  Parameters<Transitions> start;
  std::optional<Parameters<Transitions>> unfitted;
};

// Points `first` to `last` of a curve, counted from 1.
struct Span {
  int first;
  int last;
};

// Fits a part from free energy `dG`, midpoint `Cm` and lines through its first and last three
// points; where that fits poorly, also from flat baselines at its end values, and keeps the better.
PartFit fitPart(const Setting& setting, Span span, double dG, double Cm);

// Where two parts meet: the last point of the left one and the first of the right one, counted
// from 1.
struct Joint {
  int leftEnd;
  int rightStart;
};

// The share of the signal that lies before the joint: from the two fits when both are there, else
// from y alone, `height` being what the share is taken of. A share near 0 or 1 becomes one half.
double joinWeight(const Curve& curve, const PartFit& left, const PartFit& right, Joint joint,
                  double height);

// Whether a transition may be taken over from a part. The midpoint is compared with the last y of
// the whole curve, not with the last x (design.md: usable parts).
inline bool isUsable(const PartFit& fit, const Curve& curve) {
  return fit.dG() >= 0.0 && fit.Cm() >= 0.0 && curve.lastY() >= fit.Cm();
}

// Midpoint at a point of the curve (counted from 1), with a free energy of a fixed m-value.
struct TransitionStart {
  double dG;
  double Cm;
};
inline constexpr double kFirstMValue = 1500.0;
inline constexpr double kLaterMValue = 2500.0;
TransitionStart transitionAt(const Curve& curve, int point, double mValue);

// The first transition and the native baseline of a joined start. When the left fit is not usable,
// its baseline still serves if `keepsUnusableBaseline` and the fit did not fail.
struct FirstPart {
  TransitionStart transition;
  Baseline native;
};
FirstPart firstPart(const Curve& curve, const PartFit& left, int point, bool keepsUnusableBaseline);

// The number of points with x at or below, and below, a limit.
int countUpTo(Row x, double limit);
int countBelow(Row x, double limit);

// The last point with x at or below (below) a limit, counted from 1; `otherwise` when there is
// none.
int lastUpTo(Row x, double limit, int otherwise);
int lastBelow(Row x, double limit, int otherwise);

// Holds a point number inside a curve.
int heldInside(int point, const Curve& curve);

}  // namespace zolt
