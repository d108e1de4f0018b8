// The exports as one table. A row says of which fields of one record of arguments the call is
// made; whoever calls exports in a test calls them through it.
#pragma once

#include <string_view>
#include <tuple>

#include "call_site.h"

struct Arguments {
  Array x, y;      // a curve; abscissae and ordinates of the small fits
  Array scale;     // factors of the m-value fits, first signal of the pH equation
  Array labels;    // of a series
  Flags userMask;  // of the points of a series
  Flags include;   // of the curves of a series
  Vector baselines = Vector(4);
  Vector result = Vector(ZOLTA_RESULT_LENGTH);
  Vector trend = Vector(4);
  Vector seriesX, seriesY;  // curves end to end
  Vector seriesResults;     // vectors end to end
  double temperature = 25.0;
  double reference = 1.0, value = 1.0;  // of the normalisation
  double width = 3.0;                   // of the smoothing
  std::int32_t n = 20;                  // points wanted
  std::int32_t pointsPerCurve = 20;
  std::int32_t states = 2;
  std::int32_t transition = 1;
};

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
  void (*call)(const Arguments&, CallSite&);
};

namespace exports {

using A = Arguments;

// What a parameter, or a pointer with its size pair, is made of.
template <auto Field>
struct Number {
  static auto of(const A& a, CallSite&) { return std::tuple(a.*Field); }
};
template <auto Field>
struct Row {
  static auto of(const A& a, CallSite& site) {
    return std::tuple(site.in(a.*Field), site.sizeOf(a.*Field));
  }
};
template <auto Field>
struct Plain {
  static auto of(const A& a, CallSite& site) { return std::tuple(site.in(a.*Field)); }
};
template <auto Field>
struct Record {
  static auto of(const A& a, CallSite& site) { return std::tuple(site.inRecord(a.*Field)); }
};
template <std::size_t Count>
struct Out {
  static auto of(const A&, CallSite& site) { return std::tuple(site.out<double>(Count)); }
};
template <class Element, auto Field>  // a row as long as another
struct OutLike {
  static auto of(const A& a, CallSite& site) {
    auto* row = site.out<Element>((a.*Field).length());
    return std::tuple(row, site.outSize());
  }
};
struct OutReal {
  static auto of(const A&, CallSite& site) { return std::tuple(site.realRecord()); }
};
struct OutWhole {
  static auto of(const A&, CallSite& site) { return std::tuple(site.wholeRecord()); }
};

inline void tell(std::int32_t answer, CallSite& site) { *site.out<std::int32_t>(1) = answer; }
template <class WrapperRecord>
void tell(WrapperRecord* record, CallSite& site) {
  const std::int32_t told[] = {record->size[0],       record->size[1],     record->allocatedSize,
                               record->numDimensions, record->canFreeData, record->data != nullptr};
  std::copy(std::begin(told), std::end(told), site.out<std::int32_t>(std::size(told)));
  CallSite::release(record);
}

template <auto Function, class... Parts>
void call(const A& a, CallSite& site) {
  // Braces keep the order, which is that of the outputs.
  std::tuple<decltype(Parts::of(a, site))...> parts{Parts::of(a, site)...};
  const auto all = std::apply([](const auto&... part) { return std::tuple_cat(part...); }, parts);
  if constexpr (std::is_void_v<decltype(std::apply(Function, all))>) {
    std::apply(Function, all);
  } else {
    tell(std::apply(Function, all), site);
  }
}

// The two names of one entry have two types, which a call through a pointer confuses.
inline auto* wrapReal(std::int32_t rows, std::int32_t columns) {
  return ZOLTA_emxCreateWrapper_real_T(nullptr, rows, columns);
}
inline auto* wrapWhole(std::int32_t rows, std::int32_t columns) {
  return ZOLTA_emxCreateWrapper_int32_T(nullptr, rows, columns);
}

using X = Row<&A::x>;
using Y = Row<&A::y>;
using Scale = Row<&A::scale>;
using Labels = Row<&A::labels>;
using UserMask = Row<&A::userMask>;
using Include = Row<&A::include>;
using Result = Plain<&A::result>;
using Baselines = Plain<&A::baselines>;
using Trend = Plain<&A::trend>;
using SeriesX = Record<&A::seriesX>;
using SeriesY = Record<&A::seriesY>;
using Fits = Record<&A::seriesResults>;
using Celsius = Number<&A::temperature>;
using N = Number<&A::n>;
using PerCurve = Number<&A::pointsPerCurve>;
using States = Number<&A::states>;
using Which = Number<&A::transition>;
using Reference = Number<&A::reference>;
using Value = Number<&A::value>;
using Width = Number<&A::width>;
using OutVector = Out<ZOLTA_RESULT_LENGTH>;
using OutMaskOfY = OutLike<std::int32_t, &A::y>;
using OutMaskOfX = OutLike<std::int32_t, &A::x>;
using OutRowOfY = OutLike<double, &A::y>;
using OutRowOfX = OutLike<double, &A::x>;

// clang-format off
#define ZOLT_EXPORT(family, name, ...) {#name, Family::family, &call<&name, __VA_ARGS__>}
inline constexpr Export kAll[] = {
    {"ZOLTA_emxCreateWrapper_real_T", Family::records, &call<&wrapReal, N, PerCurve>},
    {"ZOLTA_emxCreateWrapper_int32_T", Family::records, &call<&wrapWhole, N, PerCurve>},
    ZOLT_EXPORT(analysis, ZOLTA_2state, X, Y, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_2state_chalf, X, Y, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_2state_user_set_baselines, X, Y, Baselines, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_3state, X, Y, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_3state_chalf, X, Y, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_3state_user_set_baselines, X, Y, Baselines, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_4state, X, Y, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_4state_chalf, X, Y, Celsius, OutVector),
    ZOLT_EXPORT(analysis, ZOLTA_4state_user_set_baselines, X, Y, Baselines, Celsius, OutVector),
    ZOLT_EXPORT(curveTools, ZOLTA_ChemDenatFluorescenceFitCurve, X, Result, N, OutReal, OutReal),
    ZOLT_EXPORT(curveTools, ZOLTA_ChemDenatFDFitCurve, X, Result, N, OutReal, OutReal),
    ZOLT_EXPORT(curveTools, ZOLTA_ChemDenatFirstDerivativeFitCurve, X, Result, N, OutReal, OutReal),
    ZOLT_EXPORT(curveTools, ZOLTA_ChemDenatModelPicker, Y),
    ZOLT_EXPORT(curveTools, ZOLTA_ChemDenatKillSpikes, Y, OutMaskOfY),
    ZOLT_EXPORT(curveTools, ZOLTA_ChemDenatOutlierRemoval, X, Y, Result, OutMaskOfX),
    ZOLT_EXPORT(primaryFit, ZOLTA_dGtrend_primaryFit, PerCurve, SeriesX, SeriesY, Labels, States, Celsius, OutReal, OutWhole),
    ZOLT_EXPORT(primaryFit, ZOLTA_dGagg_primaryFit, PerCurve, SeriesX, SeriesY, Labels, States, Celsius, OutReal, OutWhole),
    ZOLT_EXPORT(primaryFit, ZOLTA_dGtrend_user_primaryFit, PerCurve, SeriesX, SeriesY, Labels, UserMask, States, Celsius, OutReal),
    ZOLT_EXPORT(primaryFit, ZOLTA_dGagg_user_primaryFit, PerCurve, SeriesX, SeriesY, Labels, UserMask, States, Celsius, OutReal),
    ZOLT_EXPORT(calculation, ZOLTA_dGtrend_calc, Labels, Fits, Include, Which, OutReal, OutReal, OutReal, OutWhole, Out<4>),
    ZOLT_EXPORT(calculation, ZOLTA_dGagg_calc, Labels, Fits, Include, Which, OutReal, OutReal, OutReal, OutWhole, Out<4>),
    ZOLT_EXPORT(seriesCurves, ZOLTA_dGtrend_trend, Labels, Trend, N, OutReal, OutReal),
    ZOLT_EXPORT(seriesCurves, ZOLTA_dGagg_trend, Labels, Trend, N, OutReal, OutReal),
    ZOLT_EXPORT(seriesCurves, ZOLTA_dGtrend_fd, Labels, Trend, N, Celsius, OutReal, OutReal),
    ZOLT_EXPORT(seriesCurves, ZOLTA_dGtrend_fragg, Labels, Trend, N, Celsius, OutReal, OutReal),
    ZOLT_EXPORT(seriesCurves, ZOLTA_dGtrend_fraggfd, Labels, Trend, N, Celsius, OutReal, OutReal),
    ZOLT_EXPORT(auxiliary, ZOLTA_dGtrend_normalization, Y, Reference, Value, OutRowOfY),
    ZOLT_EXPORT(auxiliary, ZOLTA_mfit1storder, X, Y, Scale, N, OutRowOfX, OutReal, OutReal),
    ZOLT_EXPORT(auxiliary, ZOLTA_mfit2ndorder, X, Y, Scale, N, OutRowOfX, OutReal, OutReal),
    ZOLT_EXPORT(auxiliary, ZOLTA_mfitlog, X, Y, Scale, N, OutRowOfX, OutReal, OutReal),
    ZOLT_EXPORT(auxiliary, ZOLTA_pHequation, Scale, Y, X, Out<5>),
    ZOLT_EXPORT(auxiliary, ZOLTA_emission_smooth, Y, Width, OutRowOfY),
};
#undef ZOLT_EXPORT
// clang-format on

}  // namespace exports

using exports::kAll;

inline const Export& exportNamed(std::string_view name) {
  return *std::find_if(std::begin(kAll), std::end(kAll),
                       [name](const Export& entry) { return entry.name == name; });
}

// One call of the export of that name, told without the prefix that all share.
struct Called : CallSite {
  Called(const std::string& name, const Arguments& arguments, Placement place = Placement::guarded)
      : CallSite(place, 0x5A) {
    exportNamed("ZOLTA_" + name).call(arguments, *this);
  }
};

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
