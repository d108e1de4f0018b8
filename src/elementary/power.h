// The power function, correctly rounded: the double nearest to x^y, ties to even, on every
// processor and by every compiler.
#pragma once

namespace zolt {

// x^y, with the results of IEEE 754 where an argument is 0, infinite, NaN or x is negative: x^0 and
// 1^y are 1 even for NaN; a negative x with a y that is not whole gives NaN.
double power(double x, double y);

// The same the slow way, on which power() falls back: for finite x > 0 and finite y other than 0.
double slowPower(double x, double y);

}  // namespace zolt
