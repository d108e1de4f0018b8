// The library's fits against the plain solver, bit for bit: every mask of the three unfolding
// models and the three sums of peaks, on ordinary and on hostile problems.
#include "support/literal_solver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "fit/masked_fit.h"
#include "support/bits.h"
#include "support/generated_curves.h"

namespace {

using literal::Vector;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

template <const auto& kMask>
literal::Fitted libraryFit(const Vector& x, const Vector& y, const Vector& start) {
  constexpr std::size_t count = std::tuple_size_v<std::decay_t<decltype(kMask)>>;
  std::array<double, count> p;
  std::copy(start.begin(), start.end(), p.begin());
  zolt::FitWorkspace workspace(static_cast<int>(x.size()));
  const auto fitted = zolt::maskedFit(kMask, zolt::Curve{x, y}, p, workspace);
  return {Vector(fitted.p.begin(), fitted.p.end()), fitted.misfit.firstValue, fitted.misfit.sse};
}

struct NamedFit {
  const char* name;
  std::vector<std::uint8_t> mask;
  literal::Fitted (*run)(const Vector&, const Vector&, const Vector&);
};
// clang-format off
#define FIT(name) NamedFit{#name, {zolt::name.begin(), zolt::name.end()}, &libraryFit<zolt::name>}
const NamedFit kFits[] = {
    FIT(fit2State_all),                  FIT(fit2State_cmHeld),               FIT(fit2State_slopesHeld),
    FIT(fit2State_denaturedHeld),        FIT(fit2State_nativeHeld),           FIT(fit2State_cmDenaturedHeld),
    FIT(fit2State_cmNativeHeld),         FIT(fit2State_baselinesHeld),        FIT(fit2State_dGOnly),
    FIT(fit3State_all),                  FIT(fit3State_weightHeld),           FIT(fit3State_slopesHeld),
    FIT(fit3State_denaturedHeld),        FIT(fit3State_nativeHeld),           FIT(fit3State_baselinesHeld),
    FIT(fit3State_weightSlopesHeld),     FIT(fit3State_weightDenaturedHeld),  FIT(fit3State_weightNativeHeld),
    FIT(fit3State_weightBaselinesHeld),  FIT(fit4State_all),                  FIT(fit4State_weight1Held),
    FIT(fit4State_weight2Held),          FIT(fit4State_weightsHeld),          FIT(fit4State_slopesHeld),
    FIT(fit4State_weight1SlopesHeld),    FIT(fit4State_weight2SlopesHeld),    FIT(fit4State_weightsSlopesHeld),
    FIT(fit4State_denaturedHeld),        FIT(fit4State_weight1DenaturedHeld), FIT(fit4State_weight2DenaturedHeld),
    FIT(fit4State_weightsDenaturedHeld), FIT(fit4State_nativeHeld),           FIT(fit4State_weight1NativeHeld),
    FIT(fit4State_weight2NativeHeld),    FIT(fit4State_weightsNativeHeld),    FIT(fit4State_baselinesHeld),
    FIT(fit4State_weight1BaselinesHeld), FIT(fit4State_weight2BaselinesHeld), FIT(fit4State_weightsBaselinesHeld),
    FIT(fitGauss1),                      FIT(fitGauss2),                      FIT(fitGauss3)};
#undef FIT
// clang-format on

struct Problem {
  Vector x, y, start;
};

// What makes a problem hard. The first kinds are ordinary.
// clang-format off
enum Kind {
  Clean, Noisy, FarStart, ZeroParameter, NegativeZero, HugeParameter, ZeroBesideHuge,
  InfiniteParameter, NaNParameter, NaNSignal, InfiniteSignal, TinySignal, HugeSignal, ZeroJacobian,
  ExactFit, EqualX, DescendingX, FewPoints, Kinds
};
const char* const kKindNames[Kinds] = {
  "clean", "noisy", "far start", "zero parameter", "negative zero", "huge parameter",
  "zero beside huge", "infinite", "NaN parameter", "NaN signal", "infinite signal", "tiny signal",
  "huge signal", "zero Jacobian", "exact fit", "equal x", "descending x", "few points"
};
// clang-format on

// A curve and the parameters near it, for an unfolding model.
Problem unfoldingProblem(int transitions, const CurveRecipe& recipe, std::uint64_t seed) {
  CurveRecipe shape = recipe;
  shape.transitions = transitions;
  const GeneratedCurve curve = generateCurve(shape, seed);
  Problem problem{curve.x, curve.y, {}};
  for (std::size_t t = 0; t < curve.midpoints.size(); ++t) {
    problem.start.push_back(curve.energies[t]);
    problem.start.push_back(curve.midpoints[t]);
  }
  problem.start.insert(problem.start.end(), curve.weights.begin(), curve.weights.end() - 1);
  problem.start.insert(problem.start.end(), curve.baselines, curve.baselines + 4);
  problem.start.push_back((25 + 273.15) * 1.9872);
  return problem;
}

// The slope of such a curve, and peaks over it.
Problem peakProblem(int peaks, const CurveRecipe& recipe, std::uint64_t seed) {
  const Problem curve = unfoldingProblem(peaks, recipe, seed);
  Problem problem;
  for (std::size_t i = 0; i + 1 < curve.x.size(); ++i) {
    problem.x.push_back((curve.x[i] + curve.x[i + 1]) / 2);
    problem.y.push_back((curve.y[i] - curve.y[i + 1]) / (curve.x[i] - curve.x[i + 1]));
  }
  for (int k = 0; k < peaks; ++k) {
    const double peak[] = {20, curve.start[static_cast<std::size_t>(2 * k + 1)], 0.5};
    problem.start.insert(problem.start.end(), peak, peak + 3);
  }
  return problem;
}

Problem makeProblem(const NamedFit& fit, Kind kind, std::uint64_t seed) {
  const auto parameters = static_cast<int>(fit.mask.size());
  const bool peaks = parameters % 3 == 0;
  const int terms = peaks ? parameters / 3 : (parameters - 4) / 3;
  Random random(seed);
  CurveRecipe recipe;
  recipe.points = kind == FewPoints ? 2 + random.below(4) : 15 + random.below(30);
  recipe.noise = kind == Noisy ? 0.02 : 0;
  recipe.slopes = 0.01;
  recipe.falling = random.below(2) == 1;
  Problem problem =
      peaks ? peakProblem(terms, recipe, seed) : unfoldingProblem(terms, recipe, seed);
  auto& [x, y, start] = problem;

  const double spread = kind == FarStart ? 0.5 : 0.1;
  for (int i = 0; i < parameters - (peaks ? 0 : 1) && kind != ExactFit; ++i) {
    start[static_cast<std::size_t>(i)] *= random.between(1 - spread, 1 + spread);
  }
  // A parameter of any kind, held or free.
  double& parameter = start[static_cast<std::size_t>(random.below(parameters))];
  double& signal = y[static_cast<std::size_t>(random.below(static_cast<int>(y.size())))];
  switch (kind) {
    case ZeroParameter:
      parameter = 0.0;
      break;
    case NegativeZero:
      std::replace_if(
          start.begin(), start.end(), [&](double) { return random.below(3) == 0; }, -0.0);
      break;
    case HugeParameter:
      parameter *= random.below(2) == 0 ? 1e150 : -1e300;
      break;
    case ZeroBesideHuge:
      start[0] = 0.0;
      start[2] = 3e160;
      break;
    case InfiniteParameter:
      parameter = random.below(2) == 0 ? kInf : -kInf;
      break;
    case NaNParameter:
      parameter = kNaN;
      break;
    case NaNSignal:
      signal = kNaN;
      break;
    case InfiniteSignal:
      signal = kInf;
      break;
    case TinySignal:
    case HugeSignal:
      for (double& value : y) {
        value *= kind == TinySignal ? 1e-300 : 1e200;
      }
      break;
    case ZeroJacobian:
      // Flat baselines of 0, which make a held pair's model 0 everywhere; peaks out of sight.
      if (peaks) {
        for (int k = 0; k < terms; ++k) {
          start[static_cast<std::size_t>(3 * k + 1)] = 1e4;
        }
      } else {
        std::fill(start.end() - 5, start.end() - 1, 0.0);
      }
      break;
    case EqualX:
      std::fill(x.begin(), x.begin() + 3, x[0]);
      break;
    case DescendingX:
      std::reverse(x.begin(), x.end());
      break;
    default:
      break;
  }
  return problem;
}

TEST(LiteralSolver, EqualsTheLibraryToTheBit) {
  ASSERT_EQ(std::size(kFits), 42u);
  constexpr std::uint64_t kSeeds = 2;
  int moved = 0;
  for (const NamedFit& fit : kFits) {
    for (int kind = 0; kind < Kinds; ++kind) {
      for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
        const Problem problem =
            makeProblem(fit, static_cast<Kind>(kind), 1000 * seed + static_cast<unsigned>(kind));
        const auto got = fit.run(problem.x, problem.y, problem.start);
        const auto wanted = literal::maskedFit(fit.mask, problem.x, problem.y, problem.start);
        const auto where = [&] {
          return std::string(fit.name) + ", " + kKindNames[kind] + ", seed " +
                 std::to_string(seed) + ": ";
        };
        for (std::size_t i = 0; i < wanted.p.size(); ++i) {
          EXPECT_TRUE(sameBits(wanted.p[i], got.p[i]))
              << where() << "parameter " << i << " " << wantedGot(wanted.p[i], got.p[i]);
          EXPECT_TRUE(fit.mask[i] == 0 || sameBits(problem.start[i], got.p[i]))
              << where() << "held parameter " << i << " moved";
        }
        EXPECT_TRUE(sameBits(wanted.firstValue, got.firstValue))
            << where() << "first value " << wantedGot(wanted.firstValue, got.firstValue);
        EXPECT_TRUE(sameBits(wanted.sse, got.sse))
            << where() << "sum of squares " << wantedGot(wanted.sse, got.sse);
        moved += wanted.p != problem.start;
      }
    }
  }
  // Most of the problems are solved, not merely refused.
  EXPECT_GT(moved, static_cast<int>(std::size(kFits) * Kinds * kSeeds / 2));
}

}  // namespace
