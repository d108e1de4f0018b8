// Denaturation curves made from numbers: the same bits wherever exp gives the same bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// A small generator of its own, since those of the standard library differ in their distributions.
struct Random {
  std::uint64_t state;

  explicit Random(std::uint64_t seed) : state(seed * 0x9e3779b97f4a7c15u + 0x2545f4914f6cdd1du) {}
  std::uint64_t next();
  double unit();  // from 0 up to but not including 1
  double between(double low, double high);
  int below(int count);
  double normal();  // mean 0, variance 1, never beyond 6
};

// What a curve shall look like.
struct CurveRecipe {
  int points = 48;
  int transitions = 1;
  double noise = 0;   // standard deviation, as part of the height
  double slopes = 0;  // largest slope of a baseline, as part of the height per unit of x
  bool falling = false;
};

// A curve from 0 to about 8 M, and what it was made from. Transitions are well separated.
struct GeneratedCurve {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> midpoints;
  std::vector<double> energies;
  std::vector<double> weights;
  double baselines[4] = {};  // aN, bN, aU, bU
  double temperature = 25;
};
GeneratedCurve generateCurve(const CurveRecipe& recipe, std::uint64_t seed);

// Curve `index` of an endless mix of all kinds: clean and noisy, falling and rising, flat and
// sloped, of 8 to 384 points and 1 to 3 transitions, some with a NaN or with equal x. Long curves
// are rare.
GeneratedCurve assortedCurve(int index);
