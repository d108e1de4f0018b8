#include "support/generated_curves.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "elementary/exponential.h"

std::uint64_t Random::next() {
  state ^= state >> 12;
  state ^= state << 25;
  state ^= state >> 27;
  return state * 0x2545f4914f6cdd1du;
}

double Random::unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }

double Random::between(double low, double high) { return low + (high - low) * unit(); }

int Random::below(int count) {
  return static_cast<int>(next() % static_cast<std::uint64_t>(count));
}

double Random::normal() {
  double sum = 0.0;
  for (int i = 0; i < 12; ++i) {
    sum += unit();
  }
  return sum - 6.0;
}

GeneratedCurve generateCurve(const CurveRecipe& recipe, std::uint64_t seed) {
  // Each row names where the midpoints of that many transitions lie, and their m-values.
  struct Range {
    double low, high;
  };
  static constexpr Range kMidpoints[3][3] = {
      {{2.5, 5.5}}, {{1.8, 2.8}, {5.2, 6.2}}, {{1.2, 1.7}, {3.7, 4.3}, {6.3, 6.8}}};
  static constexpr Range kMValues[3] = {{1100, 2600}, {1800, 3600}, {3000, 5000}};

  Random random(seed);
  GeneratedCurve curve;
  const int last = recipe.transitions - 1;
  double left = 1.0;
  for (int t = 0; t <= last; ++t) {
    const Range& midpoint = kMidpoints[last][t];
    const double Cm = random.between(midpoint.low, midpoint.high);
    const double m = random.between(kMValues[last].low, kMValues[last].high);
    const double share = t == last ? 1.0 : random.between(0.42, 0.58) * 2.0 / (last - t + 1.0);
    curve.midpoints.push_back(Cm);
    curve.energies.push_back(m * Cm);
    curve.weights.push_back(left * share);
    left -= left * share;
  }
  const double height = random.between(20, 90);
  const double aN = random.between(5, 25);
  const double bN = recipe.slopes * height * random.between(-1, 1);
  const double bU = recipe.slopes * height * random.between(-1, 1);
  const double values[] = {recipe.falling ? aN + height : aN, bN, recipe.falling ? aN : aN + height,
                           bU};
  std::copy(std::begin(values), std::end(values), curve.baselines);

  const double RT = (curve.temperature + 273.15) * 1.9872;
  for (int i = 0; i < recipe.points; ++i) {
    const double x = 8.0 * i / (recipe.points - 1);
    const double native = curve.baselines[0] + curve.baselines[1] * x;
    const double denatured = curve.baselines[2] + curve.baselines[3] * x;
    double y = 0.0;
    for (std::size_t t = 0; t < curve.midpoints.size(); ++t) {
      const double K =
          zolt::exponential(-(curve.energies[t] * (1.0 - x / curve.midpoints[t])) / RT);
      y += curve.weights[t] * ((native + denatured * K) / (1.0 + K));
    }
    curve.x.push_back(x);
    curve.y.push_back(y + recipe.noise * height * random.normal());
  }
  return curve;
}

GeneratedCurve assortedCurve(int index) {
  static constexpr int kPoints[] = {8,  12, 17, 18, 20, 23, 24, 28, 32,
                                    36, 40, 44, 48, 52, 56, 60, 64, 96};
  static constexpr double kNoises[] = {0, 0, 0.002, 0.005, 0.01, 0.03};
  static constexpr double kSlopes[] = {0, 0.003, 0.02};
  Random random(static_cast<std::uint64_t>(index) + 1000003u);
  CurveRecipe recipe;
  recipe.points = kPoints[random.below(std::size(kPoints))];
  if (index % 30 == 29) {
    recipe.points = index % 60 == 29 ? 192 : 384;
  }
  recipe.transitions = 1 + random.below(3);
  recipe.noise = kNoises[random.below(std::size(kNoises))];
  recipe.slopes = kSlopes[random.below(std::size(kSlopes))];
  recipe.falling = random.below(2) == 1;
  const std::uint64_t seed = random.next();
  GeneratedCurve curve = generateCurve(recipe, seed);
  curve.temperature = random.below(4) == 0 ? random.between(0, 100) : 25;
  const auto spot = static_cast<std::size_t>(random.below(recipe.points));
  const std::size_t neighbour = spot == 0 ? 1 : spot - 1;
  switch (random.below(12)) {
    case 0:
      curve.y[spot] = std::numeric_limits<double>::quiet_NaN();
      break;
    case 1:
      curve.x[spot] = curve.x[neighbour];
      break;
    case 2:  // a first concentration other than 0, and another unit of y
      for (std::size_t i = 0; i < curve.x.size(); ++i) {
        curve.x[i] += 0.37;
        curve.y[i] = 0.001 * curve.y[i] - 0.02;
      }
      break;
    default:
      break;
  }
  return curve;
}
