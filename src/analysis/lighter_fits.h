// The two lighter ways into a model: the midpoint fit, for curves too poor for an analysis, and the
// fit on the caller's baselines. Both start from no more than the ends of the curve.
#pragma once

#include "analysis/admission.h"
#include "analysis/entries.h"
#include "analysis/packaging.h"
#include "analysis/seeders.h"

namespace zolt {

// R-squared from which a midpoint fit is accepted, and from which a fit on the caller's baselines,
// or the full analysis behind it, stands.
inline constexpr double kMidpointRSquared = 0.5;
inline constexpr double kUserBaselinesRSquared = 0.9;

// Both slopes of a midpoint fit start at this part of the last x; they are no slopes of the data
// (design.md: midpoint slopes).
inline constexpr double kMidpointSlope = 1e-5;

// Walks the model's choices of held weights, each with the slopes and then with the baselines held,
// from one start, and takes the first plausible outcome of sufficient R-squared; the last one is
// taken as it is.
template <class Model>
std::optional<Candidate<Model::kTransitions>> midpointChain(const Setting& setting) {
  constexpr int T = Model::kTransitions;
  const Curve& curve = setting.curve;
  const double slope = curve.lastX() * kMidpointSlope;
  const auto start = evenStart<T>(setting, Model::kEnergies, Model::kEvenWeights,
                                  {{curve.y[0], slope}, {curve.lastY(), slope}});
  const auto fit = [&]() -> Candidate<T> {
    Candidate<T> candidate{};
    for (const Held& weights : Model::kMidpointChain) {
      for (const Held& lines : {kSlopesHeld, kBaselinesHeld}) {
        candidate = fitNow<T>(curve, holdMask<T>(weights | lines), start, setting.workspace);
        const double r = rSquaredOf<T>(setting, candidate);
        // An R-squared that is no number fails a single transition and passes several.
        const bool describes = T == 1 ? r >= kMidpointRSquared : !(r < kMidpointRSquared);
        if (describes && plausibleStrict<T>(candidate.p, curve.x)) {
          return candidate;
        }
      }
    }
    return candidate;
  };
  Candidate<T> candidate = fit();
  const bool moved = orderTransitions<T>(candidate.p);
  if (!plausibleStrict<T>(candidate.p, curve.x)) {
    return std::nullopt;
  }
  return moved ? candidateOf<T>(curve, candidate.p) : candidate;
}

template <class Model>
void fitMidpoint(const Curve& curve, double temperature, ResultVector result) {
  constexpr int T = Model::kTransitions;
  const Terms terms{kFewestMidpointPoints, kAnyLength, Model::kFewestMidpointPoints, T};
  if (!admitted<T>(curve, temperature, terms, result,
                   [&]<int Fewer>() { midpointFit<Fewer>(curve, temperature, result); })) {
    return;
  }
  const Setting setting(curve, temperature, endEstimates(curve), false);
  const auto found = midpointChain<Model>(setting);
  const Candidate<T> candidate = found ? *found : failedCandidate<T>(curve);
  if (rSquaredOf<T>(setting, candidate) < kMidpointRSquared) {
    return writeFailure(T, ZOLTA_CODE_MIDPOINT_REJECTED, result);
  }
  package<T>(curve, candidate.p, candidate.misfit, setting.yardstick, ZOLTA_CODE_MIDPOINT_FIT,
             result);
}

// When the caller's baselines do not describe the curve, the full analysis decides, which ignores
// them, and its vector stands if it describes the curve. The first tests answer in the two-state
// failure shape whatever the model (design.md: failure shapes).
template <class Model>
void fitOnUserBaselines(const Curve& curve, const Baselines& baselines, double temperature,
                        ResultVector result) {
  constexpr int T = Model::kTransitions;
  const Terms terms{kFewestPoints, kAnyLength, Model::kFewestPoints, 1};
  if (!admitted<T>(curve, temperature, terms, result, [&]<int Fewer>() {
        userBaselinesFit<Fewer>(curve, baselines, temperature, result);
      })) {
    return;
  }
  const Setting setting(curve, temperature, endEstimates(curve), false);
  const auto found = Model::fitOnBaselines(setting, baselines);
  const Candidate<T> candidate = found ? *found : failedCandidate<T>(curve);
  if (rSquaredOf<T>(setting, candidate) >= kUserBaselinesRSquared) {
    return package<T>(curve, candidate.p, candidate.misfit, setting.yardstick,
                      ZOLTA_CODE_BOTH_BASELINES, result);
  }
  internalAnalysis<T>(curve, temperature, result);
  const auto full = candidateOf<T>(curve, parametersOf<T>(result));
  if (!(rSquaredOf<T>(setting, full) >= kUserBaselinesRSquared)) {
    writeFailure(T, ZOLTA_CODE_NO_ACCEPTABLE_FIT, result);
  }
}

// The caller's four doubles: aN, bN, aU, bU.
inline Baselines userBaselines(const double* values) {
  return {{values[0], values[1]}, {values[2], values[3]}};
}

}  // namespace zolt
