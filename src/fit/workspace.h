// Storage of the fits of one call, allocated once and laid out anew by each fit.
#pragma once

#include <cassert>
#include <cstddef>
#include <memory>

namespace zolt {

// The most free parameters any fit has: three transitions with two weights and four baselines.
inline constexpr int kMostFree = 12;

// Doubles in one row of the largest damped system: its columns and the residual, padded.
inline constexpr int kWidestRow = 16;

// Owned by the call of an export and lent to one fit after the other, never to two at a time. A fit
// begins with reset() and then takes its arrays: those of its model, the fitted values, and those
// of its DampedSystem. The capacity is the sum of exactly these for the largest model and
// kMostFree parameters, and no array grows with fewer points or parameters, so that no fit to at
// most `points` points can ask for more; builds with assertions check each take().
class FitWorkspace {
 public:
  explicit FitWorkspace(int points);

  // The next `count` doubles, aligned for wide registers. Their values are undefined.
  double* take(int count) {
    double* taken = storage_.get() + used_;
    used_ += padded(count);
    assert(used_ <= capacity_);
    return taken;
  }
  void reset() { used_ = 0; }

  // What take(count) uses up.
  static constexpr std::size_t padded(int count) {
    return (static_cast<std::size_t>(count) + 7) / 8 * 8;
  }

 private:
  struct Free {
    void operator()(double* p) const;
  };

  std::size_t capacity_;  // doubles, and so used_
  std::unique_ptr<double[], Free> storage_;
  std::size_t used_ = 0;
};

}  // namespace zolt
