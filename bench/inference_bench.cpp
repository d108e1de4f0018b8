// What the calls of the inference library cost, engine calls apart where they can be.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "support/generated_curves.h"
#include "zolt_inference.h"

namespace {

constexpr double kRT = 298.15 * 1.9872;

struct Bench {
  std::vector<double> x, y;
  ZOLTI_Curve curve{};
  ZOLTI_Options options{};

  Bench(int n, double firstCm, double secondCm, double seed) {
    Random random(static_cast<std::uint64_t>(seed) + 1);
    for (int i = 0; i < n; ++i) {
      const double at = 8.0 * i / (n - 1);
      const auto F = [&](double Cm) { return 1.0 / (1.0 + std::exp(1500.0 * (Cm - at) / kRT)); };
      x.push_back(at);
      y.push_back(0.1 + 0.45 * (F(firstCm) + F(secondCm)) + 0.02 * (random.unit() - 0.5));
    }
    curve = {x.data(), y.data(), nullptr, n, 0, 25.0};
    ZOLTI_options(&options);
  }
};

void verify(benchmark::State& state, int status) {
  if (status != ZOLTI_FITTED) {
    state.SkipWithError(ZOLTI_sentence(status));
  }
}

void leastSquares(benchmark::State& state) {
  Bench bench(static_cast<int>(state.range(0)), 3.9, 3.9, 1.0);
  bench.options.without_engine = static_cast<int>(state.range(1));
  ZOLTI_Fit fit;
  for (auto _ : state) {
    verify(state, ZOLTI_fit(&bench.curve, 1, &bench.options, &fit, nullptr, nullptr));
  }
}
BENCHMARK(leastSquares)->ArgsProduct({{24, 96}, {0, 1}})->ArgNames({"readings", "alone"});

void evidence(benchmark::State& state) {
  Bench bench(static_cast<int>(state.range(0)), 3.9, state.range(1) == 1 ? 3.9 : 6.0, 1.0);
  ZOLTI_Fit fit;
  ZOLTI_Evidence rows;
  for (auto _ : state) {
    verify(state, ZOLTI_decide(&bench.curve, 4, nullptr, &rows, &fit, nullptr, nullptr));
  }
}
BENCHMARK(evidence)->ArgsProduct({{24, 48}, {1, 2}})->ArgNames({"readings", "transitions"});

void intervals(benchmark::State& state) {
  Bench bench(24, 3.9, 3.9, 1.0);
  ZOLTI_Fit fit;
  ZOLTI_Intervals spans;
  ZOLTI_fit(&bench.curve, 1, nullptr, &fit, nullptr, nullptr);
  for (auto _ : state) {
    verify(state, ZOLTI_intervals(&bench.curve, nullptr, &fit, static_cast<int>(state.range(0)),
                                  0.95, 1000, 1, &spans, nullptr));
  }
}
BENCHMARK(intervals)->Arg(ZOLTI_PROFILE)->Arg(ZOLTI_BOOTSTRAP);

void together(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  std::vector<Bench> benches;
  std::vector<ZOLTI_Curve> curves;
  for (std::size_t i = 0; i < count; ++i) {
    const double Cm = 3.0 + 2.0 * static_cast<double>(i) / static_cast<double>(count);
    benches.emplace_back(24, Cm, Cm, static_cast<double>(i));
  }
  for (const Bench& bench : benches) {
    curves.push_back(bench.curve);
  }
  const bool full = state.range(1) == 1;
  ZOLTI_Global global;
  std::vector<ZOLTI_Fit> fits(count);
  std::vector<ZOLTI_Intervals> spans(count);
  std::vector<ZOLTI_Difference> apart(count);
  for (auto _ : state) {
    verify(state, ZOLTI_fit_global(curves.data(), static_cast<int>(count), 1, ZOLTI_SHARE_M,
                                   nullptr, 0, 0.95, &global, fits.data(),
                                   full ? spans.data() : nullptr, full ? apart.data() : nullptr));
  }
}
BENCHMARK(together)->ArgsProduct({{100, 400}, {0, 1}})->ArgNames({"curves", "intervals"});

}  // namespace
