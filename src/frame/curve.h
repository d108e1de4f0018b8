// Views of the caller's storage: rows by size pair, and the curve that every analysis works on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace zolt {

using Row = std::span<const double>;

// The largest curve that the forms behind records accept, in points.
inline constexpr int kLargestCurve = 384;

// The length told by a size pair (rows, columns): its second entry, never negative.
inline std::size_t lengthOf(const std::int32_t* size) {
  return size[1] > 0 ? static_cast<std::size_t>(size[1]) : 0;
}

// A row of plain storage with its size pair.
template <class Element>
std::span<const Element> rowView(const Element* data, const std::int32_t* size) {
  return {data, data == nullptr ? 0 : lengthOf(size)};
}

// The elements of a record that holds a row.
template <class Record>
auto rowView(const Record* record) {
  return rowView(static_cast<const std::remove_pointer_t<decltype(record->data)>*>(record->data),
                 record->size);
}

// Storage read with a stride: element i stands at data[stride * i]. A negative stride counts as 0,
// which keeps every read inside the storage.
struct StridedRow {
  const double* data;
  std::size_t stride;
  double operator[](std::size_t i) const { return data[stride * i]; }
};

inline StridedRow stridedView(const double* data, const std::int32_t* size) {
  return {data, size[0] > 0 ? static_cast<std::size_t>(size[0]) : 0};
}

// One denaturation curve: signal y at ascending concentrations x.
struct Curve {
  Row x;
  Row y;
  std::size_t yStride = 1;  // of the reads that pick out the first and last five points

  int points() const { return static_cast<int>(x.size()); }
  double lastX() const { return x.back(); }
  double lastY() const { return y.back(); }

  // The `count` points from index `first` on.
  Curve part(std::size_t first, std::size_t count) const {
    return {x.subspan(first, count), y.subspan(first, count)};
  }
};

inline Curve curveView(const double* x, const std::int32_t* xSize, const double* y,
                       const std::int32_t* ySize) {
  return {rowView(x, xSize), rowView(y, ySize), stridedView(y, ySize).stride};
}

}  // namespace zolt
