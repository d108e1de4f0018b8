// Profiles of the sum of squares: how it grows as one quantity is moved away from its optimum.
#pragma once

#include "inference/uncertainty.h"

namespace zolt::inference {

enum class Quantity { dG, Cm, m };
inline constexpr Quantity kQuantities[] = {Quantity::dG, Quantity::Cm, Quantity::m};

struct Interval {
  double lower = 0.0, upper = 0.0;
};

double estimateOf(const Setup& setup, const Shape& shape, Quantity quantity, int transition);
double varianceOf(const SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS>& covariance,
                  const Setup& setup, const Shape& shape, Quantity quantity, int transition);

// Adds a value to what is held of a transition. False where that fixes the quantity already, or
// where no curve can have it.
bool hold(Held& held, Quantity quantity, double value);
bool isHeld(const Held& held, Quantity quantity);

// The least and the largest value that the bounds leave to a quantity.
Interval rangeOf(const Setup& setup, Quantity quantity);

// How much wider than by the model's errors an interval has to be for unequal scatter.
double widening(const Setup& setup, const Shape& shape, const Uncertainty& uncertainty,
                Quantity quantity, int transition);

// `shared` is what other curves say, or null.
Interval profile(const Setup& setup, const Solution& solution, const Uncertainty& uncertainty,
                 Quantity quantity, int transition, double quantile,
                 const Shared* shared = nullptr);

}  // namespace zolt::inference
