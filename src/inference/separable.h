// The separable least-squares problem of one curve: baselines eliminated, shape searched.
#pragma once

#include "inference/shape.h"

namespace zolt::inference {

// One baseline over scaled concentrations and signals.
struct Baseline {
  int kind = ZOLTI_LINE;
  double intercept = 0.0, slope = 0.0;  // where given
};

struct Baselines {
  Baseline native, denatured;
  int freeCount() const {
    return 4 - 2 * (native.kind == ZOLTI_GIVEN) - (native.kind == ZOLTI_FLAT) -
           2 * (denatured.kind == ZOLTI_GIVEN) - (denatured.kind == ZOLTI_FLAT);
  }
};

using Coefficients = std::array<double, kBaselineParameters>;  // aN, bN, aU, bU, scaled

// For a given shape the signal (aN + bN u)(1 - G) + (aU + bU u) G is linear in the baselines. They
// are eliminated by orthogonal reflections, and the derivatives by the shape are taken on what the
// reflections leave (variable projection with Kaufman's derivative):
//   G. Golub, V. Pereyra, SIAM J. Numer. Anal. 10 (1973) 413; L. Kaufman, BIT 15 (1975) 49.
class Separable {
 public:
  Separable(const Readings& readings, const Baselines& baselines)
      : readings_(&readings), baselines_(baselines) {}

  const Readings& readings() const { return *readings_; }
  const Baselines& baselines() const { return baselines_; }

  // Sum of squares over the baselines at a shape, and its expansion over the shape parameters.
  // The answer is false where the numbers are not finite.
  bool expand(const Shape& shape, Expansion& expansion);

  // What belongs to the shape of the last call of `expand`.
  const Coefficients& coefficients() const { return coefficients_; }
  int linearCount() const { return linearCount_; }  // of the free baseline parameters
  const std::array<int, kBaselineParameters>& which() const { return which_; }

  // Derivatives of the weighted fitted signal by the free baseline parameters, then by the shape.
  // The columns belong to the shape of the last call of `expand`.
  SmallMatrix<kMostReadings, kMostParameters> jacobian(const Shape& shape);

  // Weighted residuals at the shape of the last call of `expand`.
  PerReading residuals() const;

 private:
  void fractions(const Shape& shape);
  void fillLinear(int shapeColumns);
  void fillShape(const Shape& shape);
  void reduceLinear();
  void solveLinear();
  template <class Column>
  void reflect(Column&& column) const;

  const Readings* readings_;
  Baselines baselines_;
  Coefficients coefficients_{};
  int linearCount_ = 0, linearRank_ = 0;
  std::array<int, kBaselineParameters> which_{};  // baseline parameter of a column
  struct Reflection {
    int column = 0;
    double tau = 0.0, diagonal = 0.0;
  };
  std::array<Reflection, kBaselineParameters> reflections_;
  SmallMatrix<kMostReadings, kMostTransitions> F_;  // per transition
  PerReading G_, target_, work_;
  SmallMatrix<kMostReadings, kMostParameters> columns_;
};

}  // namespace zolt::inference
