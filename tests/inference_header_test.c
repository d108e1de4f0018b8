/* Uses the inference library as a C program does, and checks that its records have no gaps. */
#include "zolt_inference.h"
/* Twice, since a header may come in by more than one way. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "zolt_inference.h"

static int failures = 0;

static void expect(int holds, const char* what) {
  if (!holds) {
    printf("inference_header_test: %s\n", what);
    ++failures;
  }
}

int main(void) {
  /* Of a protein with dG 6 kcal/mol and Cm 4, without noise. */
  const double x[] = {0, 1, 2, 3, 3.5, 4, 4.5, 5, 6, 7, 8};
  const double y[] = {4.0087e-05, 4.9917e-04, 6.1813e-03,  7.2580e-02, 2.1853e-01, 0.5,
                      7.8147e-01, 9.2742e-01, 9.93819e-01, 9.9950e-01, 9.9996e-01};
  ZOLTI_Curve curve = {0};
  ZOLTI_Fit fit;
  curve.x = x;
  curve.y = y;
  curve.n = (int32_t)(sizeof x / sizeof *x);
  curve.temperature = 25.0;

  expect(ZOLTI_fit(&curve, 1, NULL, &fit, NULL, NULL) == ZOLTI_FITTED, "the curve has a fit");
  expect(fit.Cm[0] > 3.999 && fit.Cm[0] < 4.001, "its midpoint is 4");
  expect(fit.dG[0] > 5950.0 && fit.dG[0] < 6050.0, "its dG is 6 kcal/mol");
  expect(strlen(ZOLTI_sentence(-1)) > 0, "an unknown status has a sentence");
  expect(ZOLTI_size(ZOLTI_SIZE_FIT) == (int32_t)sizeof(ZOLTI_Fit), "sizes are told");
  expect(ZOLTI_size(ZOLTI_SIZE_COUNT) == 0, "an unknown record has none");
  expect(offsetof(ZOLTI_Fit, RT) == 12 * sizeof(int32_t), "doubles follow the integers");
  expect(offsetof(ZOLTI_Options, baseline) == 6 * sizeof(int32_t), "in the options as well");
  expect(offsetof(ZOLTI_EvidenceRow, sse) == 8 * sizeof(int32_t), "in rows of evidence as well");
  return failures != 0;
}
