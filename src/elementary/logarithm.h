// The natural logarithm, correctly rounded: the double nearest to ln x, on every processor and by
// every compiler.
#pragma once

namespace zolt {

// ln x. For 0 negative infinity, for what is below 0 NaN.
double logarithm(double x);

// The same the slow way, on which logarithm() falls back: for finite x > 0 only.
double slowLogarithm(double x);

}  // namespace zolt
