// ZOLTI_decide: models of growing size, each against the ones before.
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "inference/evidence.h"
#include "inference/plain_models.h"
#include "zolt_fitting_engine.h"

namespace zolt::inference {
namespace {

constexpr double kNoise = 2.0;     // Durbin-Watson at and above which residuals do not wave
constexpr double kSmooth = 0.003;  // residual deviation, of the span, that needs no explanation
constexpr int kFewest[] = {0, 18, 24};  // readings for one, two and three transitions

double deviation(const Candidate& one, int n) {
  return std::sqrt(one.sse / std::max(n - one.parameters, 1));
}

class Decision {
 public:
  Decision(const ZOLTI_Curve& curve, const Setup& setup, ZOLTI_Evidence& evidence)
      : curve_(curve), setup_(setup), evidence_(evidence) {}

  // The candidate that the readings show, or null if no two-state fit was found at all.
  Candidate* run(int mostStates) {
    best_ = &candidate(0);
    fitTransitions(0, Analysis::full);
    evidence_.states = 2;
    row(0).outcome = againstPlain(*best_, &row(0));
    // Two transitions may look like a line to one; so more are looked for either way.
    if (best_->solution.found && !engineRefused()) {
      for (int transitions = 2; transitions < mostStates; ++transitions) {
        if (!tryMore(transitions)) {
          break;
        }
      }
    }
    if (row(0).outcome != ZOLTI_PASSED && best_ != &candidate(0)) {
      const int outcome = againstPlain(*best_, nullptr);
      if (outcome != ZOLTI_PASSED) {
        row(evidence_.states - 2).outcome = outcome;
        best_ = &candidate(0);
      }
    }
    if (best_ == &candidate(0) && row(0).outcome != ZOLTI_PASSED) {
      evidence_.states = 0;
    }
    compareCriteria();
    return best_;
  }

 private:
  Candidate& candidate(int index) {
    if (!candidates_[index]) {
      candidates_[index] = std::make_unique<Candidate>();
    }
    return *candidates_[index];
  }
  ZOLTI_EvidenceRow& row(int index) { return evidence_.row[ZOLTI_MODEL_TWO_STATES + index]; }

  bool engineRefused() const {
    const auto& vector = candidates_[0]->solution.engine;
    const int code = static_cast<int>(vector[ZOLTA_FIT_CODE]);
    return code == ZOLTA_CODE_BAD_INPUT || code == ZOLTA_CODE_NO_TRANSITION;
  }

  void fillRow(const Candidate& one, ZOLTI_EvidenceRow& to) {
    const int n = setup_.readings.n;
    to.tried = 1;
    to.sound = one.sound;
    to.parameters = one.parameters;
    to.sse = one.sse * setup_.readings.sseUnit;
    to.residual_sd = std::sqrt(to.sse / std::max(n - one.parameters, 1));
    to.durbin_watson = durbinWatson(one.residuals);
    const bool known = aicc(one.sse, n, one.parameters, to.aicc);
    to.aicc_difference = known ? 0.0 : -1.0;
  }

  void fitTransitions(int index, Analysis analysis) {
    Candidate& one = candidate(index);
    one.model = ZOLTI_MODEL_TWO_STATES + index;
    const int transitions = index + 1;
    one.solution = leastSquares(curve_, setup_, transitions, analysis,
                                index > 0 ? &candidate(0).solution.shape : nullptr);
    one.parameters = setup_.freeCount(transitions);
    if (!one.solution.found) {
      return;
    }
    assess(setup_, one.solution, one.uncertainty);
    one.sse = one.solution.sse;
    one.residuals = one.uncertainty.residuals;
    one.sound = one.solution.converged && one.uncertainty.determined;
    fillRow(one, row(index));
    if (one.solution.engine[ZOLTA_FIT_CODE] > 0.0) {
      row(index).engine_code = static_cast<int>(one.solution.engine[ZOLTA_FIT_CODE]);
    }
  }

  void fillComparison(const Comparison& result, int against, ZOLTI_EvidenceRow& to) {
    to.against = against;
    to.F = result.F;
    to.p = result.p;
    to.p_without = result.pWithout;
    to.x_without = result.xWithout;
    to.least_weight = result.leastWeight;
    to.apart = result.apart;
  }

  // Whether a model is to be preferred to every curve without a transition. The row, where there
  // is one, tells of the curve that comes nearest: one that serves as well, if any does.
  int againstPlain(const Candidate& larger, ZOLTI_EvidenceRow* to) {
    int outcome = ZOLTI_PASSED;
    std::pair<bool, double> nearest = {false, -1.0};  // whether it stayed unbeaten, and its chance
    for (int model = ZOLTI_MODEL_LINE; model <= ZOLTI_MODEL_EXPONENTIAL; ++model) {
      Candidate plain;
      plain.model = model;
      plain.sound = true;
      plain.parameters = plainParameters(model);
      const PlainFit fit = fitPlain(setup_.readings, model);
      plain.sse = fit.sse;
      plain.residuals = fit.residuals;
      fillRow(plain, evidence_.row[model]);
      if (!larger.solution.found) {
        outcome = ZOLTI_UNSOUND;
        continue;
      }
      const Comparison result = compare(setup_, plain, larger, kChancesOfTransition);
      const bool unbeaten = result.outcome != ZOLTI_PASSED;
      const std::pair near = {unbeaten, std::max(result.p, result.pWithout)};
      if (to != nullptr && near > nearest) {
        fillComparison(result, model, *to);
        nearest = near;
      }
      if (unbeaten && outcome != ZOLTI_SERVES_AS_WELL) {
        outcome = result.outcome == ZOLTI_UNSOUND ? ZOLTI_UNSOUND : ZOLTI_SERVES_AS_WELL;
      }
    }
    return outcome;
  }

  // One transition more. The answer is whether to look further.
  bool tryMore(int index) {
    const int transitions = index;
    ZOLTI_EvidenceRow& mine = row(transitions - 1);
    const int n = setup_.readings.n;
    if (n < kFewest[transitions - 1] || enoughFor(setup_, transitions) != ZOLTI_FITTED) {
      mine.outcome = ZOLTI_FEW_READINGS;
      return false;
    }
    const double waves = durbinWatson(best_->residuals);
    if (waves >= kNoise || waves < 0.0 || deviation(*best_, n) <= kSmooth) {
      mine.outcome = ZOLTI_NO_NEED;
      return false;
    }
    fitTransitions(transitions - 1, Analysis::light);
    Candidate& larger = candidate(transitions - 1);
    Comparison result = compare(setup_, *best_, larger, kChancesOfState);
    fillComparison(result, best_->model, mine);
    if (transitions == 3 && result.outcome == ZOLTI_PASSED && best_ == &candidate(0) &&
        candidate(1).sound) {
      const Comparison second = compare(setup_, candidate(1), larger, kChancesOfState);
      if (second.outcome != ZOLTI_PASSED) {
        fillComparison(second, candidate(1).model, mine);
        result.outcome = second.outcome;
      }
    }
    mine.outcome = result.outcome;
    if (result.outcome == ZOLTI_PASSED) {
      best_ = &larger;
      evidence_.states = transitions + 1;
      return true;
    }
    return transitions == 2 && waves < kWaves;
  }

  void compareCriteria() {
    double least = 0.0;
    bool any = false;
    for (const ZOLTI_EvidenceRow& one : evidence_.row) {
      if (one.tried != 0 && one.aicc_difference >= 0.0 && (!any || one.aicc < least)) {
        least = one.aicc;
        any = true;
      }
    }
    for (ZOLTI_EvidenceRow& one : evidence_.row) {
      if (one.tried != 0 && one.aicc_difference >= 0.0) {
        one.aicc_difference = one.aicc - least;
      }
    }
  }

  const ZOLTI_Curve& curve_;
  const Setup& setup_;
  ZOLTI_Evidence& evidence_;
  std::array<std::unique_ptr<Candidate>, kMostTransitions> candidates_;
  Candidate* best_ = nullptr;
};

void clearEvidence(ZOLTI_Evidence& evidence, int status) {
  evidence = ZOLTI_Evidence{};
  evidence.status = status;
  for (int model = 0; model < ZOLTI_MODEL_COUNT; ++model) {
    ZOLTI_EvidenceRow& row = evidence.row[model];
    row.model = model;
    row.states = model < ZOLTI_MODEL_TWO_STATES ? 0 : model - ZOLTI_MODEL_TWO_STATES + 2;
    row.outcome = model <= ZOLTI_MODEL_TWO_STATES ? ZOLTI_PASSED : ZOLTI_NOT_TRIED;
    row.engine_code = row.against = -1;
    for (double* value : {&row.sse, &row.residual_sd, &row.durbin_watson, &row.aicc_difference,
                          &row.F, &row.p, &row.p_without, &row.least_weight, &row.apart}) {
      *value = -1.0;
    }
  }
}

}  // namespace
}  // namespace zolt::inference

extern "C" std::int32_t ZOLTI_decide(const ZOLTI_Curve* curve, std::int32_t mostStates,
                                     const ZOLTI_Options* options, ZOLTI_Evidence* evidence,
                                     ZOLTI_Fit* fit, double* residual, double* leverage) noexcept {
  using namespace zolt::inference;
  if (curve == nullptr || evidence == nullptr || fit == nullptr) {
    return ZOLTI_BAD_ARGUMENT;
  }
  Setup setup;
  int status = ZOLTI_BAD_ARGUMENT;
  if (mostStates >= 2 && mostStates <= kMostTransitions + 1) {
    status = prepare(curve, options, setup);
  }
  if (status == ZOLTI_FITTED) {
    status = enoughFor(setup, 1);
  }
  clear(*fit, status);
  clearEvidence(*evidence, status);
  fillReadings(*curve, setup, nullptr, residual, leverage);
  evidence->readings = fit->readings = setup.readings.n;
  fit->missing = setup.readings.missing;
  if (status != ZOLTI_FITTED) {
    return status;
  }
  Decision decision(*curve, setup, *evidence);
  Candidate* best = decision.run(mostStates);
  if (!best->solution.found) {
    return fit->status = evidence->status = ZOLTI_NOT_CONVERGED;
  }
  status = fillFit(setup, best->solution, best->uncertainty, *fit);
  if (evidence->row[ZOLTI_MODEL_TWO_STATES].outcome == ZOLTI_SERVES_AS_WELL &&
      evidence->states == 0) {
    status = ZOLTI_NO_TRANSITION;
  }
  fillReadings(*curve, setup, &best->uncertainty, residual, leverage);
  return fit->status = evidence->status = status;
}
