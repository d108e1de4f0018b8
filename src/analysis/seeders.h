// The words in which a model says from where its fits start. A start is seeded from the ends of the
// curve and from what earlier fits have taught; a fit then moves the parameters that are not held.
// Fits differ in how the baselines are estimated, which baselines are known and held, and what
// else of the learned is held. Each model composes its rows of these words.
#pragma once

#include "analysis/candidates.h"

namespace zolt {

// A choice among the two baselines.
struct Sides {
  bool native = false;
  bool denatured = false;
};

// Which baselines a fit holds, by which of them are given.
struct HoldRule {
  Sides neither, native, denatured, both;

  constexpr const Sides& operator()(const Sides& given) const {
    return given.native ? (given.denatured ? both : native) : given.denatured ? denatured : neither;
  }
};

inline constexpr Sides kNeither{}, kNative{true, false}, kDenatured{false, true}, kBoth{true, true};
inline constexpr HoldRule kHoldsNeither{kNeither, kNeither, kNeither, kNeither};
inline constexpr HoldRule kHoldsBoth{kBoth, kBoth, kBoth, kBoth};
inline constexpr HoldRule kHoldsDenatured{kDenatured, kDenatured, kDenatured, kDenatured};
inline constexpr HoldRule kHoldsNativeElseDenatured{kDenatured, kNative, kDenatured, kNative};
inline constexpr HoldRule kHoldsNativeIfGiven{kNeither, kNative, kNeither, kNative};
inline constexpr HoldRule kHoldsDenaturedIfGiven{kNeither, kNeither, kDenatured, kDenatured};
// With one baseline given, the other one is held (design.md: crossed free side).
inline constexpr HoldRule kHoldsCrossed{kNeither, kDenatured, kNative, kBoth};

// A start: the estimate of the baselines that are not known, and which baselines the fit holds.
struct Start {
  Estimate estimate;
  HoldRule holds;
};
inline constexpr Start kAllFree{Estimate::ThreePoint, kHoldsNeither};
inline constexpr Start kThreePoint{Estimate::ThreePoint, kHoldsBoth};
inline constexpr Start kEndPoint{Estimate::End, kHoldsBoth};
inline constexpr Start kWindow{Estimate::Window, kHoldsBoth};

// When a column of the general family can be fitted, and from what.
enum class Step {
  Seed,          // from the ends of the curve
  EvenSplit,     // from parts of the curve fitted alone, split at fixed shares of its points
  PeakSplit,     // the same, split between the peaks of the derivative
  BestSplit,     // the same, split between the midpoints of the best candidate so far
  Refit,         // from the best candidate so far
  WithBestJoin,  // from the ends again, with the weights of the best join
};

// A column of the general family: the code of its fit, its start unless it is joined or refitted,
// and what it holds of the midpoint or the weights that earlier fits have taught.
struct GeneralRow {
  int code;
  Step step;
  Start start;
  Held learned{};
};

// The first column of a step, or the number of columns when none is of that step.
template <std::size_t Columns>
constexpr std::size_t firstColumn(const std::array<GeneralRow, Columns>& rows, Step step) {
  std::size_t c = 0;
  while (c < Columns && rows[c].step != step) {
    ++c;
  }
  return c;
}

inline constexpr Start kJoined = kEndPoint;    // which no join looks at
inline constexpr Start kRefitted = kEndPoint;  // nor a refit

// A start of the two families with a known baseline. The ladder tries it at its threshold plus
// `offset`: free sides must do better than the others to be taken, lines through three points may
// do a little worse. The free sides of the two families are no mirror images, hence two rules
// (design.md: crossed free side).
struct GivenStart {
  double offset;
  Estimate estimate;
  HoldRule nativeHolds;
  HoldRule denaturedHolds;
};
inline constexpr double kFreeSideOffset = 0.001;
inline constexpr GivenStart kGivenThreePoint{-0.0005, Estimate::ThreePoint, kHoldsBoth, kHoldsBoth};
inline constexpr GivenStart kGivenEndPoint{0.0, Estimate::End, kHoldsBoth, kHoldsBoth};
inline constexpr GivenStart kGivenWindow{0.0, Estimate::Window, kHoldsBoth, kHoldsBoth};
// The native family turns to the denatured estimate when its own baseline is not known.
inline constexpr GivenStart kGivenFreeSide{kFreeSideOffset, Estimate::ThreePoint,
                                           kHoldsNativeElseDenatured, kHoldsDenatured};

// A column of these families, by the codes of its fits in both. A refit is not seeded: it takes the
// ranked candidates of its family once more.
struct GivenRow {
  int nativeCode;
  int denaturedCode;
  GivenStart start;
  Held learned{};
  bool refit = false;
};

// Free energy in cal/mol from which every transition starts when the baselines are lines over the
// ends of the curve: they leave less of the transition to the baselines, which makes it steeper.
inline constexpr double kSteepStart = 10000.0;

// A start whose midpoints divide the range of x evenly. `energies` are the model's own, for
// baselines estimated from few points.
template <int Transitions>
Parameters<Transitions> evenStart(const Setting& setting,
                                  const std::array<double, Transitions>& energies,
                                  const std::array<double, Transitions - 1>& weights,
                                  const Baselines& baselines) {
  using Order = ParameterOrder<Transitions>;
  const Row x = setting.curve.x;
  Parameters<Transitions> p;
  for (int t = 0; t < Transitions; ++t) {
    p[Order::dG(t)] = energies[static_cast<std::size_t>(t)];
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

// The candidate of a start. Of the known baselines it reads those of its family; which of them are
// held is told by all that are given.
template <class Model>
std::optional<Candidate<Model::kTransitions>> fitFrom(const Setting& setting, const Start& start,
                                                      const Held& learned, const Sides& reads,
                                                      const Baselines& known,
                                                      const typename Model::Hints& hints) {
  constexpr int T = Model::kTransitions;
  const Curve& curve = setting.curve;
  const Baselines read{reads.native ? known.native : Baseline{},
                       reads.denatured ? known.denatured : Baseline{}};
  auto energies = Model::kEnergies;
  if (start.estimate == Estimate::Window) {
    energies.fill(kSteepStart);
  }
  auto p = evenStart<T>(setting, energies, Model::kEvenWeights,
                        seedBaselines(curve, setting.estimates, start.estimate, read));
  const Held fromHints = Model::takeHints(hints, learned, curve, p);
  const Sides& held = start.holds({isGiven(known.native), isGiven(known.denatured)});
  const Held baselines{.native = held.native, .denatured = held.denatured};
  return settled<T>(curve, fitCurve<T>(setting, curve, fromHints | baselines, p));
}

}  // namespace zolt
