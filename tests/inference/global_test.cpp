// Many curves in one fit, checked by what must come out where the answer is known otherwise.
#include "simulated.h"

namespace {

using namespace simulated;

struct Set {
  std::vector<Data> data;
  std::vector<double> Cm;
};

Set mutants(int count, double sigma, std::uint64_t seed, double m = 1400.0) {
  Set set;
  Noise noise(seed);
  for (int i = 0; i < count; ++i) {
    set.Cm.push_back(2.5 + 2.5 * noise.even());
    set.data.push_back(sample({{m * set.Cm.back(), set.Cm.back(), 1.0}}, 24, sigma,
                              seed * 1000 + static_cast<std::uint64_t>(i)));
  }
  return set;
}

struct Together {
  ZOLTI_Global global;
  std::vector<ZOLTI_Fit> fits;
  std::vector<ZOLTI_Intervals> intervals;
  std::vector<ZOLTI_Difference> differences;
};

Together fitAll(const std::vector<Data>& data, int share = ZOLTI_SHARE_M, int transitions = 1) {
  std::vector<ZOLTI_Curve> curves;
  for (const Data& one : data) {
    curves.push_back(one.curve());
  }
  Together all;
  all.fits.resize(data.size());
  all.intervals.resize(data.size());
  all.differences.resize(data.size());
  ZOLTI_fit_global(curves.data(), static_cast<int>(data.size()), transitions, share, nullptr, 0,
                   0.95, &all.global, all.fits.data(), all.intervals.data(),
                   all.differences.data());
  return all;
}

// What the curves give one by one, all with the same m or dG held, in units of the global fit.
double sumWithHeld(const Set& set, const Together& all, int share, double value) {
  ZOLTI_Options options = usual();
  (share == ZOLTI_SHARE_M ? options.m : options.dG)[0] = value;
  const double scatter = all.global.chi_squared / all.global.degrees;
  double sum = 0.0;
  for (std::size_t i = 0; i < set.data.size(); ++i) {
    const double sd = all.fits[i].residual_sd;
    sum += fit(set.data[i], 1, options).sse / (sd * sd / scatter);
  }
  return sum;
}

// No other value is better, and the curvature of the sum gives the error.
void expectBest(const Set& set, const Together& all, int share) {
  const double best = all.global.shared[0];
  const double h = all.global.shared_se[0] * 0.1;
  const double here = sumWithHeld(set, all, share, best);
  const double above = sumWithHeld(set, all, share, best + h);
  const double below = sumWithHeld(set, all, share, best - h);
  EXPECT_NEAR(here / all.global.chi_squared, 1.0, 1e-9);
  EXPECT_GT(std::min(above, below), here);
  const double scatter = all.global.chi_squared / all.global.degrees;
  const double error = std::sqrt(2.0 * scatter * h * h / (above + below - 2.0 * here));
  EXPECT_NEAR(error / all.global.shared_se[0], 1.0, 0.02);
}

// With m held at the shared value every curve alone has the same optimum.
TEST(Global, TheSharedValueIsTheBestOfAll) {
  const Set set = mutants(5, 0.01, 3);
  const Together all = fitAll(set.data);
  ASSERT_EQ(all.global.status, ZOLTI_FITTED);
  expectBest(set, all, ZOLTI_SHARE_M);
  const double m = all.global.shared[0];
  for (std::size_t i = 0; i < set.data.size(); ++i) {
    EXPECT_NEAR(all.fits[i].m[0], m, 1e-9 * m);
    EXPECT_NEAR(all.fits[i].Cm[0], set.Cm[i], 0.15);
    EXPECT_EQ(all.fits[i].free_parameters, 5);  // besides the shared one
  }
  EXPECT_EQ(all.global.free_parameters, 26);
}

TEST(Global, DifferencesAndIntervalsHoldTheTruth) {
  int held[4] = {}, refused = 0;
  constexpr int kSets = 200;
  for (std::uint64_t seed = 1; seed <= kSets; ++seed) {
    const Set set = mutants(3, 0.02, seed + 50);
    const Together all = fitAll(set.data);
    const auto holds = [](const double* span, double truth) {
      return span[0] <= truth && truth <= span[1];
    };
    const double apart = set.Cm[2] - set.Cm[0];
    held[0] += holds(all.global.shared_interval[0], 1400.0);
    held[1] += holds(all.intervals[1].dG[0], 1400.0 * set.Cm[1]);
    held[2] += holds(all.differences[2].dCm_interval[0], apart);
    held[3] += holds(all.differences[2].ddG_interval[0], 1400.0 * apart);
    refused += all.global.p < 0.05;
    EXPECT_EQ(all.differences[0].ddG[0], 0.0);
    const ZOLTI_Difference& last = all.differences[2];
    const auto errorsWide = [](const double* span, double se) { return (span[1] - span[0]) / se; };
    for (const double wide : {errorsWide(last.dCm_interval[0], last.dCm_se[0]),
                              errorsWide(last.ddG_interval[0], last.ddG_se[0])}) {
      EXPECT_GE(wide, 3.8);  // unequal noise widens and never narrows
      EXPECT_LE(wide, 6.0);
    }
    EXPECT_NEAR(all.differences[2].ddG[0], all.fits[2].dG[0] - all.fits[0].dG[0], 1e-6);
  }
  for (const int count : held) {
    EXPECT_GE(count, kSets * 92 / 100);
  }
  EXPECT_LE(refused, kSets / 10);
}

// With dG of one curve held at an end of its interval, the best shared m leaves a sum that has
// grown by the square of Student's t, or by more where the errors were enlarged for unequal noise.
TEST(Global, EndsOfIntervalsAreWhereTheSumHasGrown) {
  const Set set = mutants(4, 0.02, 8);
  const Together all = fitAll(set.data);
  const double scatter = all.global.chi_squared / all.global.degrees;
  const auto leastSum = [&](std::size_t held, double dG) {
    const auto sumAt = [&](double m) {
      double sum = 0.0;
      for (std::size_t i = 0; i < set.data.size(); ++i) {
        ZOLTI_Options options = usual();
        options.m[0] = m;
        options.dG[0] = i == held ? dG : kNaN;
        sum +=
            fit(set.data[i], 1, options).sse / (all.fits[i].residual_sd * all.fits[i].residual_sd);
      }
      return sum;
    };
    double low = 0.8 * all.global.shared[0], high = 1.25 * all.global.shared[0];
    while (high / low > 1.0 + 1e-5) {
      const double a = low + 0.382 * (high - low), b = low + 0.618 * (high - low);
      (sumAt(a) < sumAt(b) ? high : low) = sumAt(a) < sumAt(b) ? b : a;
    }
    return sumAt(low);
  };
  constexpr double kStudent = 1.993;  // 0.975 quantile of 74 degrees of freedom
  ASSERT_EQ(all.global.degrees, 75);
  for (std::size_t i = 0; i < set.data.size(); ++i) {
    for (const double end : all.intervals[i].dG[0]) {
      const double growth = leastSum(i, end) - all.global.chi_squared / scatter;
      EXPECT_GT(growth, 0.95 * kStudent * kStudent) << "curve " << i << " at " << end;
      EXPECT_LT(growth, 1.2 * kStudent * kStudent) << "curve " << i << " at " << end;
    }
  }
}

TEST(Global, CurvesThatDoNotShareAreTold) {
  Set set = mutants(3, 0.01, 9);
  set.data.push_back(mutants(1, 0.01, 10, 2100.0).data[0]);
  EXPECT_LT(fitAll(set.data).global.p, 1e-6);
}

// The same protein with three probes: one dG, each its own scale.
TEST(Global, FreeEnergiesCanBeShared) {
  Set probes;
  for (std::uint64_t i = 0; i < 3; ++i) {
    probes.data.push_back(sample({{5000.0, 3.0 + static_cast<double>(i), 1.0}}, 30, 0.01, i + 1));
    for (double& y : probes.data.back().y) {
      y = 1e4 * y - 3e3;
    }
  }
  const Together all = fitAll(probes.data, ZOLTI_SHARE_DG);
  ASSERT_EQ(all.global.status, ZOLTI_FITTED);
  expectBest(probes, all, ZOLTI_SHARE_DG);
  EXPECT_NEAR(all.global.shared[0], 5000.0, 3.0 * all.global.shared_se[0]);
  EXPECT_LT(all.global.shared_interval[0][0], 5000.0);
  EXPECT_GT(all.global.shared_interval[0][1], 5000.0);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(all.fits[i].dG[0], all.global.shared[0], 1e-6);
    EXPECT_NEAR(all.fits[i].dG_se[0] / all.global.shared_se[0], 1.0, 1e-6);
    const auto errorsWide = [](const double* span, double se) { return (span[1] - span[0]) / se; };
    EXPECT_NEAR(errorsWide(all.intervals[i].Cm[0], all.fits[i].Cm_se[0]), 4.0, 0.6) << i;
    EXPECT_NEAR(errorsWide(all.intervals[i].m[0], all.fits[i].m_se[0]), 4.0, 0.6) << i;
  }
}

TEST(Global, TwoTransitionsShareBothSlopes) {
  std::vector<Data> data;
  for (std::uint64_t i = 0; i < 3; ++i) {
    const double first = 2.0 + 0.2 * static_cast<double>(i);
    data.push_back(sample({{2200.0 * first, first, 0.5}, {13000.0, 5.6, 0.5}}, 60, 0.005, i + 3));
  }
  const Together all = fitAll(data, ZOLTI_SHARE_M, 2);
  ASSERT_EQ(all.global.status, ZOLTI_FITTED);
  EXPECT_NEAR(all.global.shared[0], 2200.0, 3.0 * all.global.shared_se[0]);
  EXPECT_NEAR(all.global.shared[1], 13000.0 / 5.6, 3.0 * all.global.shared_se[1]);
  EXPECT_NEAR(all.differences[2].dCm[0], 0.4, 0.05);
}

TEST(Global, ACurveThatCannotBeFittedStaysOut) {
  Set set = mutants(3, 0.01, 5);
  const Together whole = fitAll(set.data);
  Data flat = set.data[0];
  flat.y.assign(flat.y.size(), 1.0);
  set.data.push_back(flat);
  const Together all = fitAll(set.data);
  EXPECT_EQ(all.global.curves, 3);
  EXPECT_EQ(all.fits[3].status, ZOLTI_FLAT_SIGNAL);
  EXPECT_EQ(all.differences[3].status, ZOLTI_FLAT_SIGNAL);
  EXPECT_EQ(all.global.shared[0], whole.global.shared[0]);
  EXPECT_EQ(fitAll({set.data[0], flat}).global.status, ZOLTI_NOTHING_SHARED);
}

TEST(Global, ComparisonGivesThreeDifferences) {
  const Set set = mutants(4, 0.01, 21);
  std::vector<ZOLTI_Curve> curves;
  for (const Data& one : set.data) {
    curves.push_back(one.curve());
  }
  ZOLTI_Global global;
  std::vector<ZOLTI_Fit> fits(4);
  std::vector<ZOLTI_Comparison> rows(4);
  ASSERT_EQ(ZOLTI_compare(curves.data(), 4, nullptr, 1, 0.95, &global, fits.data(), rows.data()),
            ZOLTI_FITTED);
  EXPECT_EQ(rows[1].plain_ddG, 0.0);
  const ZOLTI_Comparison& row = rows[3];
  const double truth = 1400.0 * (set.Cm[3] - set.Cm[1]);
  for (const double* span : {row.shared_interval, row.mean_m_interval, row.plain_interval}) {
    EXPECT_LT(span[0], truth);
    EXPECT_GT(span[1], truth);
  }
  EXPECT_NEAR(row.plain_ddG, fit(set.data[3]).dG[0] - fit(set.data[1]).dG[0], 1e-6);
  EXPECT_LT(row.shared_se, row.plain_se);
}

}  // namespace
