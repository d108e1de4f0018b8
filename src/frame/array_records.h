// The array records that cross the library's boundary: growth, release, and rows as outputs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "zolt_fitting_engine.h"

namespace zolt {

// The smallest buffer a record grows to; further growth doubles it.
inline constexpr std::int32_t kSmallestCapacity = 16;

// The capacity after which doubling would leave the range of a 32-bit count.
inline constexpr std::int32_t kLastDoubledCapacity = 0x40000000;

// Element count of the extents in `size`, in wrapping 32-bit arithmetic.
std::int32_t elementCount(const std::int32_t* size, std::int32_t numDimensions);

// The capacity that a record of `allocated` elements grows to when it must hold `wanted`.
std::int32_t grownCapacity(std::int32_t allocated, std::int32_t wanted);

// Allocates an empty record that owns its future data.
template <class Record>
void emxInit(Record** record, std::int32_t numDimensions) {
  auto* made = static_cast<Record*>(std::malloc(sizeof(Record)));
  made->data = nullptr;
  made->size = static_cast<std::int32_t*>(
      std::calloc(static_cast<std::size_t>(numDimensions), sizeof(std::int32_t)));
  made->allocatedSize = 0;
  made->numDimensions = numDimensions;
  made->canFreeData = true;
  *record = made;
}

// Releases a record and, when it owns them, its elements. A null pointer is left alone.
template <class Record>
void emxFree(Record** record) {
  if (*record == nullptr) {
    return;
  }
  if ((*record)->data != nullptr && (*record)->canFreeData) {
    std::free((*record)->data);
  }
  std::free((*record)->size);
  std::free(*record);
  *record = nullptr;
}

// Makes room for the extents already written in `size`. The first `oldCount` elements are carried
// over when the buffer has to move; a record over the caller's memory then becomes an owner, and
// the caller's buffer stays as it was. A record never shrinks.
template <class Record>
void emxEnsureCapacity(Record* record, std::int32_t oldCount, std::size_t elementSize) {
  const std::int32_t wanted = elementCount(record->size, record->numDimensions);
  if (wanted <= record->allocatedSize) {
    return;
  }
  const std::int32_t capacity = grownCapacity(record->allocatedSize, wanted);
  void* grown = std::calloc(static_cast<std::size_t>(capacity), elementSize);
  if (record->data != nullptr) {
    const std::size_t kept = static_cast<std::size_t>(oldCount < 0 ? 0 : oldCount) * elementSize;
    const auto* from = reinterpret_cast<const unsigned char*>(record->data);
    auto* to = static_cast<unsigned char*>(grown);
    for (std::size_t i = 0; i < kept; ++i) {
      to[i] = from[i];
    }
    if (record->canFreeData) {
      std::free(record->data);
    }
  }
  record->data = static_cast<decltype(record->data)>(grown);
  record->allocatedSize = capacity;
  record->canFreeData = true;
}

// A record of two dimensions over elements that stay the caller's.
template <class Record, class Element>
Record* emxCreateWrapper(Element* data, std::int32_t rows, std::int32_t columns) {
  Record* record = nullptr;
  emxInit(&record, 2);
  record->size[0] = rows;
  record->size[1] = columns;
  record->data = data;
  record->allocatedSize = elementCount(record->size, 2);
  record->canFreeData = false;
  return record;
}

// Makes an output record a row of `length` elements, whose values the caller then writes.
template <class Record>
auto resizeRow(Record* record, std::int32_t length) {
  record->size[0] = 1;
  record->size[1] = length < 0 ? 0 : length;
  emxEnsureCapacity(record, 0, sizeof(*record->data));
  return std::span(record->data, static_cast<std::size_t>(record->size[1]));
}

// The same with zeros as values.
template <class Record>
auto zeroRow(Record* record, std::int32_t length) {
  const auto row = resizeRow(record, length);
  std::fill_n(row.data(), row.size(), 0);
  return row;
}

}  // namespace zolt
