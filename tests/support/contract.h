// What every call keeps, whatever its input: shapes and lengths, flags, which codes stand with a
// fit and which without, and what a vector without a fit holds.
#pragma once

#include <sstream>

#include "exports.h"

namespace contract {

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

inline bool allAre(const Vector& r, int first, int last, double value) {
  return std::all_of(r.begin() + first, r.begin() + last + 1,
                     [value](double element) { return element == value; });
}

// The vector without a fit, of a model.
inline Vector failure(int states, int code) {
  Vector r(ZOLTA_RESULT_LENGTH, 0.0);
  std::fill_n(r.begin(), 3 * states, -1.0);
  r[ZOLTA_RT] = r[ZOLTA_R_SQUARED] = -1.0;
  r[ZOLTA_FIT_CODE] = code;
  return r;
}

// Whether the elements of transitions that the model lacks are 0.
inline bool hasFitShape(const Vector& r, int states) {
  const bool noSecond = allAre(r, ZOLTA_DG2, ZOLTA_WEIGHT1, 0.0) && r[ZOLTA_DG2_WIDTH] == 0.0 &&
                        r[ZOLTA_K2_PPM] == 0.0;
  const bool noThird = allAre(r, ZOLTA_DG3, ZOLTA_WEIGHT2, 0.0) && r[ZOLTA_DG3_WIDTH] == 0.0 &&
                       r[ZOLTA_K3_PPM] == 0.0;
  return (states > 2 || noSecond) && (states > 3 || noThird) && allAre(r, 21, 23, 0.0);
}

inline bool isFitCode(int code, const Entry& entry, int states) {
  return entry.midpoint ? code == ZOLTA_CODE_MIDPOINT_FIT
                        : (code >= 2 && code <= 31) || (states == 4 && code >= 35 && code <= 71);
}

// A path's candidate without a dG of 0 or above leaves its code on a vector without a fit.
inline bool isFailureCode(int code, const Entry& entry, int states) {
  return code == 1 || code == 32 || isFitCode(code, entry, states) ||
         (entry.midpoint ? code == 36 : code == 34 || (code == 33 && states == 3));
}

inline std::string faultOfAnalysis(std::string_view name, const Arguments& a, const Vector& r) {
  const Entry entry(name);
  const std::size_t n = a.x.length();
  const int states = entry.statesFor(n);
  const double stored = r[ZOLTA_FIT_CODE];
  const bool sameLengths = n == a.y.length();
  const std::size_t fewest = entry.midpoint ? 6 : 8;
  const bool usable =
      sameLengths && n >= fewest && !(a.temperature < 0.0) && !(a.temperature > 100.0);
  if (!(stored >= 1.0 && stored <= 71.0 && stored == std::floor(stored))) {
    return "the code is not a whole number from 1 to 71";
  }
  const int code = static_cast<int>(stored);
  if ((code == ZOLTA_CODE_BAD_INPUT) == usable) {
    return "code 1 belongs to unusable input and to nothing else";
  }
  if (r[ZOLTA_RT] == -1.0) {
    // The first tests of an entry answer in a shape of their own.
    const bool firstTests = code == 1 || code == 32;
    const int shape = firstTests && entry.userBaselines           ? 2
                      : code == 1 && (!sameLengths || n < fewest) ? entry.states
                                                                  : states;
    return !isFailureCode(code, entry, states) ? "this code cannot stand without a fit"
           : r != failure(shape, code)         ? "not the failure shape"
                                               : "";
  }
  const double RT = (a.temperature + 273.15) * 1.9872;
  const double rSquared = r[ZOLTA_R_SQUARED];
  return !isFitCode(code, entry, states)        ? "this code cannot stand with a fit"
         : !hasFitShape(r, states)              ? "not the layout of the model"
         : r[ZOLTA_RT] != RT && !std::isnan(RT) ? "RT is not that of the temperature"
         : !(r[ZOLTA_DG1] >= 0.0)               ? "a fit with a dG below 0"
         : rSquared > 1.0                       ? "R-squared above 1"
         : rSquared < 0.0 && rSquared != -1.0   ? "R-squared below 0"
                                                : "";
}

inline std::size_t drawn(const Arguments& a) { return static_cast<std::size_t>(std::max(a.n, 0)); }

inline std::string faultOfTool(std::string_view name, const Arguments& a, const CallSite& site) {
  if (name.ends_with("ModelPicker")) {
    const std::int32_t states = site.whole(0)[0];
    return states < 2 || states > 4 ? "two, three or four states" : "";
  }
  if (!name.ends_with("FitCurve")) {
    return {};
  }
  const Vector x = site.real(0);
  if (x.size() != drawn(a) || site.real(1).size() != drawn(a)) {
    return "the length of a curve";
  }
  if (a.x.length() == 0 || x.empty()) {
    return {};
  }
  const double first = a.x.values.front();
  const double last = a.x.values[a.x.length() - 1];
  const bool toTheEnd = !name.ends_with("FirstDerivativeFitCurve");
  return !sameBits(x.front(), toTheEnd && x.size() == 1 ? last : first) ? "the first x of a curve"
         : toTheEnd && !sameBits(x.back(), last)                        ? "the last x of a curve"
                                                                        : "";
}

// One vector and one flag for each point of as many curves as the row holds, halves rounded up.
inline std::string faultOfPrimaryFit(const Arguments& a, const CallSite& site) {
  const double n = a.pointsPerCurve;
  const auto curves =
      static_cast<std::size_t>(n > 0 ? std::round(static_cast<double>(a.seriesX.size()) / n) : 0.0);
  const Vector results = site.real(0);
  if (results.size() != curves * ZOLTA_RESULT_LENGTH) {
    return "one vector for each curve";
  }
  if (site.count() > 1 &&
      site.whole(1).size() != curves * static_cast<std::size_t>(n > 0 ? n : 0)) {
    return "one flag for each point";
  }
  const int model = a.states == 3 || a.states == 4 ? a.states : 2;
  Vector none(ZOLTA_RESULT_LENGTH, 0.0);
  none[ZOLTA_RT] = -1.0;
  for (auto from = results.begin(); from != results.end(); from += ZOLTA_RESULT_LENGTH) {
    const Vector r(from, from + ZOLTA_RESULT_LENGTH);
    const bool shaped = r[ZOLTA_RT] == -1.0 ? r == failure(model, model) : hasFitShape(r, model);
    if (r != none && !(r[ZOLTA_FIT_CODE] == model && shaped)) {
      return "the code of a series is its number of states, the shape that of the model";
    }
  }
  return {};
}

inline std::string faultOfSeries(Family family, const Arguments& a, const CallSite& site) {
  const Vector x = site.real(0), y = site.real(1);
  if (family == Family::calculation) {
    const std::size_t count = x.size();
    const bool all =
        y.size() == count && site.real(2).size() == count && site.whole(3).size() == count;
    return all ? "" : "one dG, one error and one flag for each label";
  }
  const bool hasCurve = a.labels.length() >= 2 && a.n >= 1;
  return x.size() != (hasCurve ? drawn(a) : 1) || y.size() != x.size() ? "the length of a curve"
         : !hasCurve && (x[0] != 1.0 || y[0] != 1.0) ? "the point that stands for no curve"
                                                     : "";
}

inline std::string faultOfWrapper(const Arguments& a, const CallSite& site) {
  const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(a.n) *
                                                 static_cast<std::uint32_t>(a.pointsPerCurve));
  return site.whole(0) == Whole{a.n, a.pointsPerCurve, product, 2, 0, 0} ? "" : "the record";
}

// What all rows with a size pair, and all flags, keep.
inline std::string faultOfRows(const Export& entry, const CallSite& site) {
  for (std::size_t k = 0; k < site.count(); ++k) {
    if (site.holds(k) == CallSite::Holds::sizePair) {
      const bool real = site.holds(k - 1) == CallSite::Holds::doubles;
      const std::size_t length = real ? site.real(k - 1).size() : site.whole(k - 1).size();
      if (site.whole(k) != Whole{1, static_cast<std::int32_t>(length)}) {
        return "the size pair of a row";
      }
    }
    const bool flags = site.holds(k) == CallSite::Holds::integers &&
                       entry.family != Family::records && !entry.name.ends_with("ModelPicker");
    const Whole row = flags ? site.whole(k) : Whole{};
    if (std::any_of(row.begin(), row.end(), [](std::int32_t flag) { return flag >> 1 != 0; })) {
      return "a flag is 0 or 1";
    }
  }
  return {};
}

// Calls an export twice and tells what it broke; empty if nothing.
inline std::string faultOf(const Export& entry, const Arguments& a, Placement placement) {
  CallSite site(placement, 0x5A);
  std::string fault = faultOfTwoCalls(entry, a, placement, site);
  if (!fault.empty() || !(fault = faultOfRows(entry, site)).empty()) {
    return std::string(entry.name) + ": " + fault;
  }
  std::ostringstream context;
  switch (entry.family) {
    case Family::records:
      fault = faultOfWrapper(a, site);
      break;
    case Family::analysis: {
      const Vector r = site.real(0);
      fault = faultOfAnalysis(entry.name, a, r);
      context << "; n " << a.x.length() << ", code " << r[ZOLTA_FIT_CODE] << ", RT " << r[ZOLTA_RT]
              << ", R-squared " << r[ZOLTA_R_SQUARED];
      break;
    }
    case Family::curveTools:
      fault = faultOfTool(entry.name, a, site);
      break;
    case Family::primaryFit:
      fault = faultOfPrimaryFit(a, site);
      break;
    case Family::calculation:
    case Family::seriesCurves:
      fault = faultOfSeries(entry.family, a, site);
      break;
    case Family::auxiliary:
      if (entry.name.starts_with("ZOLTA_mfit") && site.real(2).size() != drawn(a)) {
        fault = "the length of a grid";
      }
      break;
  }
  return fault.empty() ? fault : std::string(entry.name) + ": " + fault + context.str();
}

}  // namespace contract
