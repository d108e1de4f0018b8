// Searches from all starts, the best kept.
#include "inference/least_squares.h"

#include <cmath>

namespace zolt::inference {
namespace {

// Two points of the search are the same within these parts of what a parameter changes.
constexpr double kSame = 0.05;
// A sum of squares that is no larger than the least by this share is the least.
constexpr double kSameSse = 1e-7;

bool same(const Searched& a, const Searched& b, const Searched& scale) {
  return ((a - b).array().abs() <= kSame * scale.array()).all();
}

}  // namespace

Solution leastFrom(const Setup& setup, int transitions, const Starts& starts) {
  const ShapeMap map = setup.map(transitions);
  Separable separable(setup.readings, setup.baselines);
  const CurveModel model{separable, map};
  Solution solution;
  solution.starts = starts.count;
  Minimum best;
  int agreeing = 0;
  for (int i = 0; i < starts.count; ++i) {
    const auto known = [&](const Searched& at) {
      return solution.found && best.converged && same(at, best.at, map.scale());
    };
    const Minimum next = minimise(model, map.searchedFrom(starts.shape[i]), map.lower(),
                                  map.upper(), map.scale(), SearchLimits{}, known);
    if (!std::isfinite(next.sse)) {
      continue;
    }
    if (known(next.at)) {
      ++agreeing;
      continue;
    }
    if (!solution.found || next.sse < best.sse * (1.0 - kSameSse)) {
      best = next;
      agreeing = 1;
      solution.found = true;
    }
  }
  if (solution.found) {
    solution.converged = best.converged;
    solution.shape = map.shapeAt(best.at);
    if (setup.nothingHeld()) {
      solution.shape.sort();
    }
    solution.sse = best.sse;
    solution.iterations = best.iterations;
    solution.agreeing = agreeing;
  }
  return solution;
}

Solution leastNear(const Setup& setup, const Shape& shape) {
  Starts starts;
  starts.add(shape);
  return leastFrom(setup, shape.transitions, starts);
}

Solution leastSquares(const ZOLTI_Curve& curve, const Setup& setup, int transitions,
                      Analysis analysis, const Shape* single) {
  Starts starts;
  EngineVector engine{};
  Shape shape;
  if (setup.engine) {
    engine = askEngine(curve, setup.readings, transitions, analysis);
    if (shapeOf(engine, setup.readings, transitions, shape)) {
      starts.add(shape);
    }
  }
  if (transitions == 1) {
    addSingleStarts(setup, starts);
  } else {
    Shape middle;
    middle.c[0] = 0.5;
    middle.logS[0] = std::log(10.0);
    addSeveralStarts(setup, transitions, single == nullptr ? middle : *single, starts);
  }
  Solution solution = leastFrom(setup, transitions, starts);
  solution.engine = engine;
  return solution;
}

}  // namespace zolt::inference
