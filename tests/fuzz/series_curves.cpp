// Calculation of a fitted series, and the curves of its trend.
#include "fuzz_support.h"

namespace {

constexpr std::size_t kMostCurves = 12;

Arguments argumentsFrom(Bytes& bytes) {
  Arguments a;
  const std::size_t curves = bytes.upTo(kMostCurves);
  std::vector<double> labels(curves);
  for (std::size_t c = 0; c < curves; ++c) {
    labels[c] = bytes.byte() < 200 ? bytes.byte() % 5 : bytes.number();
    std::vector<double> vector(ZOLTA_RESULT_LENGTH);
    vector[ZOLTA_RT] = bytes.byte() < 220 ? 592.0 : -1.0;
    for (std::size_t k : {ZOLTA_DG1, ZOLTA_DG2, ZOLTA_DG3, ZOLTA_DG1_WIDTH, ZOLTA_DG2_WIDTH}) {
      vector[k] = bytes.byte() < 220 ? 100.0 * bytes.byte() : bytes.number();
    }
    a.seriesResults.insert(a.seriesResults.end(), vector.begin(), vector.end());
  }
  a.include = bytes.flags(bytes.byte() < 230 ? curves : bytes.upTo(kMostCurves));
  if (bytes.byte() >= 230) {
    a.seriesResults.resize(bytes.upTo(a.seriesResults.size()), 1.0);
  }
  a.labels = declared(std::move(labels), bytes);
  a.transition = static_cast<std::int32_t>(bytes.byte() % 6) - 1;
  a.trend = bytes.numbers(4);
  a.n = bytes.byte() < 230 ? static_cast<std::int32_t>(bytes.upTo(300)) : -bytes.byte();
  a.temperature = bytes.byte() < 200 ? 25.0 : bytes.number();
  return a;
}

void checkCalculation(const CallSite& site) {
  const std::size_t count = site.values<double>(0).size();
  require(site.values<double>(1).size() == count && site.values<double>(2).size() == count,
          "one dG and one error for each label");
  const auto used = site.values<std::int32_t>(3);
  require(used.size() == count, "one flag for each label");
  for (std::int32_t flag : used) {
    require(flag == 0 || flag == 1, "a flag is 0 or 1");
  }
}

void checkCurve(const Arguments& a, const CallSite& site) {
  const bool drawn = a.labels.length() >= 2 && a.n >= 1;
  const auto x = site.values<double>(0);
  const auto y = site.values<double>(1);
  require(x.size() == (drawn ? static_cast<std::size_t>(a.n) : 1) && y.size() == x.size(),
          "the length of a curve");
  require(drawn || (x[0] == 1.0 && y[0] == 1.0), "the point that stands for no curve");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto rows = exportsOf({Family::calculation, Family::seriesCurves});
  Bytes bytes(data, size);
  const Export& entry = *rows[bytes.byte() % rows.size()];
  const Arguments arguments = argumentsFrom(bytes);
  CallSite site(Placement::heap, 0x5A);
  callAndCheck(entry, arguments, site);
  if (entry.family == Family::calculation) {
    checkCalculation(site);
  } else {
    checkCurve(arguments, site);
  }
  return 0;
}
