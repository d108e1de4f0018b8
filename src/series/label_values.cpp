#include "series/label_values.h"

#include <algorithm>

#include "frame/scalar_kit.h"
#include "frame/sorting.h"

namespace zolt {
namespace {

struct LabelledEnergy {
  double label, dG;
};

// The included curves in ascending order of their labels.
std::vector<LabelledEnergy> includedCurves(const FittedCurves& curves) {
  std::vector<double> labels;
  std::vector<double> dG;
  for (std::size_t c = 0; c < curves.count(); ++c) {
    if (curves.include[c] == 1) {
      labels.push_back(curves.labels[c]);
      dG.push_back(curves.dG(c));
    }
  }
  std::vector<int> places(labels.size());
  sortAscending(labels, places);
  std::vector<LabelledEnergy> included;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    included.push_back({labels[i], dG[static_cast<std::size_t>(places[i])]});
  }
  return included;
}

}  // namespace

double errorByScatter(const FittedCurves& curves, Row values, double dG) {
  if (values.size() != 1) {
    return sampleStdDev(values);
  }
  double error = 0.0;
  for (std::size_t c = 0; c < curves.count(); ++c) {
    if (curves.dG(c) == dG) {
      error = curves.error(c);
    }
  }
  return error;
}

double errorByMean(const FittedCurves& curves, Row values, double) {
  double sum = 0.0;
  std::size_t collected = 0;
  for (std::size_t c = 0; c < curves.count(); ++c) {
    for (double value : values) {
      if (value == curves.dG(c) && collected < values.size()) {
        sum += curves.error(c);
        ++collected;
      }
    }
  }
  const double mean = sum / static_cast<double>(values.size());
  return values.empty() || mean <= 0.0 ? 0.0 : mean;
}

LabelValues valuesPerLabel(const FittedCurves& curves, ErrorOfLabel errorOfLabel) {
  const std::vector<LabelledEnergy> included = includedCurves(curves);
  auto next = std::find_if(included.rbegin(), included.rend(), [](const LabelledEnergy& curve) {
                return curve.label <= 0.0;
              }).base();
  LabelValues out;
  while (next != included.end()) {
    const double label = next->label;
    std::vector<double> values;
    double sum = 0.0;
    do {
      if (next->label == label && next->dG > 0.0) {
        values.push_back(next->dG);
        sum += next->dG;
      }
      ++next;
    } while (next != included.end() && next->label == label);
    const double dG = values.empty() ? 0.0 : sum / static_cast<double>(values.size());
    out.labels.push_back(label);
    out.dG.push_back(dG);
    out.error.push_back(errorOfLabel(curves, values, dG));
  }
  return out;
}

std::vector<LabelUse> usePerLabel(const FittedCurves& curves) {
  std::vector<double> labels(curves.labels.begin(), curves.labels.end());
  std::vector<int> places(labels.size());
  sortAscending(labels, places);
  std::vector<LabelUse> uses;
  for (std::size_t i = 0; i < labels.size();) {
    const double label = labels[i];
    std::int64_t sum = 0;
    do {
      sum += curves.include[static_cast<std::size_t>(places[i])];
      ++i;
    } while (i < labels.size() && labels[i] == label);
    uses.push_back({label, sum != 0});
  }
  return uses;
}

}  // namespace zolt
