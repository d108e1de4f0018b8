// Curves that nobody measures: every combination of an odd x, an odd y and a length.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "generated_curves.h"

namespace hostile {

enum class X { even, descending, equal, huge, denormal, infinite, nan, repeated, negative, kinds };
enum class Y {
  oneStep,
  threeSteps,
  noise,
  stepsAndNoise,
  sharpStep,
  farOffset,
  huge,
  largest,
  denormal,
  tiny,
  someInfinite,
  someNaN,
  allNaN,
  constant,
  spikes,
  wave,
  kinds
};

struct Curve {
  std::vector<double> x, y;
};

inline Curve make(X xKind, Y yKind, std::size_t n, std::uint64_t seed) {
  using Limits = std::numeric_limits<double>;
  Random random(seed);
  Curve curve;
  const double reach = random.between(0.5, 12.0);
  const auto fraction = [n](std::size_t i) {
    return n > 1 ? static_cast<double>(i) / static_cast<double>(n - 1) : 0.0;
  };
  for (std::size_t i = 0; i < n; ++i) {
    const double even = reach * fraction(i);
    const bool odd = random.unit() < 0.05;
    switch (xKind) {
      case X::descending:
        curve.x.push_back(reach - even);
        break;
      case X::equal:
        curve.x.push_back(i + 1 == n ? 2.0 * reach : reach);
        break;
      case X::huge:
        curve.x.push_back(1e307 * even);
        break;
      case X::denormal:
        curve.x.push_back(1e-310 * even);
        break;
      case X::infinite:
        curve.x.push_back(odd ? Limits::infinity() : even);
        break;
      case X::nan:
        curve.x.push_back(odd ? Limits::quiet_NaN() : even);
        break;
      case X::repeated:
        curve.x.push_back(std::floor(even));
        break;
      case X::negative:
        curve.x.push_back(even - reach);
        break;
      default:
        curve.x.push_back(even);
    }
  }
  const double offset = random.between(-2.0, 20.0);
  const double height = random.between(-50.0, 100.0);
  const double tilt = random.between(-2.0, 2.0);
  const double scatter = std::pow(10.0, random.between(-6.0, 0.0));
  double middle[3], steep[3], share[3];
  for (int t = 0; t < 3; ++t) {
    middle[t] = random.between(-0.1, 1.1);
    steep[t] = random.between(3.0, 80.0);
    share[t] = random.between(0.1, 1.0);
  }
  const auto steps = [&](int count, double at) {
    double sum = 0.0;
    for (int t = 0; t < count; ++t) {
      sum += share[t] / (1.0 + std::exp(-steep[t] * (at - middle[t])));
    }
    return offset + tilt * at + height * sum;
  };
  for (std::size_t i = 0; i < n; ++i) {
    const double at = fraction(i);
    const double wild = random.between(-1.0, 1.0);
    const bool odd = random.unit() < 0.05;
    const double three = steps(3, at);
    switch (yKind) {
      case Y::oneStep:
        curve.y.push_back(steps(1, at) + scatter * height * wild);
        break;
      case Y::threeSteps:
        curve.y.push_back(three + scatter * height * wild);
        break;
      case Y::noise:
        curve.y.push_back(height * wild + 3.0 * height * at);
        break;
      case Y::stepsAndNoise:
        curve.y.push_back(three + 0.2 * height * wild);
        break;
      case Y::sharpStep:
        curve.y.push_back(offset + (at > middle[0] ? height : 0.0));
        break;
      case Y::farOffset:
        curve.y.push_back(1e12 + three);
        break;
      case Y::huge:
        curve.y.push_back(1e150 * three);
        break;
      case Y::largest:
        curve.y.push_back(1e305 * three);
        break;
      case Y::denormal:
        curve.y.push_back(1e-312 * three);
        break;
      case Y::tiny:
        curve.y.push_back(1e-150 * three);
        break;
      case Y::someInfinite:
        curve.y.push_back(odd ? Limits::infinity() : three);
        break;
      case Y::someNaN:
        curve.y.push_back(odd ? Limits::quiet_NaN() : three);
        break;
      case Y::allNaN:
        curve.y.push_back(Limits::quiet_NaN());
        break;
      case Y::constant:
        curve.y.push_back(1000.0);
        break;
      case Y::spikes:
        curve.y.push_back(odd ? 1e6 * wild : three);
        break;
      default:
        curve.y.push_back(three + height * std::sin(steep[0] * at));
    }
  }
  return curve;
}

}  // namespace hostile
