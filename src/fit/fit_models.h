// The models as the solver sees them: values at given parameters, and the difference quotient of
// the values when one parameter moves.
//
// Both kinds of model are a weighted sum of terms, and each term rests on one exponential a point.
// What evaluate() computed for its parameters is kept, so that a moved parameter costs no more than
// what depends on it: an energy, midpoint, centre or width its own exponentials, all others none.
#pragma once

#include <array>

#include "fit/unfolding_model.h"
#include "fit/workspace.h"

namespace zolt {

template <int Transitions>
struct UnfoldingModel {
  static constexpr int kParameters = ParameterOrder<Transitions>::count;

  Row x;
  double* native;  // both baselines
  double* denatured;
  std::array<double*, Transitions> distance;  // 1 - x/Cm
  std::array<double*, Transitions> K;
  std::array<double*, Transitions> signal;
  double* movedK;  // the same of a moved parameter
  double* movedLine;
  std::array<double*, Transitions> movedSignal;

  UnfoldingModel(Row points, FitWorkspace& workspace);
};

// A sum of Gaussian peaks a exp(-((x - c)^2 / (2 w^2))), parameters a, c, w of each in turn.
template <int Peaks>
struct GaussianModel {
  static constexpr int kParameters = 3 * Peaks;

  Row x;
  std::array<double*, Peaks> bell;
  double* movedBell;

  GaussianModel(Row points, FitWorkspace& workspace);
};

using model2State = UnfoldingModel<1>;
using model3State = UnfoldingModel<2>;
using model4State = UnfoldingModel<3>;
using modelGauss1 = GaussianModel<1>;
using modelGauss2 = GaussianModel<2>;
using modelGauss3 = GaussianModel<3>;

// Fills `values` with the model at the full parameter vector `p` and keeps what it is made of.
template <int Transitions>
void evaluate(UnfoldingModel<Transitions>& model, const double* p, double* values);
template <int Peaks>
void evaluate(GaussianModel<Peaks>& model, const double* p, double* values);

// Fills `column` with (values with parameter `moved` at `value` - `base`) / `increment`, the other
// parameters being those of the last evaluate().
template <int Transitions>
void differenceQuotient(UnfoldingModel<Transitions>& model, const double* p, int moved,
                        double value, const double* base, double increment, double* column);
template <int Peaks>
void differenceQuotient(GaussianModel<Peaks>& model, const double* p, int moved, double value,
                        const double* base, double increment, double* column);

}  // namespace zolt
