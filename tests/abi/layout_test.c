/* The binary interface beside the names: where the fields of the records lie, and that the two
 * wrapper makers are one entry. The figures are those of platforms with 64-bit pointers. */
#include <stddef.h>
#include <stdio.h>

#include "zolt_fitting_engine.h"

typedef void (*entry)(void);

struct row {
  const char* what;
  size_t found;
  size_t wanted;
};

#define RECORD_ROWS(record)                                                    \
  {#record, sizeof(record), 32}, {#record ".data", offsetof(record, data), 0}, \
      {#record ".size", offsetof(record, size), 8},                            \
      {#record ".allocatedSize", offsetof(record, allocatedSize), 16},         \
      {#record ".numDimensions", offsetof(record, numDimensions), 20}, {       \
#record ".canFreeData", offsetof(record, canFreeData), 24                  \
  }

static const struct row rows[] = {
    RECORD_ROWS(emxArray_real_T),
    RECORD_ROWS(emxArray_int32_T),
    RECORD_ROWS(emxArray_boolean_T),
    {"bool", sizeof(bool), 1},
    {"elements of a result", ZOLTA_RESULT_LENGTH, 24},
    {"place of the fit code", ZOLTA_FIT_CODE, 13},
    {"highest fit code", ZOLTA_4STATE_THIRDS_WEIGHT2, 71},
};

int main(void) {
  /* Volatile, as a compiler may hold two names for two addresses. */
  volatile entry real = (entry)ZOLTA_emxCreateWrapper_real_T;
  volatile entry int32 = (entry)ZOLTA_emxCreateWrapper_int32_T;
  size_t i;
  int failures = 0;

  for (i = 0; i < sizeof(rows) / sizeof(rows[0]); ++i) {
    if (rows[i].found != rows[i].wanted) {
      printf("layout_test: %s: got %lu, wanted %lu\n", rows[i].what, (unsigned long)rows[i].found,
             (unsigned long)rows[i].wanted);
      ++failures;
    }
  }
  if (real != int32) {
    printf("layout_test: the two wrapper makers have different addresses\n");
    ++failures;
  }
  return failures != 0;
}
