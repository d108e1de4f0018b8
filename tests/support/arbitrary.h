// Arguments that nobody measures, made from bytes: those of the fuzzer, or any.
#pragma once

#include "exports.h"

// Reads the bytes one after the other. A sequence that depends on all of them follows the last, so
// that the few bytes of a run's first inputs already make whole curves.
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
  // Whether an event of so many chances in 256 happens.
  bool chance(int of256) { return byte() < of256; }
  template <class T>
  T raw() {
    std::uint64_t parts = 0;
    for (std::size_t k = 0; k < sizeof(T); ++k) {
      parts = parts << 8 | byte();
    }
    using Bits =
        std::conditional_t<sizeof(T) == 8, std::uint64_t,
                           std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;
    return std::bit_cast<T>(static_cast<Bits>(parts));
  }
  std::size_t upTo(std::size_t most) { return raw<std::uint16_t>() % (most + 1); }
  double fraction() { return byte() / 255.0; }

  // An ordinary number, a special one or any bits.
  double number() {
    using Limits = std::numeric_limits<double>;
    static constexpr double kSpecial[] = {0.0,   -0.0,          1.0,           -1.0,
                                          kNaN,  kInf,          -kInf,         1e-9,
                                          1e300, Limits::min(), Limits::max(), Limits::denorm_min(),
                                          1e150, 273.15};
    const std::uint8_t kind = byte();
    if (kind < 128) {
      return kind + fraction();
    }
    return kind < 192 ? kSpecial[kind % std::size(kSpecial)] : raw<double>();
  }
  Vector numbers(std::size_t count) {
    Vector row(count);
    std::generate(row.begin(), row.end(), [this] { return number(); });
    return row;
  }
  Whole flags(std::size_t count) {
    Whole row(count);
    for (std::int32_t& flag : row) {
      const std::uint8_t kind = byte();
      flag = kind < 224 ? kind % 2 : raw<std::int32_t>();
    }
    return row;
  }

  // Appends a curve of up to three transitions with a ripple on it. Some are then scaled beyond
  // what squares or quotients allow, turned round or made steps, and some values replaced. Mutation
  // alone hardly finds curves that lead beyond the first tests of an analysis.
  void curve(std::size_t n, Vector& x, Vector& y) {
    static constexpr double kScales[] = {1e307, 1e-310, 1e150, 1e-150, 0.0, -1.0};
    const double reach = 1.0 + 10.0 * fraction(), low = 4.0 * fraction() - 1.0;
    const double rise = 200.0 * (fraction() - 0.3), tilt = fraction() - 0.5;
    const double ripple = chance(128) ? 0.0 : fraction() * fraction() * 0.2;
    const double xScale = chance(40) ? kScales[byte() % std::size(kScales)] : 1.0;
    const double yScale = chance(40) ? kScales[byte() % std::size(kScales)] : 1.0;
    const double offset = chance(10) ? 1e12 : 0.0;
    const bool coarse = chance(20);
    const double sharpness = chance(20) ? 1e4 : 1.0;
    const std::size_t transitions = 1 + byte() % 3;
    double middle[3], steepness[3];
    for (std::size_t t = 0; t < transitions; ++t) {
      middle[t] = reach * fraction();
      steepness[t] = sharpness * (1.0 + 12.0 * fraction());
    }
    for (std::size_t i = 0; i < n; ++i) {
      const double at = reach * static_cast<double>(i) / static_cast<double>(n);
      double denatured = ripple * std::sin(static_cast<double>(7 * i * i % 43));
      for (std::size_t t = 0; t < transitions; ++t) {
        denatured += 1.0 / (1.0 + std::exp(-steepness[t] * (at - middle[t]))) /
                     static_cast<double>(transitions);
      }
      x.push_back(xScale * (coarse ? std::floor(at) : at));
      y.push_back(yScale * (low + tilt * at + rise * denatured) + offset);
    }
    for (std::size_t edits = n == 0 || chance(128) ? 0 : byte() % 8; edits > 0; --edits) {
      Vector& row = byte() % 4 == 0 ? x : y;
      row[row.size() - 1 - upTo(n - 1)] = number();
    }
  }

  // A row as it may be declared: sometimes with a stride, a negative length, or a null pointer.
  Array declared(Vector row) {
    Array array(std::move(row));
    const std::uint8_t kind = byte();
    if (kind >= 250) {
      array.values.clear();
    } else if (kind >= 240) {
      array.values.clear();
      array.size[1] = -static_cast<std::int32_t>(upTo(1000));
    } else if (kind >= 225) {
      array.size[0] = static_cast<std::int32_t>(byte() % 4) - 1;
      const auto stride = static_cast<std::size_t>(std::max(array.size[0], 1));
      array.values.resize(array.values.size() * stride, 0.5);
    }
    return array;
  }

 private:
  std::span<const std::uint8_t> bytes;
  std::uint64_t tail = 0xcbf29ce484222325;
};

// The longest rows of the families whose calls are dear, or whose arguments are many.
inline constexpr std::size_t kMostCurves = 3;
inline constexpr std::size_t kMostFittedCurves = 12;
inline constexpr std::size_t kMostPointsPerCurve = 26;

inline void makeCurve(Bytes& bytes, std::size_t n, Arguments& a) {
  Vector x, y, scale;
  bytes.curve(n, x, y);
  scale.assign(x.size(), 1.0);
  if (bytes.chance(40)) {
    x = bytes.numbers(x.size());
  }
  if (bytes.chance(60)) {
    y = bytes.numbers(bytes.chance(128) ? y.size() : bytes.upTo(40));
    scale = bytes.numbers(bytes.upTo(40));
  }
  a.x = bytes.declared(std::move(x));
  a.y = bytes.declared(std::move(y));
  a.scale = bytes.declared(std::move(scale));
  // Baselines near those that the curve may have, or any.
  a.baselines = bytes.numbers(4);
  if (bytes.chance(128)) {
    a.baselines = {4.0 * bytes.fraction() - 1.0, 0.0, 200.0 * (bytes.fraction() - 0.3), 0.0};
  }
  // A vector as an analysis may have written it, then some elements of any value.
  const double w = bytes.fraction();
  const Vector models[] = {{1, 0.1, 60, -0.2, 5000, 2, 0, 0, 0, 0, 0, 0, 592, 7, 0.99},
                           {1, 0.1, 60, -0.2, 5000, 2, 9000, 4, w, 0, 0, 0, 592, 7, 0.99},
                           {1, 0.1, 60, -0.2, 5000, 2, 9000, 4, w, 15000, 6, w, 592, 7, 0.99}};
  a.result = models[bytes.byte() % std::size(models)];
  a.result.resize(ZOLTA_RESULT_LENGTH);
  for (int edits = bytes.byte() % 6; edits > 0; --edits) {
    a.result[bytes.byte() % ZOLTA_RESULT_LENGTH] = bytes.number();
  }
}

// Curves to fit: lengths that do not match, any labels and masks, short and broken curves.
inline void makeSeries(Bytes& bytes, Arguments& a) {
  const std::size_t curves = bytes.upTo(kMostCurves), n = bytes.upTo(kMostPointsPerCurve);
  for (std::size_t c = 0; c < curves; ++c) {
    bytes.curve(n, a.seriesX, a.seriesY);
  }
  Vector labels(curves);
  if (bytes.chance(36)) {
    a.seriesX.resize(bytes.upTo(curves * n), 0.0);
    a.seriesY.resize(bytes.upTo(curves * n), 0.0);
    labels.resize(bytes.upTo(kMostCurves));
  }
  for (double& label : labels) {
    label = bytes.chance(200) ? 1.0 + bytes.byte() % 3 : bytes.number();
  }
  a.labels = bytes.declared(std::move(labels));
  a.userMask = bytes.chance(128) ? Whole(curves * n, 1) : bytes.flags(bytes.upTo(curves * n));
  a.pointsPerCurve = bytes.chance(230) ? static_cast<std::int32_t>(n) : bytes.byte() - 100;
}

// A fitted series as a primary fit may have left it.
inline void makeFittedSeries(Bytes& bytes, Arguments& a) {
  const std::size_t curves = bytes.upTo(kMostFittedCurves);
  Vector labels(curves);
  for (double& label : labels) {
    label = bytes.chance(200) ? bytes.byte() % 5 : bytes.number();
    Vector r(ZOLTA_RESULT_LENGTH);
    r[ZOLTA_RT] = bytes.chance(220) ? 592.0 : -1.0;
    for (const int k : {ZOLTA_DG1, ZOLTA_DG2, ZOLTA_DG3, ZOLTA_DG1_WIDTH, ZOLTA_DG2_WIDTH}) {
      r[static_cast<std::size_t>(k)] = bytes.chance(220) ? 100.0 * bytes.byte() : bytes.number();
    }
    a.seriesResults.insert(a.seriesResults.end(), r.begin(), r.end());
  }
  a.include = bytes.flags(bytes.chance(230) ? curves : bytes.upTo(kMostFittedCurves));
  if (bytes.chance(26)) {
    a.seriesResults.resize(bytes.upTo(a.seriesResults.size()), 1.0);
  }
  a.labels = bytes.declared(std::move(labels));
  a.trend = bytes.numbers(4);
}

// Arguments for the exports of a family; where they are one curve, of so many points.
inline Arguments argumentsFrom(Bytes& bytes, Family family, std::size_t points) {
  Arguments a;
  if (family == Family::primaryFit) {
    makeSeries(bytes, a);
  } else if (family == Family::calculation || family == Family::seriesCurves) {
    makeFittedSeries(bytes, a);
  } else {
    makeCurve(bytes, points, a);
    a.pointsPerCurve = bytes.raw<std::int32_t>();
  }
  a.n = bytes.chance(230) ? static_cast<std::int32_t>(bytes.upTo(300)) : -bytes.byte();
  a.temperature = bytes.chance(200) ? 25.0 : bytes.number();
  a.states = bytes.byte() % 6;
  a.transition = static_cast<std::int32_t>(bytes.byte() % 6) - 1;
  a.width = bytes.number();
  a.reference = bytes.number();
  a.value = bytes.number();
  return a;
}
