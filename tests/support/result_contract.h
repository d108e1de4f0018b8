// What every result vector of an analysis keeps, whatever the input: which model's layout, which
// codes with a fit and which without, and what stands where no fit is.
#pragma once

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

#include "every_export.h"

namespace result_contract {

// What an analysis entry may answer for a curve of n points.
struct Entry {
  int states;  // asked for
  bool midpoint, userBaselines;

  explicit Entry(std::string_view name)
      : states(name[6] - '0'),
        midpoint(name.ends_with("_chalf")),
        userBaselines(name.ends_with("_user_set_baselines")) {}

  // Short curves are handed to smaller models, whose vector then stands.
  int statesFor(std::size_t n) const {
    const std::size_t fewestOfThree = midpoint ? 10 : 18;
    const std::size_t fewestOfFour = midpoint ? 14 : 24;
    return n < fewestOfThree ? 2 : n < fewestOfFour ? std::min(states, 3) : states;
  }
};

inline bool allAre(const std::vector<double>& r, int first, int last, double value) {
  for (int k = first; k <= last; ++k) {
    if (r[static_cast<std::size_t>(k)] != value) {
      return false;
    }
  }
  return true;
}

// Whether -1 and 0 stand where a vector without a fit has them.
inline bool hasFailureShape(const std::vector<double>& r, int states) {
  const int lastParameter = states == 2 ? ZOLTA_CM1 : states == 3 ? ZOLTA_WEIGHT1 : ZOLTA_WEIGHT2;
  return allAre(r, 0, lastParameter, -1.0) && allAre(r, lastParameter + 1, ZOLTA_WEIGHT2, 0.0) &&
         r[ZOLTA_RT] == -1.0 && r[ZOLTA_R_SQUARED] == -1.0 &&
         allAre(r, ZOLTA_DG1_WIDTH, ZOLTA_RESULT_LENGTH - 1, 0.0);
}

// Whether the elements of transitions that the model lacks are 0.
inline bool hasFitShape(const std::vector<double>& r, int states) {
  const bool noSecond = allAre(r, ZOLTA_DG2, ZOLTA_WEIGHT1, 0.0) && r[ZOLTA_DG2_WIDTH] == 0.0 &&
                        r[ZOLTA_K2_PPM] == 0.0;
  const bool noThird = allAre(r, ZOLTA_DG3, ZOLTA_WEIGHT2, 0.0) && r[ZOLTA_DG3_WIDTH] == 0.0 &&
                       r[ZOLTA_K3_PPM] == 0.0;
  return (states > 2 || noSecond) && (states > 3 || noThird) && allAre(r, 21, 23, 0.0);
}

inline bool isFitCode(int code, const Entry& entry, int states) {
  if (entry.midpoint) {
    return code == ZOLTA_CODE_MIDPOINT_FIT;
  }
  return (code >= 2 && code <= 31) || (states == 4 && code >= 35 && code <= 71);
}

inline bool isFailureCode(int code, const Entry& entry, int states) {
  if (entry.midpoint) {
    return code == 1 || code == 32 || code == 35 || code == 36;
  }
  // A path's candidate without a dG of 0 or above leaves its code on a vector without a fit.
  return code == 1 || code == 32 || code == 34 || (code == 33 && states == 3) ||
         isFitCode(code, entry, states);
}

// Empty if the vector keeps the contract, else what it breaks.
inline std::string faultOf(std::string_view name, const Arguments& a,
                           const std::vector<double>& r) {
  const Entry entry(name);
  const std::size_t n = a.x.length();
  const int states = entry.statesFor(n);
  const double stored = r[ZOLTA_FIT_CODE];
  const bool sameLengths = n == a.y.length();
  const std::size_t fewest = entry.midpoint ? 6 : 8;
  const bool usable =
      sameLengths && n >= fewest && !(a.temperature < 0.0) && !(a.temperature > 100.0);

  std::ostringstream fault;
  const auto breaks = [&](const char* rule) {
    fault << name << ": " << rule << "; n " << n << ", element 13 " << stored << ", RT "
          << r[ZOLTA_RT] << ", R-squared " << r[ZOLTA_R_SQUARED];
    return fault.str();
  };
  if (!(stored >= 1.0 && stored <= 71.0 && stored == std::floor(stored))) {
    return breaks("the code is not a whole number from 1 to 71");
  }
  const int code = static_cast<int>(stored);
  if ((code == ZOLTA_CODE_BAD_INPUT) == usable) {
    return breaks("code 1 belongs to unusable input and to nothing else");
  }
  if (r[ZOLTA_RT] == -1.0) {
    // The first tests of an entry answer in a shape of their own.
    const bool firstTests = code == 1 || code == 32;
    const int shape = firstTests && entry.userBaselines           ? 2
                      : code == 1 && (!sameLengths || n < fewest) ? entry.states
                                                                  : states;
    if (!isFailureCode(code, entry, states)) {
      return breaks("this code cannot stand without a fit");
    }
    return hasFailureShape(r, shape) ? std::string() : breaks("not the failure shape");
  }
  if (!isFitCode(code, entry, states)) {
    return breaks("this code cannot stand with a fit");
  }
  if (!hasFitShape(r, states)) {
    return breaks("not the layout of the model");
  }
  const double RT = (a.temperature + 273.15) * 1.9872;
  if (r[ZOLTA_RT] != RT && !std::isnan(RT)) {
    return breaks("RT is not that of the temperature");
  }
  if (!(r[ZOLTA_DG1] >= 0.0)) {
    return breaks("a fit with a dG below 0");
  }
  if (r[ZOLTA_R_SQUARED] > 1.0 || (r[ZOLTA_R_SQUARED] < 0.0 && r[ZOLTA_R_SQUARED] != -1.0)) {
    return breaks("R-squared out of range");
  }
  return {};
}

}  // namespace result_contract
