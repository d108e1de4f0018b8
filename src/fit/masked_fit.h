// Fits that hold some parameters of a model at their given values and move the others.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include "fit/levenberg_marquardt.h"

namespace zolt {

// One byte a parameter, in the model's order: 1 held at its given value, 0 fitted.
template <std::size_t Count>
using HoldMask = std::array<std::uint8_t, Count>;

// What a fit of an unfolding model holds. The thermal energy, which is no unknown, is always held.
struct Held {
  bool midpoints = false;
  bool weight1 = false;
  bool weight2 = false;
  bool slopes = false;     // of both baselines
  bool native = false;     // intercept and slope of the native baseline
  bool denatured = false;  // the same of the denatured one
};

inline constexpr Held kBaselinesHeld{.native = true, .denatured = true};
inline constexpr Held kSlopesHeld{.slopes = true};

constexpr Held operator|(const Held& a, const Held& b) {
  return {a.midpoints || b.midpoints, a.weight1 || b.weight1, a.weight2 || b.weight2,
          a.slopes || b.slopes,       a.native || b.native,   a.denatured || b.denatured};
}

// The mask that follows from what is held. A model without a second weight has no place for it.
template <int Transitions>
constexpr HoldMask<ParameterOrder<Transitions>::count> holdMask(const Held& held) {
  using Order = ParameterOrder<Transitions>;
  HoldMask<Order::count> mask{};
  for (int t = 0; t < Transitions; ++t) {
    mask[Order::Cm(t)] = held.midpoints;
  }
  if constexpr (Transitions >= 2) {
    mask[Order::weight(0)] = held.weight1;
  }
  if constexpr (Transitions >= 3) {
    mask[Order::weight(1)] = held.weight2;
  }
  mask[Order::aN] = held.native;
  mask[Order::bN] = held.native || held.slopes;
  mask[Order::aU] = held.denatured;
  mask[Order::bU] = held.denatured || held.slopes;
  mask[Order::RT] = 1;
  return mask;
}

// What a masked fit leaves.
template <std::size_t Count>
struct Fitted {
  std::array<double, Count> p;
  Misfit misfit;
};

// Fits the parameters that `mask` leaves free to the curve, starting from `start`. Held values come
// back bit for bit. At least one parameter is free, and at most kMostFree.
template <class Model>
Fitted<Model::kParameters> maskedFit(const HoldMask<Model::kParameters>& mask, const Curve& curve,
                                     std::array<double, Model::kParameters> start,
                                     FitWorkspace& workspace) {
  std::array<int, Model::kParameters> free{};
  std::size_t c = 0;
  for (std::size_t i = 0; i < mask.size(); ++i) {
    if (mask[i] == 0) {
      free[c++] = static_cast<int>(i);
    }
  }
  assert(c >= 1 && c <= kMostFree);
  workspace.reset();
  Model model(curve.x, workspace);
  const Misfit misfit = fitLM(model, curve.y, std::span(free).first(c), start.data(), workspace);
  return {start, misfit};
}

}  // namespace zolt
