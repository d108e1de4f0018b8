// A solution as the record that callers see.
#pragma once

#include "inference/uncertainty.h"

namespace zolt::inference {

// The empty record with a status, for everything that is no fit.
void clear(ZOLTI_Fit& fit, int status);

// Fills in the record; the answer is its status.
int fillFit(const Setup& setup, const Solution& solution, const Uncertainty& uncertainty,
            ZOLTI_Fit& fit);

// Residuals and leverages in the order of the caller's readings; either may be null.
void fillReadings(const ZOLTI_Curve& curve, const Setup& setup, const Uncertainty* uncertainty,
                  double* residual, double* leverage);

// The shape that a record holds.
Shape shapeOf(const ZOLTI_Fit& fit, const Readings& readings);

double durbinWatson(const PerReading& residuals);

// Akaike's criterion for small samples on signals of span 1; false without enough readings.
bool aicc(double scaledSse, int n, int parameters, double& value);

// Standard error from a variance, -1 where there is none.
inline double errorOf(double variance) { return variance > 0.0 ? std::sqrt(variance) : -1.0; }

}  // namespace zolt::inference
