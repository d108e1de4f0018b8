// Wrapper records, fitted curves, model picker, spikes and outliers.
#include "fuzz_support.h"

namespace {

constexpr std::size_t kMostPoints = 600;

Arguments argumentsFrom(Bytes& bytes) {
  Arguments a;
  std::vector<double> x, y;
  const std::size_t n = bytes.upTo(bytes.byte() < 128 ? 40 : kMostPoints);
  bytes.curve(n, x, y);
  if (bytes.byte() >= 200) {
    y = bytes.numbers(bytes.upTo(40));
  }
  a.x = declared(std::move(x), bytes);
  a.y = declared(std::move(y), bytes);
  // A vector as an analysis may have written it, then some elements of any value.
  const double transitions = bytes.byte() % 3;
  a.result = {1.0,  0.1, 60.0, -0.2, 5000.0, 2.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0,
              592., 7.0, 0.99, 10.0, 0.0,    0.0, 200, 0.0, 0.0, 0.0, 0.0, 0.0};
  if (transitions > 0) {
    a.result[ZOLTA_DG2] = 9000.0;
    a.result[ZOLTA_CM2] = 4.0;
    a.result[ZOLTA_WEIGHT1] = bytes.fraction();
  }
  if (transitions > 1) {
    a.result[ZOLTA_DG3] = 15000.0;
    a.result[ZOLTA_CM3] = 6.0;
    a.result[ZOLTA_WEIGHT2] = bytes.fraction();
  }
  for (int edits = bytes.byte() % 6; edits > 0; --edits) {
    a.result[bytes.byte() % ZOLTA_RESULT_LENGTH] = bytes.number();
  }
  a.n = bytes.byte() < 230 ? static_cast<std::int32_t>(bytes.upTo(300)) : -bytes.byte();
  a.pointsPerCurve = bytes.raw<std::int32_t>();
  return a;
}

void checkWrapper(const Arguments& a, const CallSite& site) {
  const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(a.n) *
                                                 static_cast<std::uint32_t>(a.pointsPerCurve));
  const std::vector<std::int32_t> wanted{a.n, a.pointsPerCurve, product, 2, 0, 0};
  require(site.values<std::int32_t>(0) == wanted, "the record of a wrapper");
}

void checkFittedCurve(std::string_view name, const Arguments& a, const CallSite& site) {
  const auto x = site.values<double>(0);
  const auto wanted = static_cast<std::size_t>(std::max(a.n, 0));
  require(x.size() == wanted && site.values<double>(1).size() == wanted, "the length of a curve");
  if (a.x.length() == 0 || x.empty()) {
    return;
  }
  const double first = a.x.values.front();
  const double last = a.x.values[a.x.length() - 1];
  const bool toTheEnd = name != "ZOLTA_ChemDenatFirstDerivativeFitCurve";
  const double wantedFirst = toTheEnd && x.size() == 1 ? last : first;
  require(x.front() == wantedFirst || std::isnan(wantedFirst), "the first x of a curve");
  require(!toTheEnd || x.back() == last || std::isnan(last), "the last x of a curve");
}

void checkMask(std::size_t n, const CallSite& site) {
  const auto size = site.values<std::int32_t>(1);
  require(size[0] == 1 && static_cast<std::size_t>(size[1]) == n, "the size pair of a mask");
  for (std::int32_t flag : site.values<std::int32_t>(0)) {
    require(flag == 0 || flag == 1, "a flag is 0 or 1");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto rows = exportsOf({Family::records, Family::curveTools});
  Bytes bytes(data, size);
  const Export& entry = *rows[bytes.byte() % rows.size()];
  const Arguments a = argumentsFrom(bytes);
  CallSite site(Placement::heap, 0x5A);
  callAndCheck(entry, a, site);
  if (entry.family == Family::records) {
    checkWrapper(a, site);
  } else if (entry.name.ends_with("FitCurve")) {
    checkFittedCurve(entry.name, a, site);
  } else if (entry.name == "ZOLTA_ChemDenatModelPicker") {
    const std::int32_t states = site.values<std::int32_t>(0)[0];
    require(states >= 2 && states <= 4, "two, three or four states");
  } else {
    checkMask(entry.name == "ZOLTA_ChemDenatKillSpikes" ? a.y.length() : a.x.length(), site);
  }
  return 0;
}
