#include "frame/array_records.h"

#include <limits>

namespace zolt {

std::int32_t elementCount(const std::int32_t* size, std::int32_t numDimensions) {
  std::uint32_t count = 1;
  for (std::int32_t i = 0; i < numDimensions; ++i) {
    count *= static_cast<std::uint32_t>(size[i]);
  }
  return static_cast<std::int32_t>(count);
}

std::int32_t grownCapacity(std::int32_t allocated, std::int32_t wanted) {
  std::int32_t capacity = allocated < kSmallestCapacity ? kSmallestCapacity : allocated;
  while (capacity < wanted) {
    capacity =
        capacity < kLastDoubledCapacity ? capacity * 2 : std::numeric_limits<std::int32_t>::max();
  }
  return capacity;
}

}  // namespace zolt

extern "C" emxArray_real_T* ZOLTA_emxCreateWrapper_real_T(double* data, int32_t rows,
                                                          int32_t columns) noexcept {
  return zolt::emxCreateWrapper<emxArray_real_T>(data, rows, columns);
}

// A wrapper never looks at its elements, so one entry serves every kind of element.
#if defined(__ELF__)
extern "C" emxArray_int32_T* ZOLTA_emxCreateWrapper_int32_T(int32_t*, int32_t, int32_t) noexcept
    __attribute__((alias("ZOLTA_emxCreateWrapper_real_T")));
#else
extern "C" emxArray_int32_T* ZOLTA_emxCreateWrapper_int32_T(int32_t* data, int32_t rows,
                                                            int32_t columns) noexcept {
  return zolt::emxCreateWrapper<emxArray_int32_T>(data, rows, columns);
}
#endif
