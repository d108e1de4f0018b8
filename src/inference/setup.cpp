// Options into what the fits work with.
#include "inference/setup.h"

#include <cmath>
#include <limits>

namespace zolt::inference {
namespace {

constexpr double kUsualMargin = 0.1, kMostMargin = 10.0;
// A transition flatter than K changing e-fold over the readings is a curved baseline; one that is
// steeper than K changing e^20-fold from one reading to the next is a step.
constexpr double kLeastSteepness = 1.0, kMostSteepnessTimesGap = 20.0;
constexpr double kLeastShare = 1e-3;
// By how much three held values of a transition may miss dG = m Cm.
constexpr double kHeldTolerance = 1e-9;

bool readBaseline(int kind, const double* given, const Readings& r, Baseline& baseline) {
  if (kind < ZOLTI_LINE || kind > ZOLTI_GIVEN) {
    return false;
  }
  baseline.kind = kind;
  if (kind == ZOLTI_GIVEN) {
    baseline.intercept = (given[0] + given[1] * r.xFirst - r.yMiddle) / r.ySpan;
    baseline.slope = given[1] * r.xSpan / r.ySpan;
    return std::isfinite(baseline.intercept) && std::isfinite(baseline.slope);
  }
  return true;
}

// Two held values of three tell the third.
bool readHeld(double dG, double Cm, double m, Held& held) {
  held = {!std::isnan(Cm), !std::isnan(m), !std::isnan(dG), Cm, m, dG};
  if (held.m && !(m > 0.0 && std::isfinite(m))) {
    return false;
  }
  if ((held.Cm && !std::isfinite(Cm)) || (held.dG && !std::isfinite(dG))) {
    return false;
  }
  if (!held.dG || (!held.Cm && !held.m)) {
    return true;
  }
  if (held.Cm && held.m) {
    held.dG = false;
    return std::abs(m * Cm - dG) <= kHeldTolerance * std::abs(dG);
  }
  if (held.m) {
    held.CmValue = dG / m;
  } else {
    held.mValue = dG / Cm;
  }
  held.Cm = held.m = true;
  held.dG = false;
  return held.mValue > 0.0 && std::isfinite(held.mValue) && std::isfinite(held.CmValue);
}

bool readBounds(const ZOLTI_Options& options, const Readings& r, Bounds& bounds) {
  if (!(options.margin >= 0.0 && options.margin <= kMostMargin) || !(options.least_m >= 0.0) ||
      !(options.most_m >= 0.0)) {
    return false;
  }
  const double least = options.least_m > 0.0 ? r.steepness(options.least_m) : kLeastSteepness;
  const double most =
      options.most_m > 0.0 ? r.steepness(options.most_m) : kMostSteepnessTimesGap / r.gap;
  bounds = {-options.margin, 1.0 + options.margin, std::log(least),
            std::log(most),  kLeastShare,          1.0 - kLeastShare};
  return std::isfinite(bounds.leastLogS) && std::isfinite(bounds.mostLogS) && least < most;
}

}  // namespace

bool Setup::nothingHeld() const {
  for (const Held& one : held) {
    if (one.Cm || one.m || one.dG) {
      return false;
    }
  }
  return true;
}

ZOLTI_Options usualOptions() {
  constexpr double kFree = std::numeric_limits<double>::quiet_NaN();
  ZOLTI_Options options{};
  options.size = sizeof(ZOLTI_Options);
  options.margin = kUsualMargin;
  for (int t = 0; t < kMostTransitions; ++t) {
    options.dG[t] = options.Cm[t] = options.m[t] = kFree;
  }
  return options;
}

int prepare(const ZOLTI_Curve* curve, const ZOLTI_Options* given, Setup& setup) {
  const ZOLTI_Options usual = usualOptions();
  const ZOLTI_Options& options = given == nullptr ? usual : *given;
  if (curve == nullptr || options.size != usual.size) {
    return ZOLTI_BAD_ARGUMENT;
  }
  const int status = takeIn(*curve, options.sd_known != 0, setup.readings);
  if (status != ZOLTI_FITTED) {
    return status;
  }
  setup.engine = options.without_engine == 0;
  if (!readBaseline(options.native_kind, options.baseline, setup.readings,
                    setup.baselines.native) ||
      !readBaseline(options.denatured_kind, options.baseline + 2, setup.readings,
                    setup.baselines.denatured)) {
    return ZOLTI_BAD_BASELINE;
  }
  for (int t = 0; t < kMostTransitions; ++t) {
    if (!readHeld(options.dG[t], options.Cm[t], options.m[t], setup.held[t])) {
      return ZOLTI_BAD_HELD;
    }
  }
  return readBounds(options, setup.readings, setup.bounds) ? ZOLTI_FITTED : ZOLTI_BAD_BOUNDS;
}

int enoughFor(const Setup& setup, int transitions) {
  const ShapeMap map = setup.map(transitions);
  if (!map.feasible()) {
    return ZOLTI_BAD_HELD;
  }
  const int parameters = setup.baselines.freeCount() + map.count();
  if (setup.readings.n <= parameters) {
    return ZOLTI_TOO_FEW_READINGS;
  }
  return setup.readings.distinct < parameters ? ZOLTI_TOO_FEW_CONCENTRATIONS : ZOLTI_FITTED;
}

}  // namespace zolt::inference
