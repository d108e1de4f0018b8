// Calls of the engine, and its answers as starts.
#include "inference/engine_starts.h"

#include <cmath>

#include "zolt_fitting_engine.h"

namespace zolt::inference {
namespace {

using Entry = void (*)(const double*, const std::int32_t*, const double*, const std::int32_t*,
                       double, double*) noexcept;
constexpr Entry kFull[] = {ZOLTA_2state, ZOLTA_3state, ZOLTA_4state};
constexpr Entry kLight[] = {ZOLTA_2state_chalf, ZOLTA_3state_chalf, ZOLTA_4state_chalf};
constexpr int kFewestFull = 8, kFewestLight = 6;

constexpr int kDG[] = {ZOLTA_DG1, ZOLTA_DG2, ZOLTA_DG3};
constexpr int kCm[] = {ZOLTA_CM1, ZOLTA_CM2, ZOLTA_CM3};

}  // namespace

EngineVector askEngine(const ZOLTI_Curve& curve, const Readings& r, int transitions,
                       Analysis analysis) {
  static_assert(int{ZOLTI_ENGINE_LENGTH} == int{ZOLTA_RESULT_LENGTH});
  EngineVector vector{};
  const bool full = analysis == Analysis::full;
  if (r.n < (full ? kFewestFull : kFewestLight)) {
    return vector;
  }
  PerReading x(r.n), y(r.n);
  for (int i = 0; i < r.n; ++i) {
    x[i] = curve.x[r.place[i]];
    y[i] = curve.y[r.place[i]];
  }
  const std::int32_t size[] = {1, r.n};
  (full ? kFull : kLight)[transitions - 1](x.data(), size, y.data(), size, curve.temperature,
                                           vector.data());
  return vector;
}

bool shapeOf(const EngineVector& vector, const Readings& r, int transitions, Shape& shape) {
  if (!(vector[ZOLTA_RT] > 0.0)) {
    return false;
  }
  shape.transitions = transitions;
  std::array<double, kMostTransitions> w{1.0, 0.0, 0.0};
  if (transitions == 2) {
    w = {vector[ZOLTA_WEIGHT1], 1.0 - vector[ZOLTA_WEIGHT1], 0.0};
  } else if (transitions == 3) {
    w = {vector[ZOLTA_WEIGHT1], vector[ZOLTA_WEIGHT2],
         1.0 - vector[ZOLTA_WEIGHT1] - vector[ZOLTA_WEIGHT2]};
  }
  shape.setWeights(w);
  for (int t = 0; t < transitions; ++t) {
    const double Cm = vector[kCm[t]];
    const double s = r.steepness(vector[kDG[t]] / Cm);
    shape.c[t] = r.scaledX(Cm);
    shape.logS[t] = std::log(s);
    if (!std::isfinite(shape.c[t]) || !std::isfinite(shape.logS[t])) {
      return false;
    }
  }
  shape.sort();
  return std::isfinite(shape.share[0]) && std::isfinite(shape.share[1]);
}

}  // namespace zolt::inference
