// Ordinary arguments for all exports: a curve, its fit, and a series of three like it.
#pragma once

#include "exports.h"
#include "generated_curves.h"

inline Arguments sampleArguments(int points, int transitions, std::uint64_t seed = 1) {
  const CurveRecipe recipe{
      .points = points, .transitions = transitions, .noise = 0.005, .slopes = 0.01};
  GeneratedCurve curve = generateCurve(recipe, seed);
  Arguments a;
  a.baselines.assign(curve.baselines, curve.baselines + 4);
  a.x = std::move(curve.x);
  a.y = std::move(curve.y);
  a.scale = Vector(a.x.length(), 2.0);
  a.result = Called("2state", a, Placement::shared).real(0);
  a.labels = Vector{1.0, 2.0, 4.0};
  for (std::size_t c = 0; c < a.labels.length(); ++c) {
    const GeneratedCurve member = generateCurve(recipe, seed + c);
    a.seriesX.insert(a.seriesX.end(), member.x.begin(), member.x.end());
    a.seriesY.insert(a.seriesY.end(), member.y.begin(), member.y.end());
    a.seriesResults.insert(a.seriesResults.end(), a.result.begin(), a.result.end());
    a.seriesResults[c * ZOLTA_RESULT_LENGTH + ZOLTA_DG1] = 4000.0 + 800.0 * double(c);
  }
  a.include = Whole(a.labels.length(), 1);
  a.userMask = Whole(a.seriesX.size(), 1);
  a.trend = {-900.0, 5000.0, 0.9, 3.0};
  a.pointsPerCurve = points;
  a.states = transitions + 1;
  a.n = 50;
  return a;
}
