// The fit of many curves with a shared m or dG, and what it says of each.
#pragma once

#include "inference/fit_record.h"
#include "inference/shared_model.h"

namespace zolt::inference {

// A global fit at its optimum.
struct GlobalFit {
  int share = ZOLTI_SHARE_M, transitions = 1;
  std::vector<Member> members;   // one a curve, fitted or not
  std::vector<Expansion> parts;  // of the fitted ones over the shared values, else empty
  Minimum shared;
  Expansion whole;
  SearchedMatrix sharedCovariance;                        // of the searched values
  double chiSquared = 0.0, degrees = 0.0, scatter = 1.0;  // scatter: variance over the noise
  double freeChiSquared = 0.0, freeDegrees = 0.0;
  int fitted = 0, freeParameters = 0;
  bool noiseKnown = false;

  // What all curves but one, or but two, say of the shared values, in units of noise.
  Shared restWithout(int one, int other = -1) const;
  // A member's own setup with the shared values held.
  Setup heldSetup(int index) const;
  double quantile(double level) const;
};

// Takes in the curves, fits each alone, estimates their noise, and finds the shared optimum. The
// answer is a status.
int fitTogether(const ZOLTI_Curve* curves, int count, int transitions, int share,
                const ZOLTI_Options* options, GlobalFit& global);

// A curve of the global fit with all its errors, in the caller's units.
struct MemberErrors {
  Uncertainty own;  // with the shared values held, and how the parameters follow them
  SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS> model, hc2, hc3;  // the shared error included
};
bool errorsOf(const GlobalFit& global, int index, MemberErrors& errors);

// Intervals of a curve: profiles against the rest of the curves.
void intervalsOf(const GlobalFit& global, int index, const MemberErrors& errors, double level,
                 ZOLTI_Intervals& intervals);
Interval sharedInterval(const GlobalFit& global, int transition, double level);

// A curve less the reference.
void differenceOf(const GlobalFit& global, int index, int reference, const MemberErrors& errors,
                  const MemberErrors& referenceErrors, double level, ZOLTI_Difference& difference);

}  // namespace zolt::inference
