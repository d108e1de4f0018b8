// Candidates, how they are fitted, and the columns in which an analysis keeps them.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "analysis/baseline_estimates.h"
#include "analysis/fit_memory.h"
#include "analysis/unfolding_statistics.h"
#include "fit/masked_fit.h"

namespace zolt {

// A parameter vector with its misfit. Whoever has both never evaluates the curve again.
template <int Transitions>
struct Candidate {
  Parameters<Transitions> p;
  Misfit misfit;
};

template <int Transitions>
Candidate<Transitions> candidateOf(const Curve& curve, const Parameters<Transitions>& p) {
  return {p, misfitOf<Transitions>(curve, p)};
}

// The vector of a candidate that is lost: all values -1. Its own curve is measured like any other,
// and by mischance may describe the data (design.md: failed candidates).
template <int Transitions>
Candidate<Transitions> failedCandidate(const Curve& curve) {
  Parameters<Transitions> p;
  p.fill(-1.0);
  return candidateOf<Transitions>(curve, p);
}

// Where all fits of one call work: the curve, what is known of it from the start, and the storage
// of its fits. Made once a call.
struct Setting {
  Curve curve;
  double RT;  // cal/mol
  Yardstick yardstick;
  BaselineEstimates estimates;
  // Scratch, which says nothing about the curve.
  mutable FitWorkspace workspace;
  mutable FitMemory memory;

  Setting(const Curve& c, double temperature, const BaselineEstimates& baselines,
          bool remembersFits)
      : curve(c),
        RT(thermalEnergy(temperature)),
        yardstick(yardstickOf(c.y)),
        estimates(baselines),
        workspace(c.points()),
        memory(remembersFits) {}
};

template <int Transitions>
double rSquaredOf(const Setting& setting, const Candidate<Transitions>& candidate) {
  return rSquared(candidate.misfit, setting.yardstick);
}

// A fit made now. Its own sum of squares serves unless a NaN is in it, which the measure of
// candidates passes over.
template <int Transitions>
Candidate<Transitions> fitNow(const Curve& curve,
                              const HoldMask<ParameterOrder<Transitions>::count>& mask,
                              const Parameters<Transitions>& start, FitWorkspace& workspace) {
  const auto fitted = maskedFit<UnfoldingModel<Transitions>>(mask, curve, start, workspace);
  return isNaNValue(fitted.misfit.sse) ? candidateOf<Transitions>(curve, fitted.p)
                                       : Candidate<Transitions>{fitted.p, fitted.misfit};
}

// The fit of a curve, or of a part of it, from a start. Several seeds of an analysis come to the
// same start, so that a fit may be made only once.
template <int Transitions>
Candidate<Transitions> fitCurve(const Setting& setting, const Curve& curve, const Held& held,
                                const Parameters<Transitions>& start) {
  const auto mask = holdMask<Transitions>(held);
  const FitKey key = fitKey(curve, mask, start);
  Candidate<Transitions> candidate;
  if (const RememberedFit* known = setting.memory.find(key)) {
    std::copy_n(known->p.begin(), start.size(), candidate.p.begin());
    candidate.misfit = known->misfit;
  } else {
    candidate = fitNow<Transitions>(curve, mask, start, setting.workspace);
    setting.memory.add(key, candidate.p, candidate.misfit);
  }
  return candidate;
}

// How every seeded fit ends: the transitions in order, and nothing when they are not plausible.
template <int Transitions>
std::optional<Candidate<Transitions>> settled(const Curve& curve,
                                              Candidate<Transitions> candidate) {
  const bool moved = orderTransitions<Transitions>(candidate.p);
  if (!plausible<Transitions>(candidate.p, curve.x)) {
    return std::nullopt;
  }
  return moved ? candidateOf<Transitions>(curve, candidate.p) : candidate;
}

// R-squared at which a candidate may teach what it found, and at which known baselines are
// accepted.
inline constexpr double kGoodFit = 0.99;

// Below any R-squared, so that a scan that starts here always finds a best column.
inline constexpr double kBelowAnyRSquared = -1.1;

// A row of candidates with their R-squared values. All begin as lost.
template <int Transitions, std::size_t Columns>
struct CandidateSet {
  std::array<Candidate<Transitions>, Columns> columns;
  std::array<double, Columns> rsq;

  explicit CandidateSet(const Setting& setting) {
    const auto failed = failedCandidate<Transitions>(setting.curve);
    columns.fill(failed);
    rsq.fill(rSquaredOf<Transitions>(setting, failed));
  }

  // A candidate that did not settle leaves its column lost.
  void place(std::size_t column, const std::optional<Candidate<Transitions>>& candidate,
             const Setting& setting) {
    if (candidate) {
      columns[column] = *candidate;
      rsq[column] = rSquaredOf<Transitions>(setting, *candidate);
    }
  }

  const Parameters<Transitions>& p(std::size_t column) const { return columns[column].p; }
  bool isGood(std::size_t column) const { return rsq[column] >= kGoodFit; }
  static constexpr std::size_t size() { return Columns; }
};

// The first of the columns [first, end) with the greatest value.
inline std::size_t bestColumn(std::span<const double> rsq, std::size_t first, std::size_t end) {
  double best = kBelowAnyRSquared;
  std::size_t column = first;
  for (std::size_t c = first; c < end; ++c) {
    if (rsq[c] > best) {
      best = rsq[c];
      column = c;
    }
  }
  return column;
}

}  // namespace zolt
