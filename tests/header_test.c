/* The interface as a C compiler sees it: where the fields of the records lie on platforms with
 * 64-bit pointers, and that the two wrapper makers are one entry. Then uses the library as a C
 * program does: a hand-made result drawn into records that grow, with and
 * without storage of the caller's. */
#include "zolt_fitting_engine.h"
/* Twice, since a header may come in by more than one way. */
#include <math.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>

#include "zolt_fitting_engine.h"

static int failures = 0;

static void expect(int holds, const char* what) {
  if (!holds) {
    printf("header_test: %s\n", what);
    ++failures;
  }
}

static void release(emxArray_real_T* record) {
  if (record->canFreeData) {
    free(record->data);
  }
  free(record->size);
  free(record);
}

#define EXPECT_LAYOUT(record)                                                                  \
  expect(sizeof(record) == 32 && offsetof(record, data) == 0 && offsetof(record, size) == 8 && \
             offsetof(record, allocatedSize) == 16 && offsetof(record, numDimensions) == 20 && \
             offsetof(record, canFreeData) == 24,                                              \
         "the layout of " #record)

static void expect_interface(void) {
  typedef void (*entry)(void);
  /* Volatile, as a compiler may hold two names for two addresses. */
  volatile entry real = (entry)ZOLTA_emxCreateWrapper_real_T;
  volatile entry whole = (entry)ZOLTA_emxCreateWrapper_int32_T;
  expect(real == whole, "the two wrapper makers have one address");
  EXPECT_LAYOUT(emxArray_real_T);
  EXPECT_LAYOUT(emxArray_int32_T);
  EXPECT_LAYOUT(emxArray_boolean_T);
  expect(sizeof(bool) == 1, "a boolean takes one byte");
  expect(ZOLTA_RESULT_LENGTH == 24 && ZOLTA_FIT_CODE == 13, "the places of a result");
  expect(ZOLTA_4STATE_THIRDS_WEIGHT2 == 71, "the highest fit code");
}

int main(void) {
  const double x[] = {0.0, 8.0};
  const int32_t size[] = {1, 2};
  double result[ZOLTA_RESULT_LENGTH] = {0.0};
  double storage[4] = {-7.0, -7.0, -7.0, -7.0};
  emxArray_real_T* xFit = ZOLTA_emxCreateWrapper_real_T(storage, 1, 4);
  emxArray_real_T* yFit = ZOLTA_emxCreateWrapper_real_T(NULL, 1, 0);

  result[ZOLTA_NATIVE_INTERCEPT] = 2.0;
  result[ZOLTA_DENATURED_INTERCEPT] = 6.0;
  result[ZOLTA_DG1] = 5000.0;
  result[ZOLTA_CM1] = 4.0;
  result[ZOLTA_RT] = (25.0 + 273.15) * 1.9872;
  expect_interface();
  expect(yFit->data == NULL && yFit->allocatedSize == 0, "an empty wrapper holds nothing");

  ZOLTA_ChemDenatFluorescenceFitCurve(x, size, result, 3, xFit, yFit);
  expect(xFit->data == storage && !xFit->canFreeData, "three points fit the caller's storage");
  expect(xFit->size[0] == 1 && xFit->size[1] == 3, "the grid is a row of three");
  expect(storage[0] == 0.0 && storage[1] == 4.0 && storage[2] == 8.0, "the grid is even");
  expect(storage[3] == -7.0, "nothing beyond the row is written");
  expect(yFit->canFreeData && yFit->allocatedSize == 16, "the empty wrapper grew to 16 elements");
  expect(fabs(yFit->data[1] - 4.0) < 1e-12, "the midpoint lies halfway between the baselines");

  ZOLTA_ChemDenatFDFitCurve(x, size, result, 17, xFit, yFit);
  expect(xFit->data != storage && xFit->canFreeData, "a longer row moves out");
  expect(xFit->allocatedSize == 32 && xFit->size[1] == 17, "seventeen elements take 32 places");
  expect(storage[1] == 4.0, "the caller's storage stays as it was");
  expect(yFit->data[8] == 0.5, "half is denatured at the midpoint");

  release(xFit);
  release(yFit);
  return failures != 0;
}
