// Refits of the fitted curve with residuals drawn anew.
#pragma once

#include <cstdint>
#include <vector>

#include "inference/profile.h"

namespace zolt::inference {

// A generator of its own, so that a seed gives the same rounds everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next();
  int below(int count);  // evenly from 0 to count - 1

 private:
  std::uint64_t state_;
};

// The quantities of every round: nine numbers a round, dG, Cm and m of three transitions, NaN in a
// round without a sound fit. The answer is the number of sound rounds.
int bootstrap(const Setup& setup, const Solution& solution, const Uncertainty& uncertainty,
              int rounds, std::uint64_t seed, std::vector<double>& draws);

}  // namespace zolt::inference
