#include "cells.h"

#include <algorithm>

const std::vector<Case>& cases() {
  static const std::vector<Case> all{
      {"2state_chalf", 1, {0, 1, 2, 4}, false, true, 0},
      {"2state_user_set_baselines", 1, {0, 1}, true, true, 0},
      {"3state_chalf", 2, {0, 1, 2, 3, 4, 5, 7}, false, true, 0},
      {"4state_chalf", 3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 10}, false, true, 14},
      {"2state_all_free", 1, {0, 1, 2, 3, 4, 5}, false, false, 0},
  };
  return all;
}

Result callEntry(const Exports& exports, const Case& kind, const GeneratedCurve& curve) {
  Result result;
  const int32_t size[] = {1, static_cast<int32_t>(curve.x.size())};
  if (kind.callersBaselines) {
    exports.userSetBaselines(curve.x.data(), size, curve.y.data(), size, curve.baselines,
                             curve.temperature, result.data());
  } else {
    exports.midpoint[kind.transitions - 1](curve.x.data(), size, curve.y.data(), size,
                                           curve.temperature, result.data());
  }
  return result;
}

Result callAnalysis(const Exports& exports, int states, const GeneratedCurve& curve) {
  Result result;
  const int32_t size[] = {1, static_cast<int32_t>(curve.x.size())};
  exports.analysis[states - 2](curve.x.data(), size, curve.y.data(), size, curve.temperature,
                               result.data());
  return result;
}

SingleFit singleFit(const Case& kind, const GeneratedCurve& curve) {
  SingleFit fit{kind.transitions, curve.x, curve.y, {}, kind.free};
  const double first = curve.x.front();
  const double last = curve.x.back();
  const double energies[] = {kind.transitions == 1 ? 6000.0 : 4000.0, 8000.0, 12000.0};
  for (int t = 0; t < kind.transitions; ++t) {
    fit.start.push_back(energies[t]);
    fit.start.push_back(first + (t + 1) * (last - first) / (kind.transitions + 1));
  }
  if (kind.transitions == 2) {
    fit.start.push_back(0.5);
  } else if (kind.transitions == 3) {
    fit.start.insert(fit.start.end(), {0.35, 0.3});
  }
  if (kind.callersBaselines) {
    fit.start.insert(fit.start.end(), curve.baselines, curve.baselines + 4);
  } else {
    const double slope = last * 1e-5;
    fit.start.insert(fit.start.end(), {curve.y.front(), slope, curve.y.back(), slope});
  }
  fit.start.push_back((curve.temperature + 273.15) * 1.9872);
  return fit;
}

namespace {

// Whether the call was one fit: it was accepted, and what later fits of the chain would hold moved.
bool wasOneFit(const Case& kind, const SingleFit& fit, const Result& result) {
  const auto code = static_cast<int>(result[ZOLTA_FIT_CODE]);
  if (kind.callersBaselines) {
    return code == ZOLTA_CODE_BOTH_BASELINES &&
           std::equal(result.begin(), result.begin() + 4, fit.start.end() - 5);
  }
  return code == ZOLTA_CODE_MIDPOINT_FIT && result[ZOLTA_NATIVE_INTERCEPT] != fit.y.front();
}

GeneratedCurve curveFor(int transitions, int points, std::uint64_t seed) {
  return generateCurve(
      {.points = points, .transitions = transitions, .noise = 0.005, .slopes = 0.002}, seed);
}

}  // namespace

std::vector<GeneratedCurve> curvesOf(const Exports& exports, const Case& kind, int points) {
  std::vector<GeneratedCurve> curves;
  for (std::uint64_t seed = 1; curves.size() < kCurvesPerCell && seed < 1000; ++seed) {
    GeneratedCurve curve = curveFor(kind.transitions, points, seed);
    if (!kind.hasExport ||
        wasOneFit(kind, singleFit(kind, curve), callEntry(exports, kind, curve))) {
      curves.push_back(std::move(curve));
    }
  }
  return curves;
}

std::vector<GeneratedCurve> analysisCurves(int states, int points) {
  std::vector<GeneratedCurve> curves;
  for (std::uint64_t seed = 1; seed <= kCurvesPerCell; ++seed) {
    curves.push_back(curveFor(states - 1, points, seed));
  }
  return curves;
}
