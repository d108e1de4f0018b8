// Array records over a test's own storage.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "zolt_fitting_engine.h"

template <class Record, class Element>
struct OwnedRecord {
  // An empty output record.
  OwnedRecord() : record{nullptr, size, 0, 2, true} {}
  // A view of values to hand in.
  explicit OwnedRecord(std::vector<Element>& values)
      : size{1, static_cast<std::int32_t>(values.size())},
        record{values.data(), size, -1, 2, false} {}
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;
  ~OwnedRecord() {
    if (record.canFreeData) {
      std::free(record.data);
    }
  }

  Record* operator&() { return &record; }
  std::vector<Element> row() const { return {record.data, record.data + size[0] * size[1]}; }

  std::int32_t size[2] = {1, 0};
  Record record;
};

using RealRecord = OwnedRecord<emxArray_real_T, double>;
using IntRecord = OwnedRecord<emxArray_int32_T, std::int32_t>;

// The size pair of a row.
struct RowSize {
  explicit RowSize(std::size_t length) : pair{1, static_cast<std::int32_t>(length)} {}
  operator const std::int32_t*() const { return pair; }
  std::int32_t pair[2];
};
