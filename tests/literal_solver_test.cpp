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

// The fits of the library: which parameters are held, as the digits of the mask in the order of
// the model, and in words. The unfolding models have 7, 10 and 13 parameters, the peaks 3 each.
struct NamedFit {
  std::string name;
  zolt::Held held;
  std::vector<std::uint8_t> mask{};
};
const NamedFit kDigits[] = {
    {"0000001", {}},
    {"0100001", {.midpoints = true}},
    {"0001011", {.slopes = true}},
    {"0000111", {.denatured = true}},
    {"0011001", {.native = true}},
    {"0100111", {.midpoints = true, .denatured = true}},
    {"0111001", {.midpoints = true, .native = true}},
    {"0011111", {.native = true, .denatured = true}},
    {"0111111", {.midpoints = true, .native = true, .denatured = true}},
    {"0000000001", {}},
    {"0000100001", {.weight1 = true}},
    {"0000001011", {.slopes = true}},
    {"0000000111", {.denatured = true}},
    {"0000011001", {.native = true}},
    {"0000011111", {.native = true, .denatured = true}},
    {"0000101011", {.weight1 = true, .slopes = true}},
    {"0000100111", {.weight1 = true, .denatured = true}},
    {"0000111001", {.weight1 = true, .native = true}},
    {"0000111111", {.weight1 = true, .native = true, .denatured = true}},
    {"0000000000001", {}},
    {"0000001000001", {.weight1 = true}},
    {"0000000100001", {.weight2 = true}},
    {"0000001100001", {.weight1 = true, .weight2 = true}},
    {"0000000001011", {.slopes = true}},
    {"0000001001011", {.weight1 = true, .slopes = true}},
    {"0000000101011", {.weight2 = true, .slopes = true}},
    {"0000001101011", {.weight1 = true, .weight2 = true, .slopes = true}},
    {"0000000000111", {.denatured = true}},
    {"0000001000111", {.weight1 = true, .denatured = true}},
    {"0000000100111", {.weight2 = true, .denatured = true}},
    {"0000001100111", {.weight1 = true, .weight2 = true, .denatured = true}},
    {"0000000011001", {.native = true}},
    {"0000001011001", {.weight1 = true, .native = true}},
    {"0000000111001", {.weight2 = true, .native = true}},
    {"0000001111001", {.weight1 = true, .weight2 = true, .native = true}},
    {"0000000011111", {.native = true, .denatured = true}},
    {"0000001011111", {.weight1 = true, .native = true, .denatured = true}},
    {"0000000111111", {.weight2 = true, .native = true, .denatured = true}},
    {"0000001111111", {.weight1 = true, .weight2 = true, .native = true, .denatured = true}},
    {"000", {}},
    {"000000", {}},
    {"000000000", {}},
};

std::vector<NamedFit> allFits() {
  std::vector<NamedFit> fits(std::begin(kDigits), std::end(kDigits));
  for (NamedFit& fit : fits) {
    for (char digit : fit.name) {
      fit.mask.push_back(digit == '1');
    }
  }
  return fits;
}

template <class Model>
literal::Fitted libraryFit(const zolt::HoldMask<Model::kParameters>& mask, const Vector& x,
                           const Vector& y, const Vector& start) {
  std::array<double, Model::kParameters> p;
  std::copy(start.begin(), start.end(), p.begin());
  zolt::FitWorkspace workspace(static_cast<int>(x.size()));
  const auto fitted = zolt::maskedFit<Model>(mask, zolt::Curve{x, y}, p, workspace);
  return {Vector(fitted.p.begin(), fitted.p.end()), fitted.misfit.firstValue, fitted.misfit.sse};
}

literal::Fitted libraryFit(const NamedFit& fit, const Vector& x, const Vector& y,
                           const Vector& start) {
  using namespace zolt;
  switch (fit.mask.size()) {
    case 7:
      return libraryFit<UnfoldingModel<1>>(holdMask<1>(fit.held), x, y, start);
    case 10:
      return libraryFit<UnfoldingModel<2>>(holdMask<2>(fit.held), x, y, start);
    case 13:
      return libraryFit<UnfoldingModel<3>>(holdMask<3>(fit.held), x, y, start);
    case 3:
      return libraryFit<GaussianModel<1>>({}, x, y, start);
    case 6:
      return libraryFit<GaussianModel<2>>({}, x, y, start);
    default:
      return libraryFit<GaussianModel<3>>({}, x, y, start);
  }
}

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
  const std::vector<NamedFit> fits = allFits();
  ASSERT_EQ(fits.size(), 42u);
  constexpr std::uint64_t kSeeds = 2;
  int moved = 0;
  for (const NamedFit& fit : fits) {
    for (int kind = 0; kind < Kinds; ++kind) {
      for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
        const Problem problem =
            makeProblem(fit, static_cast<Kind>(kind), 1000 * seed + static_cast<unsigned>(kind));
        const auto got = libraryFit(fit, problem.x, problem.y, problem.start);
        const auto wanted = literal::maskedFit(fit.mask, problem.x, problem.y, problem.start);
        const auto where = [&] {
          return fit.name + ", " + kKindNames[kind] + ", seed " + std::to_string(seed) + ": ";
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
  EXPECT_GT(moved, static_cast<int>(fits.size() * Kinds * kSeeds / 2));
}

}  // namespace
