// The ResultVector of 24 doubles and its failure shapes.
#pragma once

#include <span>

#include "zolt_fitting_engine.h"

namespace zolt {

using ResultVector = std::span<double, ZOLTA_RESULT_LENGTH>;
using ConstResultVector = std::span<const double, ZOLTA_RESULT_LENGTH>;

inline ResultVector resultView(double* result) { return ResultVector(result, ZOLTA_RESULT_LENGTH); }
inline ConstResultVector resultView(const double* result) {
  return ConstResultVector(result, ZOLTA_RESULT_LENGTH);
}

// Gas constant in cal/(mol K) and the offset of the Celsius scale.
inline constexpr double kGasConstant = 1.9872;
inline constexpr double kCelsiusZero = 273.15;

// Thermal energy in cal/mol at a temperature in degrees Celsius.
inline double thermalEnergy(double temperature) {
  return (temperature + kCelsiusZero) * kGasConstant;
}

// Writes a vector without a fit: -1 in the parameter elements of a model with `transitions`
// transitions, in the thermal energy and in R-squared, and 0 elsewhere beside the code.
void writeFailure(int transitions, int code, ResultVector result);

}  // namespace zolt
