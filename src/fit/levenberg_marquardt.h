// The one nonlinear least-squares solver of the library.
#pragma once

#include <span>

#include "fit/fit_models.h"
#include "frame/curve.h"

namespace zolt {

// What a set of parameters leaves of a curve: the model's first value, and the sum of the squared
// residuals.
struct Misfit {
  double firstValue;
  double sse;
};

// Fits the parameters named by `free` (their places in `p`, ascending) of a model to `y` by damped
// Gauss-Newton steps, in place. The other parameters are held.
//
// Whether the outcome is any good is not reported: it is judged from the parameters, by what the
// fit leaves unexplained among others. A NaN in y, or in the model at the start, leaves `p` as it
// came. After a stall the last rejected trial
// stands, which then lies very close to the parameters before it.
template <class Model>
Misfit fitLM(Model& model, Row y, std::span<const int> free, double* p, FitWorkspace& workspace);

// The Jacobian by one-sided forward differences of relative step 6.0555e-6: one column a free
// parameter, `pitch` doubles apart, one double a point (signal per unit of the parameter). `values`
// are the model's at `p`, which evaluate() was last called with; `scratch` has one double a point.
template <class Model>
void jacobianFD(Model& model, std::span<const int> free, double* p, const double* values,
                double* columns, std::ptrdiff_t pitch, double* scratch);

}  // namespace zolt
