// How the shapes of curves follow from values that they share.
#pragma once

#include "inference/setup.h"

namespace zolt::inference {

// Shared values are searched as log m, or as dG over this energy, which makes them numbers of
// ordinary size.
inline constexpr double kEnergy = 298.15 * 1.9872;  // cal/mol

double toCallers(int share, double value);
double fromCallers(int share, double value);

// Holds the shared values in a curve.
void holdShared(int share, const Searched& values, int transitions,
                std::array<Held, kMostTransitions>& held);

// How the shape moves with the shared values while what else is free stays.
SmallMatrix<kMostShape, kMostTransitions> directionOfShared(const Setup& setup, const Shape& shape,
                                                            int share);

}  // namespace zolt::inference
