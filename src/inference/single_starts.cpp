// The grid of one transition.
#include <algorithm>
#include <cmath>

#include "inference/starts.h"

namespace zolt::inference {
namespace {

// Steepness levels of the grid and how many midpoints each takes; between neighbours the search
// finds its way by itself.
struct Level {
  double s;
  int midpoints;
};
constexpr Level kLevels[] = {{3.0, 6}, {8.0, 9}, {20.0, 16}, {60.0, 36}};
constexpr int kMostPoints = 6 + 9 + 16 + 36;
constexpr int kTaken = 4;
constexpr double kDependent = 1e-11;

struct GridPoint {
  double sse, c, s;
};

// Sums over the readings of weight, signal and powers of u, from which the sum of squares at a
// grid point follows without going through the readings for every baseline column.
class GridSums {
 public:
  explicit GridSums(const Setup& setup) : setup_(setup), r_(setup.readings) {
    by_.resize(r_.n, 5);
    by_.col(0) = r_.root.array().square();
    by_.col(1) = by_.col(0).array() * r_.u.array();
    by_.col(2) = by_.col(1).array() * r_.u.array();
    by_.col(3) = by_.col(0).array() * r_.y.array();
    by_.col(4) = by_.col(3).array() * r_.u.array();
    for (int i = 0; i < 5; ++i) {
      plain_[i] = by_.col(i).sum();
    }
    ySquared_ = by_.col(3).dot(r_.y);
  }

  void setSteepness(double s) {
    s_ = s;
    decay_ = (r_.u.array() * -s).exp();
  }

  double sseAt(double c) {
    F_ = (1.0 + decay_.array() * std::exp(s_ * c)).inverse();
    square_ = F_.array().square();
    std::array<double, 5> once;
    std::array<double, 3> twice;
    for (int i = 0; i < 5; ++i) {
      once[i] = by_.col(i).dot(F_);
    }
    for (int i = 0; i < 3; ++i) {
      twice[i] = by_.col(i).dot(square_);
    }
    // Products of the columns (1 - F), u (1 - F), F, u F and y.
    double product[5][5];
    for (int i = 0; i < 2; ++i) {
      for (int j = 0; j < 2; ++j) {
        product[i][j] = plain_[i + j] - 2.0 * once[i + j] + twice[i + j];
        product[i][2 + j] = product[2 + j][i] = once[i + j] - twice[i + j];
        product[2 + i][2 + j] = twice[i + j];
      }
      product[i][4] = product[4][i] = plain_[3 + i] - once[3 + i];
      product[2 + i][4] = product[4][2 + i] = once[3 + i];
    }
    product[4][4] = ySquared_;
    return eliminate(product);
  }

 private:
  // Takes given baselines out of the signal, fitted ones by elimination; leaves that of y.
  double eliminate(double product[5][5]) const {
    const Baseline* sides[] = {&setup_.baselines.native, &setup_.baselines.denatured};
    bool fitted[4];
    double given[4] = {};
    for (int side = 0; side < 2; ++side) {
      const Baseline& baseline = *sides[side];
      fitted[2 * side] = baseline.kind != ZOLTI_GIVEN;
      fitted[2 * side + 1] = baseline.kind == ZOLTI_LINE;
      if (baseline.kind == ZOLTI_GIVEN) {
        given[2 * side] = baseline.intercept;
        given[2 * side + 1] = baseline.slope;
      }
    }
    for (int k = 0; k < 4; ++k) {
      if (given[k] != 0.0) {
        const double g = given[k];
        product[4][4] += g * (g * product[k][k] - 2.0 * product[k][4]);
        for (int i = 0; i < 4; ++i) {
          product[i][4] -= g * product[i][k];
        }
      }
    }
    for (int k = 0; k < 4; ++k) {
      product[4][k] = product[k][4];
    }
    double diagonal[4];
    for (int k = 0; k < 4; ++k) {
      diagonal[k] = product[k][k];
    }
    for (int k = 0; k < 4; ++k) {
      if (!fitted[k] || !(product[k][k] > kDependent * diagonal[k])) {
        continue;
      }
      for (int i = k + 1; i < 5; ++i) {
        const double factor = product[i][k] / product[k][k];
        for (int j = k + 1; j < 5; ++j) {
          product[i][j] -= factor * product[k][j];
        }
      }
    }
    return product[4][4];
  }

  const Setup& setup_;
  const Readings& r_;
  SmallMatrix<kMostReadings, 5> by_;
  std::array<double, 5> plain_;
  double ySquared_, s_ = 1.0;
  PerReading decay_, F_, square_;
};

Shape singleShape(double c, double s) {
  Shape shape;
  shape.c[0] = c;
  shape.logS[0] = std::log(s);
  return shape;
}

// With values held the grid is walked through the map, which knows what they leave.
void addHeldStarts(const Setup& setup, Starts& starts) {
  const ShapeMap map = setup.map(1);
  Separable separable(setup.readings, setup.baselines);
  struct Candidate {
    double sse;
    Shape shape;
  };
  std::array<Candidate, kMostPoints> found;
  int count = 0;
  Expansion expansion;
  for (const Level& level : kLevels) {
    for (int i = 0; i < level.midpoints; i += 2) {
      const double c = (i + 0.5) / level.midpoints;
      const Shape shape = map.shapeAt(map.searchedFrom(singleShape(c, level.s)));
      if (separable.expand(shape, expansion)) {
        found[count++] = {expansion.sse, shape};
      }
    }
  }
  std::stable_sort(found.begin(), found.begin() + count,
                   [](const Candidate& a, const Candidate& b) { return a.sse < b.sse; });
  for (int i = 0; i < count && starts.count < kTaken; ++i) {
    starts.add(found[i].shape);
  }
}

}  // namespace

void addSingleStarts(const Setup& setup, Starts& starts) {
  const Held& held = setup.held[0];
  if (held.Cm || held.m || held.dG) {
    addHeldStarts(setup, starts);
    return;
  }
  GridSums sums(setup);
  std::array<GridPoint, kMostPoints> minima;
  int count = 0;
  for (const Level& level : kLevels) {
    if (std::log(level.s) > setup.bounds.mostLogS) {
      break;
    }
    sums.setSteepness(level.s);
    const double least = setup.bounds.leastC, step = (setup.bounds.mostC - least) / level.midpoints;
    std::array<double, 36> sse;
    for (int i = 0; i < level.midpoints; ++i) {
      sse[i] = sums.sseAt(least + (i + 0.5) * step);
    }
    for (int i = 0; i < level.midpoints; ++i) {
      const bool lowest =
          (i == 0 || sse[i] <= sse[i - 1]) && (i + 1 == level.midpoints || sse[i] < sse[i + 1]);
      if (lowest) {
        minima[count++] = {sse[i], least + (i + 0.5) * step, level.s};
      }
    }
  }
  std::stable_sort(minima.begin(), minima.begin() + count,
                   [](const GridPoint& a, const GridPoint& b) { return a.sse < b.sse; });
  for (int i = 0; i < std::min(count, kTaken); ++i) {
    starts.add(singleShape(minima[i].c, minima[i].s));
  }
}

}  // namespace zolt::inference
