// What the engine says to a curve, through its exported functions.
#pragma once

#include "inference/setup.h"

namespace zolt::inference {

using EngineVector = std::array<double, ZOLTI_ENGINE_LENGTH>;

enum class Analysis { full, light };  // light: the midpoint entries, at a tenth of the time

// The engine's answer to the readings in the caller's units. All elements are 0 where it cannot be
// asked, for it takes 8 readings and more (6 in the light form).
EngineVector askEngine(const ZOLTI_Curve& curve, const Readings& readings, int transitions,
                       Analysis analysis);

// The answer as a shape; false where it holds no fit with that many transitions.
bool shapeOf(const EngineVector& vector, const Readings& readings, int transitions, Shape& shape);

}  // namespace zolt::inference
