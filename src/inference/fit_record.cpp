// The record of a fit: estimates, errors and what tells their worth.
#include "inference/fit_record.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "inference/distributions.h"

namespace zolt::inference {
namespace {

void fillEstimates(const Setup& setup, const Solution& solution, const Uncertainty& uncertainty,
                   ZOLTI_Fit& fit) {
  const Readings& r = setup.readings;
  const auto& a = uncertainty.coefficients;
  const auto w = solution.shape.weights();
  for (int side = 0; side < 2; ++side) {
    fit.baseline[2 * side] =
        r.yMiddle + r.ySpan * (a[2 * side] - a[2 * side + 1] * (r.xFirst / r.xSpan));
    fit.baseline[2 * side + 1] = r.ySpan * a[2 * side + 1] / r.xSpan;
  }
  for (int t = 0; t < fit.transitions; ++t) {
    fit.Cm[t] = r.xFirst + r.xSpan * solution.shape.c[t];
    fit.m[t] = std::exp(solution.shape.logS[t]) * r.RT / r.xSpan;
    fit.dG[t] = fit.m[t] * fit.Cm[t];
    fit.weight[t] = w[t];
    const Held& held = setup.held[t];
    fit.Cm[t] = held.Cm ? held.CmValue : fit.Cm[t];
    fit.m[t] = held.m ? held.mValue : fit.m[t];
    fit.dG[t] = held.dG ? held.dGValue : fit.m[t] * fit.Cm[t];
  }
}

// Standard errors from one of the covariances. A held dG has none, whatever rounding leaves.
void fillErrors(const SmallMatrix<ZOLTI_PARAMETERS, ZOLTI_PARAMETERS>& covariance,
                const Setup& setup, const ZOLTI_Fit& fit, double* baseline, double* dG, double* Cm,
                double* m, double* weight) {
  for (int i = 0; i < 4; ++i) {
    baseline[i] = errorOf(covariance(i, i));
  }
  for (int t = 0; t < fit.transitions; ++t) {
    Cm[t] = errorOf(covariance(placeOfCm(t), placeOfCm(t)));
    m[t] = errorOf(covariance(placeOfM(t), placeOfM(t)));
    dG[t] = setup.held[t].dG ? -1.0 : errorOf(varianceOfDG(covariance, fit.Cm[t], fit.m[t], t));
  }
  const int a = placeOfWeight(0), b = placeOfWeight(1);
  if (fit.transitions >= 2) {
    weight[0] = errorOf(covariance(a, a));
    weight[1] = errorOf(covariance(b, b));
  }
  if (fit.transitions == 3) {
    weight[2] = errorOf(covariance(a, a) + 2.0 * covariance(a, b) + covariance(b, b));
  }
}

void fillUncertainty(const Setup& setup, const Uncertainty& u, ZOLTI_Fit& fit) {
  fillErrors(u.model, setup, fit, fit.baseline_se, fit.dG_se, fit.Cm_se, fit.m_se, fit.weight_se);
  fillErrors(u.hc3, setup, fit, fit.baseline_hc3, fit.dG_hc3, fit.Cm_hc3, fit.m_hc3,
             fit.weight_hc3);
  for (int i = 0; i < ZOLTI_PARAMETERS; ++i) {
    for (int j = 0; j < ZOLTI_PARAMETERS; ++j) {
      fit.covariance[i * ZOLTI_PARAMETERS + j] = u.model(i, j);
      fit.covariance_hc3[i * ZOLTI_PARAMETERS + j] = u.hc3(i, j);
    }
  }
  for (int t = 0; t < fit.transitions; ++t) {
    const int c = placeOfCm(t), m = placeOfM(t);
    const double shared = fit.m[t] * u.model(c, m) + fit.Cm[t] * u.model(m, m);
    const double errors = fit.dG_se[t] * fit.m_se[t];
    if (fit.dG_se[t] > 0.0 && fit.m_se[t] > 0.0) {
      fit.dG_m_correlation[t] = std::min(1.0, std::max(-1.0, shared / errors));
    }
  }
}

void clearErrors(ZOLTI_Fit& fit) {
  for (double* row : {fit.baseline_se, fit.baseline_hc3}) {
    std::fill(row, row + 4, -1.0);
  }
  for (double* row : {fit.dG_se, fit.Cm_se, fit.m_se, fit.weight_se, fit.dG_hc3, fit.Cm_hc3,
                      fit.m_hc3, fit.weight_hc3, fit.dG_m_correlation}) {
    std::fill(row, row + 3, row == fit.dG_m_correlation ? 0.0 : -1.0);
  }
}

void fillBounds(const Setup& setup, const Solution& solution, ZOLTI_Fit& fit) {
  const Shape& shape = solution.shape;
  const auto reached = [](double value, double bound, double scale) {
    return std::abs(value - bound) <= 1e-6 * scale;
  };
  for (int t = 0; t < fit.transitions; ++t) {
    const Held& held = setup.held[t];
    int bits = 0;
    if (!held.m) {
      bits |= reached(shape.logS[t], setup.bounds.leastLogS, 0.3) ? ZOLTI_M_LEAST : 0;
      bits |= reached(shape.logS[t], setup.bounds.mostLogS, 0.3) ? ZOLTI_M_MOST : 0;
    }
    if (!held.Cm) {
      bits |= reached(shape.c[t], setup.bounds.leastC, 0.02) ? ZOLTI_CM_LEAST : 0;
      bits |= reached(shape.c[t], setup.bounds.mostC, 0.02) ? ZOLTI_CM_MOST : 0;
    }
    bits |= shape.c[t] < 0.0 || shape.c[t] > 1.0 ? ZOLTI_OUTSIDE : 0;
    if (fit.transitions > 1) {
      const bool edge = fit.weight[t] <= setup.bounds.leastShare * 1.001 ||
                        fit.weight[t] >= setup.bounds.mostShare * 0.999999;
      bits |= edge ? ZOLTI_WEIGHT_EDGE : 0;
    }
    fit.bounds |= bits << (8 * t);
  }
}

void fillLackOfFit(const Readings& r, ZOLTI_Fit& fit) {
  fit.pure_sse = r.pureSse * r.sseUnit;
  fit.pure_degrees = r.pureDegrees;
  fit.lack_F = fit.lack_p = -1.0;
  const double lackDegrees = fit.degrees - fit.pure_degrees;
  if (r.pureDegrees > 0 && lackDegrees > 0.0 && r.pureSse > 0.0) {
    const double lack = std::max(fit.sse - fit.pure_sse, 0.0) / lackDegrees;
    fit.lack_F = lack / (fit.pure_sse / fit.pure_degrees);
    fit.lack_p = fTail(fit.lack_F, lackDegrees, fit.pure_degrees);
  }
}

bool allFinite(const ZOLTI_Fit& fit) {
  const double* first = &fit.RT;
  const double* last = fit.engine;
  for (const double* value = first; value != last; ++value) {
    if (!std::isfinite(*value)) {
      return false;
    }
  }
  return true;
}

}  // namespace

double durbinWatson(const PerReading& e) {
  const double sum = e.squaredNorm();
  const auto n = e.size();
  return sum > 0.0 ? (e.tail(n - 1) - e.head(n - 1)).squaredNorm() / sum : -1.0;
}

bool aicc(double scaledSse, int n, int parameters, double& value) {
  const double K = parameters + 1.0;
  value = 0.0;
  if (n - K - 1.0 <= 0.0) {
    return false;
  }
  const double least = n * 1e-30;  // rounding of signals of size 1
  value =
      n * std::log(std::max(scaledSse, least) / n) + 2.0 * K + 2.0 * K * (K + 1.0) / (n - K - 1.0);
  return true;
}

void clear(ZOLTI_Fit& fit, int status) {
  fit = ZOLTI_Fit{};
  fit.status = status;
  clearErrors(fit);
  fit.durbin_watson = fit.condition = fit.lack_F = fit.lack_p = -1.0;
}

int fillFit(const Setup& setup, const Solution& solution, const Uncertainty& u, ZOLTI_Fit& fit) {
  const Readings& r = setup.readings;
  clear(fit, ZOLTI_FITTED);
  fit.transitions = solution.shape.transitions;
  fit.readings = r.n;
  fit.missing = r.missing;
  fit.concentrations = r.distinct;
  fit.free_parameters = u.freeParameters;
  fit.rank = u.rank;
  fit.iterations = solution.iterations;
  fit.starts = solution.starts;
  fit.agreeing = solution.agreeing;
  fit.sd_known = r.sdKnown;
  fit.RT = r.RT;
  fit.x_first = r.xFirst;
  fit.x_last = r.xFirst + r.xSpan;
  fit.y_span = r.ySpan;
  fillEstimates(setup, solution, u, fit);
  fillBounds(setup, solution, fit);
  fit.sse = solution.sse * r.sseUnit;
  fit.degrees = u.degrees;
  fit.residual_sd = std::sqrt(fit.sse / u.degrees);
  const auto weights = r.root.array().square();
  const double mean = (weights * r.y.array()).sum() / weights.sum();
  fit.r_squared = 1.0 - solution.sse / (weights * (r.y.array() - mean).square()).sum();
  fit.durbin_watson = durbinWatson(u.residuals);
  fit.condition = u.condition;
  aicc(solution.sse, r.n, u.freeParameters, fit.aicc);
  fillLackOfFit(r, fit);
  if (u.determined) {
    fillUncertainty(setup, u, fit);
  }
  std::copy(solution.engine.begin(), solution.engine.end(), fit.engine);

  if (!allFinite(fit)) {
    clear(fit, ZOLTI_BEYOND_ARITHMETIC);
    std::copy(solution.engine.begin(), solution.engine.end(), fit.engine);
  } else if (!solution.converged) {
    fit.status = ZOLTI_NOT_CONVERGED;
  } else if (!u.determined) {
    fit.status = ZOLTI_UNDETERMINED;
  }
  return fit.status;
}

void fillReadings(const ZOLTI_Curve& curve, const Setup& setup, const Uncertainty* u,
                  double* residual, double* leverage) {
  for (double* row : {residual, leverage}) {
    if (row != nullptr) {
      std::fill(row, row + std::max(curve.n, 0), std::numeric_limits<double>::quiet_NaN());
    }
  }
  if (u == nullptr) {
    return;
  }
  const Readings& r = setup.readings;
  for (int i = 0; i < r.n; ++i) {
    if (residual != nullptr) {
      residual[r.place[i]] = u->residuals[i] / r.root[i] * r.ySpan;
    }
    if (leverage != nullptr && u->determined) {
      leverage[r.place[i]] = u->leverage[i];
    }
  }
}

Shape shapeOf(const ZOLTI_Fit& fit, const Readings& r) {
  Shape shape;
  shape.transitions = fit.transitions;
  std::array<double, kMostTransitions> w{};
  for (int t = 0; t < fit.transitions; ++t) {
    shape.c[t] = r.scaledX(fit.Cm[t]);
    shape.logS[t] = std::log(r.steepness(fit.m[t]));
    w[t] = fit.weight[t];
  }
  shape.setWeights(w);
  return shape;
}

}  // namespace zolt::inference
