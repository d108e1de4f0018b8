// Starts for the search, from grids over midpoints and steepness.
#pragma once

#include <array>

#include "inference/setup.h"

namespace zolt::inference {

inline constexpr int kMostStarts = 8;

struct Starts {
  int count = 0;
  std::array<Shape, kMostStarts> shape;
  void add(const Shape& one) {
    if (count < kMostStarts) {
      shape[count++] = one;
    }
  }
};

// The best separate places of a grid for one transition, baselines eliminated at each.
void addSingleStarts(const Setup& setup, Starts& starts);

// The best sets of two or three from a dictionary of transitions. `single` is the fit of one
// transition, which tells where the slope of the signal may change from one baseline to the other.
void addSeveralStarts(const Setup& setup, int transitions, const Shape& single, Starts& starts);

}  // namespace zolt::inference
