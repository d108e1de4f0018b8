#include "peers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#ifdef ZOLT_HAVE_CMINPACK
#include <cminpack.h>
#endif
#ifdef ZOLT_HAVE_EIGEN
#include <Eigen/Dense>
#include <unsupported/Eigen/NonLinearOptimization>
#endif

namespace {

// Where the parameters stand, and what a single transition adds at one point.
struct Layout {
  int transitions;
  int weights() const { return 2 * transitions; }
  int baselines() const { return 3 * transitions - 1; }
  int RT() const { return 3 * transitions + 3; }

  std::array<double, 3> weightsOf(const double* full) const {
    std::array<double, 3> w{1.0, 0.0, 0.0};
    double rest = 1.0;
    for (int t = 0; t + 1 < transitions; ++t) {
      w[static_cast<std::size_t>(t)] = full[weights() + t];
      rest -= full[weights() + t];
    }
    w[static_cast<std::size_t>(transitions - 1)] = rest;
    return w;
  }
};

#ifdef ZOLT_HAVE_CMINPACK
int evaluateForCminpack(void* data, int, int, const double* values, double* residuals,
                        double* columns, int, int what) {
  const auto& fit = *static_cast<const SingleFit*>(data);
  if (what == 1) {
    residualsOf(fit, values, residuals);
  } else {
    derivativesOf(fit, fullVector(fit, values).data(), columns);
  }
  return 0;
}

std::vector<double> solveByCminpack(const SingleFit& fit) {
  const auto m = fit.x.size();
  const auto c = fit.free.size();
  std::vector<double> values = freeStart(fit);
  std::vector<double> residuals(m), columns(m * c), diagonal(c), qtf(c), work(3 * c), rowWork(m);
  std::vector<int> pivots(c);
  int evaluations = 0;
  int derivatives = 0;
  lmder(evaluateForCminpack, const_cast<SingleFit*>(&fit), static_cast<int>(m), static_cast<int>(c),
        values.data(), residuals.data(), columns.data(), static_cast<int>(m), kPeerTolerance,
        kPeerTolerance, 0.0, kPeerEvaluations, diagonal.data(), 1, 100.0, 0, &evaluations,
        &derivatives, pivots.data(), qtf.data(), work.data(), work.data() + c, work.data() + 2 * c,
        rowWork.data());
  return fullVector(fit, values.data());
}
#endif

#ifdef ZOLT_HAVE_EIGEN
struct EigenFit {
  using Scalar = double;
  using InputType = Eigen::VectorXd;
  using ValueType = Eigen::VectorXd;
  using JacobianType = Eigen::MatrixXd;
  enum { InputsAtCompileTime = Eigen::Dynamic, ValuesAtCompileTime = Eigen::Dynamic };

  const SingleFit& fit;

  int inputs() const { return static_cast<int>(fit.free.size()); }
  int values() const { return static_cast<int>(fit.x.size()); }
  int operator()(const Eigen::VectorXd& free, Eigen::VectorXd& residuals) const {
    residualsOf(fit, free.data(), residuals.data());
    return 0;
  }
  int df(const Eigen::VectorXd& free, Eigen::MatrixXd& columns) const {
    derivativesOf(fit, fullVector(fit, free.data()).data(), columns.data());
    return 0;
  }
};

std::vector<double> solveByEigen(const SingleFit& fit) {
  EigenFit problem{fit};
  Eigen::LevenbergMarquardt<EigenFit> solver(problem);
  solver.parameters.ftol = kPeerTolerance;
  solver.parameters.xtol = kPeerTolerance;
  solver.parameters.gtol = 0.0;
  solver.parameters.maxfev = kPeerEvaluations;
  const std::vector<double> start = freeStart(fit);
  Eigen::VectorXd values =
      Eigen::Map<const Eigen::VectorXd>(start.data(), static_cast<Eigen::Index>(start.size()));
  solver.minimize(values);
  return fullVector(fit, values.data());
}
#endif

}  // namespace

std::vector<double> freeStart(const SingleFit& fit) {
  std::vector<double> values;
  for (int place : fit.free) {
    values.push_back(fit.start[static_cast<std::size_t>(place)]);
  }
  return values;
}

void residualsOf(const SingleFit& fit, const double* freeValues, double* residuals) {
  const std::vector<double> full = fullVector(fit, freeValues);
  signalOf(fit, full.data(), residuals);
  for (std::size_t i = 0; i < fit.y.size(); ++i) {
    residuals[i] -= fit.y[i];
  }
}

std::vector<double> fullVector(const SingleFit& fit, const double* freeValues) {
  std::vector<double> full = fit.start;
  for (std::size_t j = 0; j < fit.free.size(); ++j) {
    full[static_cast<std::size_t>(fit.free[j])] = freeValues[j];
  }
  return full;
}

void signalOf(const SingleFit& fit, const double* full, double* signal) {
  const Layout at{fit.transitions};
  const double* base = full + at.baselines();
  const auto w = at.weightsOf(full);
  for (std::size_t i = 0; i < fit.x.size(); ++i) {
    const double x = fit.x[i];
    const double native = base[0] + base[1] * x;
    const double denatured = base[2] + base[3] * x;
    double sum = 0.0;
    for (int t = 0; t < fit.transitions; ++t) {
      const double K = std::exp(-full[2 * t] * (1.0 - x / full[2 * t + 1]) / full[at.RT()]);
      sum += w[static_cast<std::size_t>(t)] * (native + denatured * K) / (1.0 + K);
    }
    signal[i] = sum;
  }
}

void derivativesOf(const SingleFit& fit, const double* full, double* columns) {
  const Layout at{fit.transitions};
  const double* base = full + at.baselines();
  const double RT = full[at.RT()];
  const auto w = at.weightsOf(full);
  const std::size_t n = fit.x.size();
  for (std::size_t i = 0; i < n; ++i) {
    const double x = fit.x[i];
    const double native = base[0] + base[1] * x;
    const double height = base[2] + base[3] * x - native;
    std::array<double, 13> by{};
    std::array<double, 3> fraction{};
    double denatured = 0.0;
    for (int t = 0; t < fit.transitions; ++t) {
      const auto k = static_cast<std::size_t>(t);
      const double dG = full[2 * t];
      const double Cm = full[2 * t + 1];
      const double F = 1.0 / (1.0 + std::exp(dG * (1.0 - x / Cm) / RT));
      const double slope = -w[k] * height * F * (1.0 - F) / RT;
      by[2 * k] = slope * (1.0 - x / Cm);
      by[2 * k + 1] = slope * dG * x / (Cm * Cm);
      fraction[k] = F;
      denatured += w[k] * F;
    }
    for (int t = 0; t + 1 < fit.transitions; ++t) {
      by[static_cast<std::size_t>(at.weights() + t)] =
          height * (fraction[static_cast<std::size_t>(t)] -
                    fraction[static_cast<std::size_t>(fit.transitions - 1)]);
    }
    const auto b = static_cast<std::size_t>(at.baselines());
    by[b] = 1.0 - denatured;
    by[b + 1] = by[b] * x;
    by[b + 2] = denatured;
    by[b + 3] = denatured * x;
    for (std::size_t j = 0; j < fit.free.size(); ++j) {
      columns[j * n + i] = by[static_cast<std::size_t>(fit.free[j])];
    }
  }
}

double sumOfSquares(const SingleFit& fit, const std::vector<double>& full) {
  std::vector<double> signal(fit.x.size());
  signalOf(fit, full.data(), signal.data());
  double sum = 0.0;
  for (std::size_t i = 0; i < signal.size(); ++i) {
    sum += (signal[i] - fit.y[i]) * (signal[i] - fit.y[i]);
  }
  return sum;
}

const std::vector<Peer>& peers() {
  static const std::vector<Peer> all{
#ifdef ZOLT_HAVE_CMINPACK
      {"cminpack", solveByCminpack},
#endif
#ifdef ZOLT_HAVE_EIGEN
      {"Eigen", solveByEigen},
#endif
#ifdef ZOLT_HAVE_GSL
      {"GSL", solveByGsl},
#endif
#ifdef ZOLT_HAVE_CERES
      {"Ceres", solveByCeres},
#endif
  };
  return all;
}
