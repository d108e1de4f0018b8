// Storage of the fits of one call, allocated once and laid out anew by each fit.
#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace zolt {

// The most free parameters any fit has: three transitions with two weights and four baselines.
inline constexpr int kMostFree = 12;

// Doubles in one row of the largest damped system: its columns and the residual, padded.
inline constexpr int kWidestRow = 16;

struct FitWorkspace {
  // Room for any fit of the library to at most `points` points.
  explicit FitWorkspace(int points)
      : capacity(kArraysPerFit * padded(static_cast<std::size_t>(points)) +
                 2 * kWidestRow * padded(static_cast<std::size_t>(points + kMostFree + 3)) +
                 static_cast<std::size_t>(points + kMostFree) + 8 * kWidestRow),
        storage(static_cast<double*>(
            ::operator new[](capacity * sizeof(double), std::align_val_t{kAlignment}))) {}

  // The next `count` doubles, aligned for wide registers. Their values are undefined.
  double* take(int count) {
    double* taken = storage.get() + used;
    used += padded(static_cast<std::size_t>(count));
    return taken;
  }
  void reset() { used = 0; }

 private:
  // Arrays of one double a point: the columns, 12 of the model and the fitted values.
  static constexpr std::size_t kArraysPerFit = kWidestRow + 13;
  static constexpr std::size_t kAlignment = 64;
  static constexpr std::size_t padded(std::size_t count) { return (count + 7) / 8 * 8; }

  struct Free {
    void operator()(double* p) const { ::operator delete[](p, std::align_val_t{kAlignment}); }
  };

  std::size_t capacity;
  std::unique_ptr<double[], Free> storage;
  std::size_t used = 0;
};

}  // namespace zolt
