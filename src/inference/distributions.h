// Quantiles and tails of the distributions that tests and intervals need.
#pragma once

namespace zolt::inference {

// The two-sided quantile: |t| stays below it with probability `level`.
double studentQuantile(double level, double degrees);
double normalQuantile(double level);

// Probability of an F as large as this or larger; 1 where F is not above 0.
double fTail(double F, double degreesAbove, double degreesBelow);

}  // namespace zolt::inference
