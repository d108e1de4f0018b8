// Errors of the parameters at an optimum.
#pragma once

#include "inference/least_squares.h"

namespace zolt::inference {

using Covariance = SmallMatrix<kMostParameters, kMostParameters>;

// Parameters of a fit in the caller's units: aN, bN, aU, bU, Cm and m of every transition, w1, w2.
inline int placeOfCm(int transition) { return 4 + 2 * transition; }
inline int placeOfM(int transition) { return 5 + 2 * transition; }
inline int placeOfWeight(int which) { return 10 + which; }

struct Uncertainty {
  int freeParameters = 0;  // that the model has
  int rank = 0;            // of the columns that no bound holds
  int unbound = 0;         // their count
  double condition = 0.0;
  double degrees = 0.0;
  double variance = 0.0;    // of a reading of weight 1, scaled
  bool determined = false;  // full rank: the covariances hold
  // Over the parameters in the caller's units; rows of what is held or at a bound are 0.
  SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS> model, hc2, hc3;
  SmallMatrix<ZOLTI_PARAMETERS, kMostTransitions> byShared;  // derivatives by shared values
  PerReading residuals, leverage;                            // weighted residuals
  Coefficients coefficients{};
};

// The places at which a searched parameter lies at its bound.
std::array<bool, kMostSearched> atBounds(const ShapeMap& map, const Searched& at);

void assess(const Setup& setup, const Solution& solution, Uncertainty& result);

// The same for a curve of a global fit: the shared values are held in `setup`, and the answer tells
// besides how the parameters follow them. `variance` is that of a reading of weight 1.
void assessShared(const Setup& setup, const Solution& solution, int share, double variance,
                  Uncertainty& result);

// Variance of a combination of the parameters, and of dG = m Cm of a transition.
double varianceOfDG(const SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS>& covariance, double Cm,
                    double m, int transition);

}  // namespace zolt::inference
