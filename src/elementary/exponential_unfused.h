// The exponential by plain sums and products, for processors that cannot fuse them. The same bits
// as exponential() and exponentials() on any other.
#pragma once

namespace zolt::unfused {

double exponential(double x);
void exponentials(double* values, int n);

}  // namespace zolt::unfused
