// ZOLTI_fit_global and ZOLTI_compare: records from global fits.
#include <algorithm>
#include <cmath>

#include "inference/distributions.h"
#include "inference/global_fit.h"

namespace zolt::inference {
namespace {

void describe(const GlobalFit& fit, double level, ZOLTI_Global& out) {
  out.share = fit.share;
  out.transitions = fit.transitions;
  out.curves = fit.fitted;
  out.free_parameters = fit.freeParameters;
  out.iterations = fit.shared.iterations;
  out.chi_squared = fit.chiSquared;
  out.degrees = fit.degrees;
  out.free_chi_squared = fit.freeChiSquared;
  out.free_degrees = fit.freeDegrees;
  const double extra = fit.degrees - fit.freeDegrees;
  out.F = std::max(0.0, fit.chiSquared - fit.freeChiSquared) / extra /
          std::max(fit.freeChiSquared / fit.freeDegrees, 1e-300);
  out.p = fTail(out.F, extra, fit.freeDegrees);
  for (int t = 0; t < fit.transitions; ++t) {
    const double value = fit.shared.at[t];
    out.shared[t] = toCallers(fit.share, value);
    const double slope = fit.share == ZOLTI_SHARE_M ? out.shared[t] : kEnergy;
    out.shared_se[t] = slope * std::sqrt(fit.sharedCovariance(t, t));
    const Interval ends = sharedInterval(fit, t, level);
    out.shared_interval[t][0] = ends.lower;
    out.shared_interval[t][1] = ends.upper;
  }
}

// The record of a curve: its own numbers, with errors and degrees of freedom of the whole.
int recordOf(const GlobalFit& global, int index, const MemberErrors& errors, ZOLTI_Fit& out) {
  const Member& member = global.members[static_cast<std::size_t>(index)];
  Uncertainty all = errors.own;
  all.model = errors.model;
  all.hc3 = errors.hc3;
  Solution solution = member.together;
  solution.iterations = global.shared.iterations;
  solution.starts = member.alone.starts;
  solution.agreeing = member.alone.agreeing;
  solution.engine = member.alone.engine;
  const int status = fillFit(member.setup, solution, all, out);
  out.degrees = global.degrees;
  out.residual_sd = std::sqrt(all.variance * member.setup.readings.sseUnit);
  return status;
}

struct Request {
  const ZOLTI_Curve* curves;
  int count, transitions, share;
  const ZOLTI_Options* options;
  int reference;
  double level;
};

bool sensible(const Request& request) {
  return request.curves != nullptr && request.count >= 2 && request.count <= ZOLTI_MOST_CURVES &&
         request.transitions >= 1 && request.transitions <= kMostTransitions &&
         (request.share == ZOLTI_SHARE_M || request.share == ZOLTI_SHARE_DG) &&
         request.reference >= 0 && request.reference < request.count && request.level > 0.0 &&
         request.level < 1.0;
}

int fitAll(const Request& request, GlobalFit& fit, ZOLTI_Global& global, ZOLTI_Fit* fits,
           ZOLTI_Intervals* intervals, ZOLTI_Difference* differences) {
  const auto count = static_cast<std::size_t>(std::clamp(request.count, 0, int{ZOLTI_MOST_CURVES}));
  global = ZOLTI_Global{};
  global.status = ZOLTI_BAD_ARGUMENT;
  if (sensible(request)) {
    global.status = fitTogether(request.curves, request.count, request.transitions, request.share,
                                request.options, fit);
  }
  for (std::size_t i = 0; i < count; ++i) {
    int status = global.status;
    if (i < fit.members.size() && fit.members[i].status != ZOLTI_FITTED) {
      status = fit.members[i].status;
    }
    clear(fits[i], status);
    if (intervals != nullptr) {
      intervals[i] = ZOLTI_Intervals{};
      intervals[i].status = status;
    }
    if (differences != nullptr) {
      differences[i] = ZOLTI_Difference{};
      differences[i].status = status;
    }
  }
  if (global.status != ZOLTI_FITTED) {
    return global.status;
  }
  describe(fit, request.level, global);
  MemberErrors reference, errors;
  const Member& first = fit.members[static_cast<std::size_t>(request.reference)];
  int referenceStatus = first.status;
  if (referenceStatus == ZOLTI_FITTED && !errorsOf(fit, request.reference, reference)) {
    referenceStatus = ZOLTI_UNDETERMINED;
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (fit.members[i].status != ZOLTI_FITTED) {
      continue;
    }
    const int index = static_cast<int>(i);
    const bool determined = errorsOf(fit, index, errors);
    const int status = recordOf(fit, index, errors, fits[i]);
    if (intervals != nullptr) {
      intervals[i].status = status;
      if (status == ZOLTI_FITTED && determined) {
        intervalsOf(fit, index, errors, request.level, intervals[i]);
      }
    }
    if (differences != nullptr) {
      differences[i].status = status != ZOLTI_FITTED ? status : referenceStatus;
      if (differences[i].status == ZOLTI_FITTED && determined) {
        differenceOf(fit, index, request.reference, errors, reference, request.level,
                     differences[i]);
      }
    }
  }
  return global.status;
}

struct Value {
  double value, error;
};

void store(const Value& v, double quantile, double& value, double& error, double* interval) {
  value = v.value;
  error = v.error;
  interval[0] = v.value - quantile * v.error;
  interval[1] = v.value + quantile * v.error;
}

// The fits of the curves alone, as far as they stand.
struct Alone {
  std::vector<ZOLTI_Fit> fits;
  Value meanM{0.0, 0.0};
  double degrees = 0.0;
};

Alone describeAlone(const GlobalFit& global) {
  Alone alone;
  alone.fits.resize(global.members.size());
  double weights = 0.0, sum = 0.0;
  Uncertainty uncertainty;
  for (std::size_t i = 0; i < global.members.size(); ++i) {
    const Member& member = global.members[i];
    clear(alone.fits[i], member.status);
    if (member.status != ZOLTI_FITTED) {
      continue;
    }
    assess(member.setup, member.alone, uncertainty);
    ZOLTI_Fit& fit = alone.fits[i];
    if (fillFit(member.setup, member.alone, uncertainty, fit) == ZOLTI_FITTED &&
        fit.m_se[0] > 0.0) {
      const double weight = 1.0 / (fit.m_se[0] * fit.m_se[0]);
      weights += weight;
      sum += weight * fit.m[0];
      alone.degrees += fit.degrees;
    }
  }
  if (weights > 0.0) {
    alone.meanM = {sum / weights, 1.0 / std::sqrt(weights)};
  }
  return alone;
}

}  // namespace
}  // namespace zolt::inference

extern "C" std::int32_t ZOLTI_fit_global(const ZOLTI_Curve* curves, std::int32_t count,
                                         std::int32_t transitions, std::int32_t share,
                                         const ZOLTI_Options* options, std::int32_t reference,
                                         double level, ZOLTI_Global* global, ZOLTI_Fit* fits,
                                         ZOLTI_Intervals* intervals,
                                         ZOLTI_Difference* differences) noexcept {
  using namespace zolt::inference;
  if (global == nullptr || fits == nullptr) {
    return ZOLTI_BAD_ARGUMENT;
  }
  GlobalFit fit;
  return fitAll({curves, count, transitions, share, options, reference, level}, fit, *global, fits,
                intervals, differences);
}

extern "C" std::int32_t ZOLTI_compare(const ZOLTI_Curve* curves, std::int32_t count,
                                      const ZOLTI_Options* options, std::int32_t reference,
                                      double level, ZOLTI_Global* global, ZOLTI_Fit* fits,
                                      ZOLTI_Comparison* rows) noexcept {
  using namespace zolt::inference;
  if (global == nullptr || fits == nullptr || rows == nullptr) {
    return ZOLTI_BAD_ARGUMENT;
  }
  const auto length = static_cast<std::size_t>(std::clamp(count, 0, int{ZOLTI_MOST_CURVES}));
  GlobalFit fit;
  std::vector<ZOLTI_Difference> differences(length);
  const int status = fitAll({curves, count, 1, ZOLTI_SHARE_M, options, reference, level}, fit,
                            *global, fits, nullptr, differences.data());
  for (std::size_t i = 0; i < length; ++i) {
    rows[i] = ZOLTI_Comparison{};
    rows[i].status = differences[i].status;
  }
  if (status != ZOLTI_FITTED) {
    return status;
  }
  const Alone alone = describeAlone(fit);
  const ZOLTI_Fit& first = alone.fits[static_cast<std::size_t>(reference)];
  for (std::size_t i = 0; i < length; ++i) {
    ZOLTI_Comparison& row = rows[i];
    const ZOLTI_Fit& own = alone.fits[i];
    if (row.status != ZOLTI_FITTED || static_cast<int>(i) == reference) {
      continue;
    }
    const ZOLTI_Difference& difference = differences[i];
    row.dCm = difference.dCm[0];
    row.dCm_se = difference.dCm_se[0];
    std::copy(difference.dCm_interval[0], difference.dCm_interval[0] + 2, row.dCm_interval);
    row.shared_ddG = difference.ddG[0];
    row.shared_se = difference.ddG_se[0];
    std::copy(difference.ddG_interval[0], difference.ddG_interval[0] + 2, row.shared_interval);
    row.mean_m_se = row.plain_se = -1.0;
    if (own.status == ZOLTI_FITTED && first.status == ZOLTI_FITTED && own.dG_se[0] > 0.0 &&
        first.dG_se[0] > 0.0 && own.Cm_se[0] > 0.0 && first.Cm_se[0] > 0.0) {
      const double apart = own.Cm[0] - first.Cm[0];
      const double apartError = std::hypot(own.Cm_se[0], first.Cm_se[0]);
      const Value mean{alone.meanM.value * apart,
                       std::hypot(alone.meanM.value * apartError, alone.meanM.error * apart)};
      const bool known = own.sd_known != 0 && first.sd_known != 0;
      store(mean, known ? normalQuantile(level) : studentQuantile(level, alone.degrees),
            row.mean_m_ddG, row.mean_m_se, row.mean_m_interval);
      const Value plain{own.dG[0] - first.dG[0], std::hypot(own.dG_se[0], first.dG_se[0])};
      store(plain,
            known ? normalQuantile(level) : studentQuantile(level, own.degrees + first.degrees),
            row.plain_ddG, row.plain_se, row.plain_interval);
    }
  }
  return status;
}
