// The residual bootstrap about the optimum.
#include "inference/bootstrap.h"

namespace zolt::inference {
namespace {

// A reading that the fit follows almost wholly tells nothing of the noise.
constexpr double kMostLeverage = 0.9;

}  // namespace

// G. Steele, D. Lea, C. Flood, Fast splittable pseudorandom number generators, OOPSLA 2014.
std::uint64_t Random::next() {
  state_ += 0x9e3779b97f4a7c15;
  std::uint64_t z = state_;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
  z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
  return z ^ (z >> 31);
}

int Random::below(int count) {
  return static_cast<int>((next() >> 32) * static_cast<std::uint64_t>(count) >> 32);
}

int bootstrap(const Setup& setup, const Solution& solution, const Uncertainty& uncertainty,
              int rounds, std::uint64_t seed, std::vector<double>& draws) {
  const Readings& r = setup.readings;
  PerReading noise = uncertainty.residuals.array() /
                     (1.0 - uncertainty.leverage.array().min(kMostLeverage)).sqrt();
  noise.array() -= noise.sum() / r.n;
  const PerReading fitted = r.y.array() - uncertainty.residuals.array() / r.root.array();

  Setup drawn = setup;
  const ShapeMap map = drawn.map(solution.shape.transitions);
  const Searched start = map.searchedFrom(solution.shape);
  Separable separable(drawn.readings, drawn.baselines);
  const CurveModel model{separable, map};
  SearchLimits limits;
  limits.polished = false;
  Random random(seed);
  draws.assign(static_cast<std::size_t>(rounds) * 9, std::numeric_limits<double>::quiet_NaN());
  int used = 0;
  for (int round = 0; round < rounds; ++round) {
    for (int i = 0; i < r.n; ++i) {
      drawn.readings.y[i] = fitted[i] + noise[random.below(r.n)] / r.root[i];
    }
    const Minimum least = minimise(model, start, map.lower(), map.upper(), map.scale(), limits);
    if (!least.converged || !std::isfinite(least.sse)) {
      continue;
    }
    ++used;
    Shape shape = map.shapeAt(least.at);
    if (setup.nothingHeld()) {
      shape.sort();
    }
    double* values = draws.data() + 9 * static_cast<std::size_t>(round);
    for (int t = 0; t < shape.transitions; ++t) {
      for (int which = 0; which < 3; ++which) {
        values[3 * which + t] = estimateOf(setup, shape, kQuantities[which], t);
      }
    }
  }
  return used;
}

}  // namespace zolt::inference
