// Sentences of the statuses, usual options, sizes of the records.
#include <array>

#include "inference/setup.h"

namespace {

// In the order of the statuses.
constexpr std::array<const char*, ZOLTI_STATUS_COUNT> kSentences = {
    "The fit has the least sum of squares.",
    "A curve without a transition describes the readings as well.",
    "The readings leave a combination of the parameters open, so that there are no errors.",
    "The search ended before it reached the least sum of squares.",
    "There are too few readings: at least one more than free parameters is needed.",
    "There are more than 384 readings.",
    "There are too few different concentrations: at least as many as free parameters are needed.",
    "All readings are equal.",
    "The signals or concentrations span a range too small or too large to calculate with.",
    "The temperature has to lie between 0 and 100 degrees Celsius.",
    "Standard deviations have to be above 0 and within a factor of a million of one another.",
    "The values held contradict one another, or no curve within the bounds can have them.",
    "A baseline is of unknown kind, or its given intercept or slope is not a finite number.",
    "The bounds leave no room between them.",
    "An argument is missing, unknown or of another release.",
    "Fewer than two of the curves can be fitted, so that nothing is shared.",
};

constexpr std::array<std::int32_t, ZOLTI_SIZE_COUNT> kSizes = {
    sizeof(ZOLTI_Curve),      sizeof(ZOLTI_Options),   sizeof(ZOLTI_Fit),
    sizeof(ZOLTI_Evidence),   sizeof(ZOLTI_Intervals), sizeof(ZOLTI_Global),
    sizeof(ZOLTI_Difference), sizeof(ZOLTI_Comparison)};

}  // namespace

extern "C" void ZOLTI_options(ZOLTI_Options* options) noexcept {
  if (options != nullptr) {
    *options = zolt::inference::usualOptions();
  }
}

extern "C" std::int32_t ZOLTI_size(std::int32_t record) noexcept {
  return record >= 0 && record < ZOLTI_SIZE_COUNT ? kSizes[record] : 0;
}

extern "C" const char* ZOLTI_sentence(std::int32_t status) noexcept {
  return status >= 0 && status < ZOLTI_STATUS_COUNT ? kSentences[status]
                                                    : "This status is unknown to the library.";
}
