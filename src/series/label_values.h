// The fitted curves of a series reduced to one dG and one error per label.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "frame/curve.h"
#include "frame/result_vector.h"

namespace zolt {

// The elements of a vector that belong to one transition.
struct TransitionElements {
  int dG, error;
};

// The fitted curves, seen as one dG with its stored error and one include flag each.
struct FittedCurves {
  Row labels;
  Row results;
  std::span<const std::int32_t> include;
  TransitionElements transition;

  std::size_t count() const { return results.size() / ZOLTA_RESULT_LENGTH; }
  double dG(std::size_t c) const { return element(c, transition.dG); }
  double error(std::size_t c) const { return element(c, transition.error); }
  double element(std::size_t c, int e) const {
    return results[c * ZOLTA_RESULT_LENGTH + static_cast<std::size_t>(e)];
  }
};

// The ascending labels with a used curve, one dG and one error each.
struct LabelValues {
  std::vector<double> labels, dG, error;
};

// The error of a label from the positive dG of its curves and their mean.
using ErrorOfLabel = double (*)(const FittedCurves& curves, Row values, double dG);

// A single value has the stored error of its curve, several have their standard deviation.
double errorByScatter(const FittedCurves& curves, Row values, double dG);

// The mean of the stored errors. Values are traced to their curves by equality, excluded curves
// among them, and no more errors are collected than there are values.
double errorByMean(const FittedCurves& curves, Row values, double dG);

// One entry for each label with an included curve; dG is the mean of the positive ones, or 0.
// Labels of 0 or below stay out. A label that is not a number equals none, so it has no values.
LabelValues valuesPerLabel(const FittedCurves& curves, ErrorOfLabel errorOfLabel);

// A distinct label of the series, and whether any of its curves takes part.
struct LabelUse {
  double label;
  bool used;
};

// All labels, ascending, included or not. The flags of a label are added as they are.
std::vector<LabelUse> usePerLabel(const FittedCurves& curves);

}  // namespace zolt
