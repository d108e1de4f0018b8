// The readings of one curve as the fits use them: sorted, without gaps, scaled to their ranges.
#pragma once

#include <array>

#include "inference/linear_types.h"

namespace zolt::inference {

// Concentrations run from 0 to 1 and signals from -1/2 to 1/2, so that neither unit nor offset of
// the input reaches the arithmetic of a fit.
struct Readings {
  int n = 0;
  int missing = 0;
  int distinct = 0;  // concentrations that differ
  bool weighted = false;
  bool sdKnown = false;
  double RT = 0.0;                    // cal/mol
  double xFirst = 0.0, xSpan = 1.0;   // x = xFirst + xSpan u
  double yMiddle = 0.0, ySpan = 1.0;  // y = yMiddle + ySpan * scaled y
  double gap = 1.0;                   // median distance of neighbouring concentrations, in u
  double sseUnit = 1.0;               // factor from the scaled to the caller's sum of squares
  double pureSse = 0.0;               // of replicates about their means, scaled
  int pureDegrees = 0;
  PerReading u, y;
  PerReading root;  // square roots of the weights, whose squares have the mean 1
  std::array<int, kMostReadings> place;  // index of the reading in the input

  double scaledX(double x) const { return (x - xFirst) / xSpan; }
  double steepness(double m) const { return m * xSpan / RT; }  // of a transition, in u

  // The same without the reading at index `left`; scales stay as they are.
  Readings without(int left) const;
};

// Takes in a curve. The answer is a status; `readings` is complete where it is ZOLTI_FITTED.
int takeIn(const ZOLTI_Curve& curve, bool sdKnown, Readings& readings);

}  // namespace zolt::inference
