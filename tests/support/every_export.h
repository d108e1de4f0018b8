// The 34 exports as one table: each row calls its export with what it needs of one record of
// arguments.
#pragma once

#include <string>
#include <string_view>

#include "call_site.h"

struct Arguments {
  Array x, y;      // a curve; abscissae and ordinates of the small fits
  Array scale;     // factors of the m-value fits, first signal of the pH equation
  Array labels;    // of a series
  Flags userMask;  // of the points of a series
  Flags include;   // of the curves of a series
  std::vector<double> baselines = std::vector<double>(4);
  std::vector<double> result = std::vector<double>(ZOLTA_RESULT_LENGTH);
  std::vector<double> trend = std::vector<double>(4);
  std::vector<double> seriesX, seriesY;  // curves end to end
  std::vector<double> seriesResults;     // vectors end to end
  double temperature = 25.0;
  double reference = 1.0, value = 1.0;  // of the normalisation
  double width = 3.0;                   // of the smoothing
  std::int32_t n = 20;                  // points wanted
  std::int32_t pointsPerCurve = 20;
  std::int32_t states = 2;
  std::int32_t transition = 1;
};

using CallExport = void (*)(const Arguments&, CallSite&);

enum class Family {
  records,
  analysis,
  curveTools,
  primaryFit,
  calculation,
  seriesCurves,
  auxiliary
};

struct Export {
  std::string_view name;
  Family family;
  CallExport call;
};

namespace every_export {

// Only what stands in a wrapper is told; its two blocks are freed at once.
template <class Record>
void tellWrapper(Record* record, CallSite& site) {
  std::int32_t* told = site.out<std::int32_t>(6);
  told[0] = record->size[0];
  told[1] = record->size[1];
  told[2] = record->allocatedSize;
  told[3] = record->numDimensions;
  told[4] = record->canFreeData ? 1 : 0;
  told[5] = record->data == nullptr ? 0 : 1;
  std::free(record->size);
  std::free(record);
}

inline void makeRealWrapper(const Arguments& a, CallSite& site) {
  tellWrapper(ZOLTA_emxCreateWrapper_real_T(nullptr, a.n, a.pointsPerCurve), site);
}

inline void makeIntWrapper(const Arguments& a, CallSite& site) {
  tellWrapper(ZOLTA_emxCreateWrapper_int32_T(nullptr, a.n, a.pointsPerCurve), site);
}

template <auto Analyse>
void analyse(const Arguments& a, CallSite& site) {
  Analyse(site.in(a.x), site.size(a.x), site.in(a.y), site.size(a.y), a.temperature,
          site.out<double>(ZOLTA_RESULT_LENGTH));
}

template <auto Analyse>
void analyseOnBaselines(const Arguments& a, CallSite& site) {
  Analyse(site.in(a.x), site.size(a.x), site.in(a.y), site.size(a.y), site.in(a.baselines),
          a.temperature, site.out<double>(ZOLTA_RESULT_LENGTH));
}

template <auto Draw>
void drawFit(const Arguments& a, CallSite& site) {
  auto* xFit = site.realRecord();
  auto* yFit = site.realRecord();
  Draw(site.in(a.x), site.size(a.x), site.in(a.result), a.n, xFit, yFit);
}

inline void pickModel(const Arguments& a, CallSite& site) {
  *site.out<std::int32_t>(1) = ZOLTA_ChemDenatModelPicker(site.in(a.y), site.size(a.y));
}

inline void killSpikes(const Arguments& a, CallSite& site) {
  auto* mask = site.out<std::int32_t>(a.y.length());
  auto* maskSize = site.outSize();
  ZOLTA_ChemDenatKillSpikes(site.in(a.y), site.size(a.y), mask, maskSize);
}

inline void removeOutliers(const Arguments& a, CallSite& site) {
  auto* mask = site.out<std::int32_t>(a.x.length());
  auto* maskSize = site.outSize();
  ZOLTA_ChemDenatOutlierRemoval(site.in(a.x), site.size(a.x), site.in(a.y), site.size(a.y),
                                site.in(a.result), mask, maskSize);
}

template <auto Fit>
void fitSeries(const Arguments& a, CallSite& site) {
  auto* results = site.realRecord();
  auto* mask = site.intRecord();
  Fit(a.pointsPerCurve, site.inRecord(a.seriesX), site.inRecord(a.seriesY), site.in(a.labels),
      site.size(a.labels), a.states, a.temperature, results, mask);
}

template <auto Fit>
void fitMaskedSeries(const Arguments& a, CallSite& site) {
  auto* results = site.realRecord();
  Fit(a.pointsPerCurve, site.inRecord(a.seriesX), site.inRecord(a.seriesY), site.in(a.labels),
      site.size(a.labels), site.in(a.userMask), site.size(a.userMask), a.states, a.temperature,
      results);
}

template <auto Calculate>
void calculate(const Arguments& a, CallSite& site) {
  auto* labels = site.realRecord();
  auto* dG = site.realRecord();
  auto* error = site.realRecord();
  auto* used = site.intRecord();
  auto* trend = site.out<double>(4);
  Calculate(site.in(a.labels), site.size(a.labels), site.inRecord(a.seriesResults),
            site.in(a.include), site.size(a.include), a.transition, labels, dG, error, used, trend);
}

template <auto Draw>
void drawTrend(const Arguments& a, CallSite& site) {
  auto* x = site.realRecord();
  auto* y = site.realRecord();
  Draw(site.in(a.labels), site.size(a.labels), site.in(a.trend), a.n, x, y);
}

template <auto Draw>
void drawFraction(const Arguments& a, CallSite& site) {
  auto* x = site.realRecord();
  auto* y = site.realRecord();
  Draw(site.in(a.labels), site.size(a.labels), site.in(a.trend), a.n, a.temperature, x, y);
}

inline void normalise(const Arguments& a, CallSite& site) {
  auto* out = site.out<double>(a.y.length());
  auto* outSize = site.outSize();
  ZOLTA_dGtrend_normalization(site.in(a.y), site.size(a.y), a.reference, a.value, out, outSize);
}

template <auto Fit>
void fitMValues(const Arguments& a, CallSite& site) {
  auto* fitted = site.out<double>(a.x.length());
  auto* fittedSize = site.outSize();
  auto* xGrid = site.realRecord();
  auto* yGrid = site.realRecord();
  Fit(site.in(a.x), site.size(a.x), site.in(a.y), site.size(a.y), site.in(a.scale),
      site.size(a.scale), a.n, fitted, fittedSize, xGrid, yGrid);
}

inline void calibratePH(const Arguments& a, CallSite& site) {
  ZOLTA_pHequation(site.in(a.scale), site.size(a.scale), site.in(a.y), site.size(a.y), site.in(a.x),
                   site.size(a.x), site.out<double>(5));
}

inline void smooth(const Arguments& a, CallSite& site) {
  auto* out = site.out<double>(a.y.length());
  auto* outSize = site.outSize();
  ZOLTA_emission_smooth(site.in(a.y), site.size(a.y), a.width, out, outSize);
}

}  // namespace every_export

// A row of the table whose name is that of the export itself.
#define ZOLT_ROW(family, call, name) \
  { #name, Family::family, every_export::call }
#define ZOLT_ROW_OF(family, call, name) \
  { #name, Family::family, every_export::call < &name> }

inline constexpr Export kExports[] = {
    ZOLT_ROW(records, makeRealWrapper, ZOLTA_emxCreateWrapper_real_T),
    ZOLT_ROW(records, makeIntWrapper, ZOLTA_emxCreateWrapper_int32_T),
    ZOLT_ROW_OF(analysis, analyse, ZOLTA_2state),
    ZOLT_ROW_OF(analysis, analyse, ZOLTA_2state_chalf),
    ZOLT_ROW_OF(analysis, analyseOnBaselines, ZOLTA_2state_user_set_baselines),
    ZOLT_ROW_OF(analysis, analyse, ZOLTA_3state),
    ZOLT_ROW_OF(analysis, analyse, ZOLTA_3state_chalf),
    ZOLT_ROW_OF(analysis, analyseOnBaselines, ZOLTA_3state_user_set_baselines),
    ZOLT_ROW_OF(analysis, analyse, ZOLTA_4state),
    ZOLT_ROW_OF(analysis, analyse, ZOLTA_4state_chalf),
    ZOLT_ROW_OF(analysis, analyseOnBaselines, ZOLTA_4state_user_set_baselines),
    ZOLT_ROW_OF(curveTools, drawFit, ZOLTA_ChemDenatFluorescenceFitCurve),
    ZOLT_ROW_OF(curveTools, drawFit, ZOLTA_ChemDenatFDFitCurve),
    ZOLT_ROW_OF(curveTools, drawFit, ZOLTA_ChemDenatFirstDerivativeFitCurve),
    ZOLT_ROW(curveTools, pickModel, ZOLTA_ChemDenatModelPicker),
    ZOLT_ROW(curveTools, killSpikes, ZOLTA_ChemDenatKillSpikes),
    ZOLT_ROW(curveTools, removeOutliers, ZOLTA_ChemDenatOutlierRemoval),
    ZOLT_ROW_OF(primaryFit, fitSeries, ZOLTA_dGtrend_primaryFit),
    ZOLT_ROW_OF(primaryFit, fitSeries, ZOLTA_dGagg_primaryFit),
    ZOLT_ROW_OF(primaryFit, fitMaskedSeries, ZOLTA_dGtrend_user_primaryFit),
    ZOLT_ROW_OF(primaryFit, fitMaskedSeries, ZOLTA_dGagg_user_primaryFit),
    ZOLT_ROW_OF(calculation, calculate, ZOLTA_dGtrend_calc),
    ZOLT_ROW_OF(calculation, calculate, ZOLTA_dGagg_calc),
    ZOLT_ROW_OF(seriesCurves, drawTrend, ZOLTA_dGtrend_trend),
    ZOLT_ROW_OF(seriesCurves, drawTrend, ZOLTA_dGagg_trend),
    ZOLT_ROW_OF(seriesCurves, drawFraction, ZOLTA_dGtrend_fd),
    ZOLT_ROW_OF(seriesCurves, drawFraction, ZOLTA_dGtrend_fragg),
    ZOLT_ROW_OF(seriesCurves, drawFraction, ZOLTA_dGtrend_fraggfd),
    ZOLT_ROW(auxiliary, normalise, ZOLTA_dGtrend_normalization),
    ZOLT_ROW_OF(auxiliary, fitMValues, ZOLTA_mfit1storder),
    ZOLT_ROW_OF(auxiliary, fitMValues, ZOLTA_mfit2ndorder),
    ZOLT_ROW_OF(auxiliary, fitMValues, ZOLTA_mfitlog),
    ZOLT_ROW(auxiliary, calibratePH, ZOLTA_pHequation),
    ZOLT_ROW(auxiliary, smooth, ZOLTA_emission_smooth),
};
#undef ZOLT_ROW
#undef ZOLT_ROW_OF
static_assert(std::size(kExports) == 34);

// Calls an export twice from different garbage. Equal outcomes then say two things: the same input
// gives the same bits, and every output is written in full. Empty if all is well, else the fault.
inline std::string faultOfTwoCalls(const Export& entry, const Arguments& arguments,
                                   Placement placement, CallSite& first) {
  entry.call(arguments, first);
  // The second call's records have room for everything, the first call's for nothing.
  CallSite second(placement, 0xA5, 4096);
  entry.call(arguments, second);
  if (!first.inputsUntouched() || !second.inputsUntouched()) {
    return std::string(entry.name) + " wrote to an input";
  }
  if (first.written() != second.written()) {
    return std::string(entry.name) + " left an output unwritten or gave other bits the second time";
  }
  return {};
}
