// The evidence for the number of states in a sentence.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "inference/evidence.h"
#include "zolt_inference.h"

namespace {

using zolt::inference::kChancesOfState;
using zolt::inference::kChancesOfTransition;
using zolt::inference::kWaves;

constexpr const char* kStates[] = {"No", "One", "Two", "Three", "Four"};
constexpr const char* kOrdinals[] = {"", "", "second", "third", "fourth"};
constexpr const char* kPlain[] = {"A straight line", "A parabola", "A single exponential"};

// A sentence put together in a buffer that is never overrun.
class Sentence {
 public:
  template <class... Values>
  void add(const char* format, Values... values) {
    const int room = static_cast<int>(sizeof text_) - length_;
    const int wanted =
        std::snprintf(text_ + length_, static_cast<std::size_t>(room), format, values...);
    length_ += std::clamp(wanted, 0, room - 1);
  }
  void add(const char* words) { add("%s", words); }
  int copyTo(char* buffer, int size) const {
    if (buffer != nullptr && size > 0) {
      const int copied = std::min(length_, size - 1);
      std::copy(text_, text_ + copied, buffer);
      buffer[copied] = '\0';
    }
    return length_;
  }

 private:
  char text_[ZOLTI_SENTENCE_LENGTH] = "";
  int length_ = 0;
};

// The row that ended the decision: the first after the taken model that was looked at.
const ZOLTI_EvidenceRow* ending(const ZOLTI_Evidence& evidence) {
  for (int model = ZOLTI_MODEL_TWO_STATES + evidence.states - 1; model < ZOLTI_MODEL_COUNT;
       ++model) {
    if (evidence.row[model].outcome != ZOLTI_NOT_TRIED) {
      return &evidence.row[model];
    }
  }
  return nullptr;
}

void tellWhyNoMore(const ZOLTI_Evidence& evidence, const ZOLTI_EvidenceRow& next,
                   const ZOLTI_EvidenceRow& taken, Sentence& to) {
  const char* ordinal = kOrdinals[next.states];
  switch (next.outcome) {
    case ZOLTI_FEW_READINGS:
      to.add(" %d readings: %d are needed to look for a %s state.", evidence.readings,
             next.states == 3 ? 18 : 24, ordinal);
      break;
    case ZOLTI_NO_NEED:
      if (taken.durbin_watson >= 2.0) {
        to.add(" The residuals are noise (Durbin-Watson %.1f); no %s is looked for.",
               taken.durbin_watson, ordinal);
      } else {
        to.add(" The residuals are below 0.3 %% of the span; no %s is looked for.", ordinal);
      }
      break;
    case ZOLTI_SMALL_GAIN:
      to.add(" A %s lowers the residuals no more than noise does (p = %.2g, not below %g).",
             ordinal, next.p, kChancesOfState.all);
      break;
    case ZOLTI_ONE_READING:
      to.add(" The gain of a %s hangs on the reading at %.4g (p = %.2g without it, not below %g).",
             ordinal, next.x_without, next.p_without, kChancesOfState.without);
      break;
    case ZOLTI_SMALL_WEIGHT:
      to.add(" A %s would carry only %.0f %% of the change.", ordinal, 100.0 * next.least_weight);
      break;
    case ZOLTI_NOT_APART:
      to.add(" The midpoints of a %s would be only %.1f standard errors apart.", ordinal,
             next.apart);
      break;
    case ZOLTI_INCOMPLETE:
      to.add(" A %s would begin before or end after the readings.", ordinal);
      break;
    default:
      to.add(" A %s has no sound fit.", ordinal);
  }
}

void tell(const ZOLTI_Evidence& evidence, Sentence& to) {
  const ZOLTI_EvidenceRow& two = evidence.row[ZOLTI_MODEL_TWO_STATES];
  if (evidence.status == ZOLTI_NO_TRANSITION && two.against >= 0 && two.against <= 2) {
    to.add("No transition. %s describes the readings as well as two states do ",
           kPlain[two.against]);
    if (two.p >= kChancesOfTransition.all) {
      to.add("(p = %.2g, not below %g).", two.p, kChancesOfTransition.all);
    } else {
      to.add("(p = %.2g without the reading at %.4g, not below %g).", two.p_without, two.x_without,
             kChancesOfTransition.without);
    }
    return;
  }
  if (evidence.states < 2 || evidence.states > 4) {
    to.add(ZOLTI_sentence(evidence.status));
    return;
  }
  const ZOLTI_EvidenceRow& taken = evidence.row[ZOLTI_MODEL_TWO_STATES + evidence.states - 2];
  const ZOLTI_EvidenceRow* next = ending(evidence);
  if (next != nullptr && next->tried != 0 && taken.durbin_watson < kWaves) {
    to.add(
        "%s states, not fully: residuals wave (Durbin-Watson %.1f), but no further transition "
        "is resolved; a curved baseline looks the same.",
        kStates[evidence.states], taken.durbin_watson);
    return;
  }
  to.add("%s states.", kStates[evidence.states]);
  if (evidence.states > 2) {
    to.add(" The %s transition lowers the residuals more than noise does (p = %.2g).",
           kOrdinals[evidence.states - 1], std::max(taken.p, taken.p_without));
  }
  if (next != nullptr) {
    tellWhyNoMore(evidence, *next, taken, to);
  }
}

}  // namespace

extern "C" std::int32_t ZOLTI_evidence_sentence(const ZOLTI_Evidence* evidence, char* buffer,
                                                std::int32_t size) noexcept {
  Sentence sentence;
  if (evidence != nullptr) {
    tell(*evidence, sentence);
  } else {
    sentence.add(ZOLTI_sentence(ZOLTI_BAD_ARGUMENT));
  }
  return sentence.copyTo(buffer, size);
}
