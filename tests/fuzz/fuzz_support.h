// Bytes of the fuzzer as arguments of exports, and what is asserted of every call.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>

#include "../support/every_export.h"

inline void require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "contract broken: %s\n", what);
    std::abort();
  }
}

// Reads the fuzzer's bytes one after the other. A sequence that depends on all of them follows the
// last, so that the few bytes of a run's first inputs already make whole curves.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : bytes(data, size) {
    for (const std::uint8_t one : bytes) {
      tail = (tail ^ one) * 0x100000001b3;
    }
  }

  std::uint8_t byte() {
    if (bytes.empty()) {
      tail = tail * 6364136223846793005 + 1442695040888963407;
      return static_cast<std::uint8_t>(tail >> 56);
    }
    const std::uint8_t first = bytes.front();
    bytes = bytes.subspan(1);
    return first;
  }
  template <class T>
  T raw() {
    std::array<std::uint8_t, sizeof(T)> parts;
    for (std::uint8_t& part : parts) {
      part = byte();
    }
    return std::bit_cast<T>(parts);
  }
  std::size_t upTo(std::size_t most) { return raw<std::uint16_t>() % (most + 1); }
  double fraction() { return byte() / 255.0; }

  // An ordinary number, a special one or any bits.
  double number() {
    using Limits = std::numeric_limits<double>;
    static constexpr double kSpecial[] = {
        0.0,   -0.0,  1.0,           -1.0,          Limits::quiet_NaN(),  Limits::infinity(),
        1e-9,  1e300, Limits::min(), Limits::max(), Limits::denorm_min(), -Limits::infinity(),
        1e150, 273.15};
    const std::uint8_t kind = byte();
    if (kind < 128) {
      return kind + fraction();
    }
    return kind < 192 ? kSpecial[kind % std::size(kSpecial)] : raw<double>();
  }
  std::vector<double> numbers(std::size_t count) {
    std::vector<double> row(count);
    for (double& value : row) {
      value = number();
    }
    return row;
  }
  std::vector<std::int32_t> flags(std::size_t count) {
    std::vector<std::int32_t> row(count);
    for (std::int32_t& flag : row) {
      const std::uint8_t kind = byte();
      flag = kind < 224 ? kind % 2 : raw<std::int32_t>();
    }
    return row;
  }

  // A curve of up to three transitions with a ripple on it; some of its values are then replaced.
  // Mutation alone hardly finds curves that lead beyond the first tests of an analysis.
  void curve(std::size_t n, std::vector<double>& x, std::vector<double>& y) {
    const double reach = 1.0 + 10.0 * fraction();
    const double low = 4.0 * fraction() - 1.0;
    const double rise = 200.0 * (fraction() - 0.3);
    const double tilt = fraction() - 0.5;
    const double ripple = fraction() * fraction() * 0.2;
    const int transitions = 1 + byte() % 3;
    std::array<double, 3> middle;
    std::array<double, 3> steepness;
    for (int t = 0; t < transitions; ++t) {
      middle[static_cast<std::size_t>(t)] = reach * fraction();
      steepness[static_cast<std::size_t>(t)] = 1.0 + 12.0 * fraction();
    }
    for (std::size_t i = 0; i < n; ++i) {
      const double at = reach * static_cast<double>(i) / static_cast<double>(n);
      double denatured = 0.0;
      for (std::size_t t = 0; t < static_cast<std::size_t>(transitions); ++t) {
        denatured += 1.0 / (1.0 + std::exp(-steepness[t] * (at - middle[t]))) / transitions;
      }
      x.push_back(at);
      y.push_back(low + tilt * at + rise * (denatured + ripple * std::sin(double(7 * i * i % 43))));
    }
    for (std::size_t edits = n == 0 ? 0 : byte() % 8; edits > 0; --edits) {
      std::vector<double>& row = byte() % 4 == 0 ? x : y;
      row[row.size() - 1 - upTo(n - 1)] = number();
    }
  }

 private:
  std::span<const std::uint8_t> bytes;
  std::uint64_t tail = 0xcbf29ce484222325;
};

// A row as it may be declared: sometimes with a stride, a negative length, or a null pointer.
inline Array declared(std::vector<double> row, Bytes& bytes) {
  Array array(std::move(row));
  const std::uint8_t kind = bytes.byte();
  if (kind >= 250) {
    array.values.clear();
  } else if (kind >= 240) {
    array.values.clear();
    array.size[1] = -static_cast<std::int32_t>(bytes.upTo(1000));
  } else if (kind >= 225) {
    array.size[0] = static_cast<std::int32_t>(bytes.byte() % 4) - 1;
    const auto stride = static_cast<std::size_t>(std::max(array.size[0], 1));
    array.values.resize(array.values.size() * stride, 0.5);
  }
  return array;
}

template <std::size_t Count>
std::vector<const Export*> exportsOf(const Family (&families)[Count]) {
  std::vector<const Export*> rows;
  for (const Export& entry : kExports) {
    if (std::find(families, families + Count, entry.family) != families + Count) {
      rows.push_back(&entry);
    }
  }
  return rows;
}

// Calls the export and returns its outputs once they have kept what all outputs keep.
inline void callAndCheck(const Export& entry, const Arguments& arguments, CallSite& site) {
  const std::string fault = faultOfTwoCalls(entry, arguments, Placement::heap, site);
  require(fault.empty(), fault.c_str());
}
