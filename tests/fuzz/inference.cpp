// The exports of the inference library on whatever curves and choices the bytes make.
#include <cstring>

#include "../support/arbitrary.h"
#include "zolt_inference.h"

namespace {

void require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "contract broken: %s\n", what);
    std::abort();
  }
}

// Keeps the slowest call, evidence with the engine's analyses, below a second under the sanitizers.
constexpr std::size_t kMostPoints = 28;

// A curve in storage of exactly its size.
struct Given {
  std::vector<double> x, y, sd;
  ZOLTI_Curve curve{};
};

Given curveFrom(Bytes& bytes) {
  Given given;
  bytes.curve(bytes.upTo(kMostPoints), given.x, given.y);
  const std::uint8_t kind = bytes.byte();
  if (kind < 60) {
    given.sd = bytes.numbers(given.x.size());
  }
  if (kind > 200) {
    for (double& y : given.y) {
      y *= bytes.byte() % 2 == 0 ? 1e-300 : 1e250;
    }
  }
  return given;
}

void point(Given& given, Bytes& bytes) {
  given.curve = {given.x.data(),
                 given.y.data(),
                 given.sd.empty() ? nullptr : given.sd.data(),
                 static_cast<std::int32_t>(given.x.size()),
                 0,
                 bytes.byte() < 220 ? 25.0 : bytes.number()};
}

ZOLTI_Options optionsFrom(Bytes& bytes) {
  ZOLTI_Options options;
  ZOLTI_options(&options);
  if (bytes.byte() < 128) {
    return options;
  }
  options.native_kind = bytes.byte() % 4;
  options.denatured_kind = bytes.byte() % 4;
  options.sd_known = bytes.byte() % 2;
  options.without_engine = bytes.byte() % 2;
  for (double& value : options.baseline) {
    value = bytes.number();
  }
  for (int t = 0; t < 3; ++t) {
    const std::uint8_t held = bytes.byte();
    options.dG[t] = held % 5 == 1 ? 100.0 * bytes.number() : options.dG[t];
    options.Cm[t] = held % 5 == 2 ? bytes.number() : options.Cm[t];
    options.m[t] = held % 5 == 3 ? 10.0 * bytes.number() : options.m[t];
  }
  if (bytes.byte() < 40) {
    options.margin = bytes.fraction();
    options.least_m = bytes.number();
    options.most_m = bytes.number();
  }
  return options;
}

bool finite(const ZOLTI_Fit& fit) {
  return std::all_of(&fit.RT, static_cast<const double*>(fit.engine),
                     [](double value) { return std::isfinite(value); });
}

void checkFit(std::int32_t status, const ZOLTI_Fit& fit) {
  require(status == fit.status && status >= 0 && status < ZOLTI_STATUS_COUNT, "status of a fit");
  require(finite(fit), "finite numbers in a fit");
  require(fit.status != ZOLTI_FITTED || (fit.m[0] > 0.0 && fit.sse >= 0.0), "sound fit");
}

void one(Bytes& bytes) {
  Given given = curveFrom(bytes);
  point(given, bytes);
  const ZOLTI_Options options = optionsFrom(bytes);
  std::vector<double> residual(given.x.size()), leverage(given.x.size());
  ZOLTI_Fit fit, again;
  std::memset(&fit, 0x5A, sizeof fit);
  std::memset(&again, 0xA5, sizeof again);
  const int transitions = bytes.byte() % 5;
  checkFit(ZOLTI_fit(&given.curve, transitions, &options, &fit, residual.data(), leverage.data()),
           fit);
  ZOLTI_fit(&given.curve, transitions, &options, &again, nullptr, nullptr);
  require(std::memcmp(&fit, &again, sizeof fit) == 0, "the same bits both times");

  ZOLTI_Evidence evidence;
  checkFit(ZOLTI_decide(&given.curve, 2 + bytes.byte() % 3, &options, &evidence, &again, nullptr,
                        nullptr),
           again);
  char sentence[ZOLTI_SENTENCE_LENGTH];
  const int room = bytes.byte() % ZOLTI_SENTENCE_LENGTH;
  std::vector<char> exact(static_cast<std::size_t>(room));
  ZOLTI_evidence_sentence(&evidence, exact.data(), room);
  require(ZOLTI_evidence_sentence(&evidence, sentence, sizeof sentence) < ZOLTI_SENTENCE_LENGTH,
          "a sentence fits");

  ZOLTI_Intervals intervals;
  std::vector<double> draws(9 * 20);
  ZOLTI_intervals(&given.curve, &options, &fit, bytes.byte() % 4, bytes.fraction(), 20,
                  bytes.byte(), &intervals, draws.data());
  for (int t = 0; t < 3; ++t) {
    require(intervals.dG[t][0] <= intervals.dG[t][1], "ends in order");
    require(intervals.m[t][0] <= intervals.m[t][1], "ends in order");
  }
  std::vector<double> rows(7 * given.x.size());
  ZOLTI_draw(&fit, given.x.data(), given.curve.n, 0.9, rows.data());
}

void several(Bytes& bytes) {
  std::vector<Given> given(2 + bytes.byte() % 3);
  std::vector<ZOLTI_Curve> curves;
  for (Given& each : given) {
    each = curveFrom(bytes);
    point(each, bytes);
    curves.push_back(each.curve);
  }
  const auto count = static_cast<std::int32_t>(curves.size());
  const ZOLTI_Options options = optionsFrom(bytes);
  ZOLTI_Global global;
  std::vector<ZOLTI_Fit> fits(curves.size());
  std::vector<ZOLTI_Intervals> intervals(curves.size());
  std::vector<ZOLTI_Difference> differences(curves.size());
  std::vector<ZOLTI_Comparison> rows(curves.size());
  const int reference = bytes.byte() % (count + 1);
  const int status =
      ZOLTI_fit_global(curves.data(), count, 1 + bytes.byte() % 2, 1 + bytes.byte() % 2, &options,
                       reference, 0.9, &global, fits.data(), intervals.data(), differences.data());
  require(status == global.status, "status of a global fit");
  for (const ZOLTI_Fit& fit : fits) {
    checkFit(fit.status, fit);
  }
  ZOLTI_compare(curves.data(), count, &options, reference, 0.9, &global, fits.data(), rows.data());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  bytes.byte() < 170 ? one(bytes) : several(bytes);
  return 0;
}
