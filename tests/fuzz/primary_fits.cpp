// Primary fits of series: lengths that do not match, any labels and masks, short and broken curves.
#include "fuzz_support.h"

namespace {

constexpr std::size_t kMostCurves = 3;
constexpr std::size_t kMostPoints = 26;

Arguments argumentsFrom(Bytes& bytes) {
  Arguments a;
  const std::size_t curves = bytes.upTo(kMostCurves);
  const std::size_t n = bytes.upTo(kMostPoints);
  for (std::size_t c = 0; c < curves; ++c) {
    bytes.curve(n, a.seriesX, a.seriesY);
  }
  std::size_t labels = curves;
  if (bytes.byte() >= 220) {
    a.seriesX.resize(bytes.upTo(curves * n), 0.0);
    a.seriesY.resize(bytes.upTo(curves * n), 0.0);
    labels = bytes.upTo(kMostCurves);
  }
  std::vector<double> row(labels);
  for (double& label : row) {
    label = bytes.byte() < 200 ? 1.0 + bytes.byte() % 3 : bytes.number();
  }
  a.labels = declared(std::move(row), bytes);
  a.userMask = bytes.byte() < 128 ? std::vector<std::int32_t>(curves * n, 1)
                                  : bytes.flags(bytes.upTo(curves * n));
  a.pointsPerCurve = bytes.byte() < 230 ? static_cast<std::int32_t>(n) : bytes.byte() - 100;
  a.states = bytes.byte() % 6;
  a.temperature = bytes.byte() < 220 ? 25.0 : bytes.number();
  return a;
}

// The number of curves that a row holds, halves rounded up.
std::int32_t curvesIn(std::size_t length, std::int32_t n) {
  return n > 0 ? static_cast<std::int32_t>(std::round(static_cast<double>(length) / n)) : 0;
}

void checkVector(const double* v, std::int32_t states) {
  const double code = v[ZOLTA_FIT_CODE];
  const int model = states == 3 || states == 4 ? states : 2;
  if (code == 0.0) {
    for (int k = 0; k < ZOLTA_RESULT_LENGTH; ++k) {
      require(v[k] == (k == ZOLTA_RT ? -1.0 : 0.0), "a series without a reference");
    }
    return;
  }
  require(code == model, "the code of a series is its number of states");
  const bool failed = v[ZOLTA_RT] == -1.0;
  require(!failed || (v[ZOLTA_DG1] == -1.0 && v[ZOLTA_R_SQUARED] == -1.0), "a curve without a fit");
  require(model > 2 || (v[ZOLTA_DG2] == 0.0 && v[ZOLTA_WEIGHT1] == 0.0), "no second transition");
  require(model > 3 || (v[ZOLTA_DG3] == 0.0 && v[ZOLTA_WEIGHT2] == 0.0), "no third transition");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto rows = exportsOf({Family::primaryFit});
  Bytes bytes(data, size);
  const Export& entry = *rows[bytes.byte() % rows.size()];
  const Arguments a = argumentsFrom(bytes);
  CallSite site(Placement::heap, 0x5A);
  callAndCheck(entry, a, site);

  const auto curves = static_cast<std::size_t>(curvesIn(a.seriesX.size(), a.pointsPerCurve));
  const auto results = site.values<double>(0);
  require(results.size() == curves * ZOLTA_RESULT_LENGTH, "one vector for each curve");
  for (std::size_t c = 0; c < curves; ++c) {
    checkVector(results.data() + c * ZOLTA_RESULT_LENGTH, a.states);
  }
  if (site.count() > 1) {
    const auto mask = site.values<std::int32_t>(1);
    require(mask.size() == curves * static_cast<std::size_t>(std::max(a.pointsPerCurve, 0)),
            "one flag for each point");
    for (std::int32_t flag : mask) {
      require(flag == 0 || flag == 1, "a flag is 0 or 1");
    }
  }
  return 0;
}
