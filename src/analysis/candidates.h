// What the three drivers share: the setting of a call, sets of candidates, the harvest of baselines
// from good candidates, and the ladders of falling thresholds.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "analysis/baseline_estimates.h"
#include "analysis/unfolding_statistics.h"
#include "fit/masked_fit.h"
#include "frame/sorting.h"

namespace zolt {

// What all seeders of one call work from.
struct Setting {
  Curve curve;
  double RT;
  Yardstick yardstick;
  BaselineEstimates estimates;
  FitWorkspace& workspace;
};

// The setting of an analysis that starts from estimates of the baselines.
inline Setting makeSetting(const Curve& curve, double temperature, FitWorkspace& workspace) {
  return {curve, thermalEnergy(temperature), yardstickOf(curve.y), estimateBaselines(curve),
          workspace};
}

// The setting of an entry that needs no more than the end values.
inline Setting makeLightSetting(const Curve& curve, double temperature, FitWorkspace& workspace) {
  return {curve, thermalEnergy(temperature), yardstickOf(curve.y), endEstimates(curve), workspace};
}

// Which of the known baselines a seeder reads in place of its estimates.
enum class GivenPairs { None, Native, Denatured, Both };

inline BaselinePair pairsRead(GivenPairs pairs, const BaselinePair& known) {
  const bool native = pairs == GivenPairs::Native || pairs == GivenPairs::Both;
  const bool denatured = pairs == GivenPairs::Denatured || pairs == GivenPairs::Both;
  return {native ? known.native : Baseline{}, denatured ? known.denatured : Baseline{}};
}

// A start vector whose midpoints divide the range of x evenly.
template <int Transitions>
Parameters<Transitions> startVector(const Setting& setting,
                                    const std::array<double, Transitions>& dG,
                                    const std::array<double, Transitions - 1>& weights,
                                    const BaselinePair& baselines) {
  using Order = ParameterOrder<Transitions>;
  const Row x = setting.curve.x;
  Parameters<Transitions> p;
  for (int t = 0; t < Transitions; ++t) {
    p[Order::dG(t)] = dG[static_cast<std::size_t>(t)];
    p[Order::Cm(t)] = x[0] + (t + 1) * (x.back() - x[0]) / (Transitions + 1);
  }
  std::copy(weights.begin(), weights.end(), p.begin() + Order::weight(0));
  p[Order::aN] = baselines.native.intercept;
  p[Order::bN] = baselines.native.slope;
  p[Order::aU] = baselines.denatured.intercept;
  p[Order::bU] = baselines.denatured.slope;
  p[Order::RT] = setting.RT;
  return p;
}

template <int Transitions>
double rSquaredOf(const Setting& setting, const Candidate<Transitions>& candidate) {
  return rSquared(candidate.misfit, setting.yardstick);
}

template <int Transitions>
Candidate<Transitions> failed(const Setting& setting) {
  return candidateOf<Transitions>(setting.curve, failedCandidate<Transitions>());
}

// Runs a masked fit over the whole curve.
template <int Transitions>
Candidate<Transitions> fitCurve(const Setting& setting,
                                const HoldMask<ParameterOrder<Transitions>::count>& mask,
                                const Parameters<Transitions>& start) {
  return asCandidate<Transitions>(setting.curve,
                                  maskedFit(mask, setting.curve, start, setting.workspace));
}

// How every seeder ends: the transitions in order, and all -1 when the outcome is not plausible.
template <int Transitions>
Candidate<Transitions> settled(const Setting& setting, Candidate<Transitions> candidate) {
  const bool moved = orderTransitions<Transitions>(candidate.p);
  if (!plausible<Transitions>(candidate.p, setting.curve.x)) {
    return failed<Transitions>(setting);
  }
  return moved ? candidateOf<Transitions>(setting.curve, candidate.p) : candidate;
}

// R-squared at which a candidate may teach its baselines, and the given-baseline stages accept.
inline constexpr double kGoodFit = 0.99;

// Below any R-squared, so that a scan that starts here always finds a best column.
inline constexpr double kBelowAnyRSquared = -1.1;

// A row of candidates with their R-squared values. It begins with failed candidates.
template <int Transitions, std::size_t Columns>
struct CandidateSet {
  std::array<Candidate<Transitions>, Columns> columns;
  std::array<double, Columns> rsq;

  explicit CandidateSet(const Setting& setting) { clear(failed<Transitions>(setting), setting); }

  void clear(const Candidate<Transitions>& candidate, const Setting& setting) {
    columns.fill(candidate);
    rsq.fill(rSquaredOf<Transitions>(setting, candidate));
  }
  void place(std::size_t column, const Candidate<Transitions>& candidate, const Setting& setting) {
    columns[column] = candidate;
    rsq[column] = rSquaredOf<Transitions>(setting, candidate);
  }
  const Parameters<Transitions>& p(std::size_t column) const { return columns[column].p; }
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

// The best of a set whose members all know both baselines, when it fits well.
template <int Transitions, std::size_t Columns>
std::optional<Candidate<Transitions>> bestGoodCandidate(
    const CandidateSet<Transitions, Columns>& set) {
  auto rsq = set.rsq;
  std::array<int, Columns> places;
  sortDescending(rsq, places);
  if (!(rsq[0] >= kGoodFit)) {
    return std::nullopt;
  }
  return set.columns[static_cast<std::size_t>(places[0])];
}

template <int Transitions, std::size_t Columns>
std::array<EndAgreement, Columns> checkEnds(const Setting& setting,
                                            const CandidateSet<Transitions, Columns>& set) {
  std::array<EndAgreement, Columns> ends;
  for (std::size_t c = 0; c < Columns; ++c) {
    ends[c] = baselineCheck<Transitions>(setting.curve, set.p(c), setting.yardstick);
  }
  return ends;
}

// The means of the baselines of those candidates that describe the curve well and reach its ends.
struct Harvest {
  BaselinePair baselines;  // (0, 0) where nothing contributed
  int nativeCount = 0;
  int denaturedCount = 0;

  bool empty() const { return nativeCount == 0 && denaturedCount == 0; }
};

template <int Transitions, std::size_t Columns>
Harvest harvestBaselines(const CandidateSet<Transitions, Columns>& set,
                         const std::array<EndAgreement, Columns>& ends) {
  using Order = ParameterOrder<Transitions>;
  Harvest harvest;
  const auto add = [](Baseline& sum, int& count, double intercept, double slope) {
    sum.intercept += intercept;
    sum.slope += slope;
    ++count;
  };
  const auto divide = [](Baseline& sum, int count) {
    if (count > 0) {
      sum.intercept /= count;
      sum.slope /= count;
    }
  };
  for (std::size_t c = 0; c < Columns; ++c) {
    const auto& p = set.p(c);
    if (set.rsq[c] >= kGoodFit && ends[c].native) {
      add(harvest.baselines.native, harvest.nativeCount, p[Order::aN], p[Order::bN]);
    }
    if (set.rsq[c] >= kGoodFit && ends[c].denatured) {
      add(harvest.baselines.denatured, harvest.denaturedCount, p[Order::aU], p[Order::bU]);
    }
  }
  divide(harvest.baselines.native, harvest.nativeCount);
  divide(harvest.baselines.denatured, harvest.denaturedCount);
  return harvest;
}

}  // namespace zolt
