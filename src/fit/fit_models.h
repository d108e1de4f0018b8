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

// An unfolding model on the concentrations of a curve (mol/l). Every array has one double a point;
// evaluate() fills them for its parameters, and differenceQuotient() reads them. A model belongs to
// one fit: its arrays lie in the fit's workspace, and nobody else may call with it meanwhile.
template <int Transitions>
struct UnfoldingModel {
  static constexpr int kParameters = ParameterOrder<Transitions>::count;
  static constexpr int kArrays = 3 + 3 * Transitions;  // in the workspace

  Row x;
  double* native;     // baseline of the native state, in units of the signal
  double* denatured;  // of the denatured one
  std::array<double*, Transitions> distance;  // 1 - x/Cm
  std::array<double*, Transitions> K;         // equilibrium constants
  std::array<double*, Transitions> signal;    // of each transition, not weighted
  double* movedK;                             // K of a transition with a moved parameter

  UnfoldingModel(Row points, FitWorkspace& workspace);
};

// A sum of Gaussian peaks a exp(-((x - c)^2 / (2 w^2))), parameters a, c, w of each in turn. To be
// used as an UnfoldingModel is.
template <int Peaks>
struct GaussianModel {
  static constexpr int kParameters = 3 * Peaks;
  static constexpr int kArrays = Peaks + 1;

  Row x;
  std::array<double*, Peaks> bell;  // each peak for a height of 1
  double* movedBell;                // a peak with a moved centre or width

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
