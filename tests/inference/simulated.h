// Curves with known truth, written apart from the library, and calls in the shape tests want.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/values.h"
#include "zolt_inference.h"

namespace simulated {

inline constexpr double kRT = 298.15 * 1.9872;

struct Transition {
  double dG, Cm, weight;
};

struct Data {
  std::vector<double> x, y, sd;
  ZOLTI_Curve curve(double temperature = 25.0) const {
    return {
        x.data(), y.data(),   sd.empty() ? nullptr : sd.data(), static_cast<std::int32_t>(x.size()),
        0,        temperature};
  }
};

// Standard normal numbers: sums of twelve even ones, from a linear congruence.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) : state_(seed * 2654435761U + 12345) {}
  double even() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<double>(state_ >> 11) * 0x1p-53;
  }
  double normal() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) {
      sum += even();
    }
    return sum;
  }

 private:
  std::uint64_t state_;
};

inline double signalAt(const std::vector<Transition>& transitions, double x) {
  double denatured = 0.0;
  for (const Transition& t : transitions) {
    denatured += t.weight / (1.0 + std::exp(t.dG * (1.0 - x / t.Cm) / kRT));
  }
  return (0.1 + 0.004 * x) * (1.0 - denatured) + (1.0 - 0.003 * x) * denatured;
}

inline Data sample(const std::vector<Transition>& transitions, int n, double sigma,
                   std::uint64_t seed = 1, double reach = 8.0) {
  Data data;
  Noise noise(seed);
  for (int i = 0; i < n; ++i) {
    data.x.push_back(reach * i / (n - 1));
    data.y.push_back(signalAt(transitions, data.x.back()) + sigma * noise.normal());
  }
  return data;
}

// A curve without a transition: value(u) for u from 0 to 1, with noise.
template <class Function>
Data plain(Function&& value, int n, double sigma, std::uint64_t seed) {
  Data data;
  Noise noise(seed);
  for (int i = 0; i < n; ++i) {
    data.x.push_back(8.0 * i / (n - 1));
    data.y.push_back(value(data.x.back() / 8.0) + sigma * noise.normal());
  }
  return data;
}

inline const std::vector<Transition> kOne = {{5546.0, 3.867, 1.0}};
inline const std::vector<Transition> kTwo = {{5000.0, 2.2, 0.5}, {13000.0, 5.6, 0.5}};
inline const std::vector<Transition> kThree = {
    {4000.0, 1.6, 0.35}, {11000.0, 4.2, 0.3}, {20000.0, 6.7, 0.35}};

inline ZOLTI_Options usual() {
  ZOLTI_Options options;
  ZOLTI_options(&options);
  return options;
}

inline ZOLTI_Fit fit(const Data& data, int transitions = 1,
                     const ZOLTI_Options& options = usual()) {
  const ZOLTI_Curve curve = data.curve();
  ZOLTI_Fit record;
  EXPECT_EQ(ZOLTI_fit(&curve, transitions, &options, &record, nullptr, nullptr), record.status);
  return record;
}

struct Decided {
  ZOLTI_Fit fit;
  ZOLTI_Evidence evidence;
  std::string sentence;
};

inline Decided decide(const Data& data, int mostStates = 4,
                      const ZOLTI_Options& options = usual()) {
  const ZOLTI_Curve curve = data.curve();
  Decided decided;
  ZOLTI_decide(&curve, mostStates, &options, &decided.evidence, &decided.fit, nullptr, nullptr);
  char buffer[ZOLTI_SENTENCE_LENGTH];
  ZOLTI_evidence_sentence(&decided.evidence, buffer, sizeof buffer);
  decided.sentence = buffer;
  return decided;
}

}  // namespace simulated
