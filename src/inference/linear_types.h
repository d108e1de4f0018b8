// Small matrices of this library: sizes are known at run time, storage is on the stack.
#pragma once

#include <Eigen/Core>

#include "zolt_inference.h"

namespace zolt::inference {

inline constexpr int kMostReadings = ZOLTI_MOST_READINGS;
inline constexpr int kMostTransitions = ZOLTI_MOST_TRANSITIONS;

// Shape parameters of a curve: midpoint and steepness of every transition, weights but one.
inline constexpr int kMostShape = 3 * kMostTransitions - 1;
// Parameters that are searched at once, in any of the problems of this library.
inline constexpr int kMostSearched = kMostShape + 1;
inline constexpr int kBaselineParameters = 4;
inline constexpr int kMostParameters = kBaselineParameters + kMostShape;

template <int Most>
using SmallVector = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, Most, 1>;
template <int MostRows, int MostColumns>
using SmallMatrix =
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, MostRows, MostColumns>;

using Searched = SmallVector<kMostSearched>;
using SearchedMatrix = SmallMatrix<kMostSearched, kMostSearched>;
using PerReading = SmallVector<kMostReadings>;

// A sum of squares about a point: sse(at + d) is nearly sse - 2 slope'd + d'curvature d.
struct Expansion {
  SearchedMatrix curvature;
  Searched slope;
  double sse = 0.0;
};

}  // namespace zolt::inference
