#include "result_hash.h"

#include "support/exports.h"
#include "support/generated_curves.h"

namespace {

// FNV-1a over bytes, the least significant one first.
struct Hash {
  std::uint64_t state = 0xcbf29ce484222325u;
  bool anyNaN = true;  // else all of them count as one, since processors differ in their signs

  void add(std::uint64_t word) {
    for (int byte = 0; byte < 8; ++byte) {
      state = (state ^ (word >> (8 * byte) & 0xff)) * 0x100000001b3u;
    }
  }
  void add(double value) { add(bitsOf(anyNaN || value == value ? value : kNaN)); }
  void add(std::int32_t value) {
    add(static_cast<std::uint64_t>(static_cast<std::uint32_t>(value)));
  }
  template <class Element>
  void add(const std::vector<Element>& row) {
    add(static_cast<std::uint64_t>(row.size()));
    for (const Element& element : row) {
      add(element);
    }
  }
  // All outputs of a call but its size pairs.
  void add(const CallSite& site) {
    for (std::size_t k = 0; k < site.count(); ++k) {
      if (site.holds(k) == CallSite::Holds::doubles) {
        add(site.real(k));
      } else if (site.holds(k) == CallSite::Holds::integers) {
        add(site.whole(k));
      }
    }
  }
};

struct Call : Called {
  Call(const std::string& name, const Arguments& a) : Called(name, a, Placement::shared) {}
};

// The slowest entries take every third curve; the rest take all.
void addAnalyses(Hash& hash, Arguments& a, int index) {
  for (const char* name :
       {"2state", "2state_chalf", "3state", "3state_chalf", "4state", "4state_chalf"}) {
    if (name == std::string("4state") && index % 3 != 0) {
      continue;
    }
    a.result = Call(name, a).real(0);
    hash.add(a.result);
    a.n = 21;
    for (const char* curve : {"Fluorescence", "FD", "FirstDerivative"}) {
      hash.add(Call("ChemDenat" + std::string(curve) + "FitCurve", a));
    }
    hash.add(Call("ChemDenatOutlierRemoval", a));
  }
  for (const char* states : {"2", "3", "4"}) {
    if (*states != '4' || index % 3 == 1) {
      hash.add(Call(states + std::string("state_user_set_baselines"), a));
    }
  }
}

void addTools(Hash& hash, Arguments& a, double width) {
  const auto n = static_cast<std::int32_t>(a.x.length());
  hash.add(Call("ChemDenatModelPicker", a).whole(0)[0]);
  hash.add(Call("ChemDenatKillSpikes", a));
  a.width = width;
  hash.add(Call("emission_smooth", a));
  a.reference = a.y.values[0];
  a.value = 1.0;
  const Array normalised = Call("dGtrend_normalization", a).real(0);
  hash.add(normalised.values);
  Arguments calibration = a;
  calibration.scale = a.y;
  calibration.y = normalised;
  hash.add(Call("pHequation", calibration));
  a.scale = normalised;
  a.n = 9;
  for (const char* fit : {"mfit1storder", "mfit2ndorder", "mfitlog"}) {
    hash.add(Call(fit, a));
  }
  a.n = 1;
  a.pointsPerCurve = n;
  hash.add(Call("emxCreateWrapper_real_T", a).whole(0)[2]);
  std::swap(a.n, a.pointsPerCurve);
  hash.add(Call("emxCreateWrapper_int32_T", a).whole(0)[0]);
}

void addTrend(Hash& hash, Arguments& a) {
  a.n = 11;
  for (const char* form : {"dGtrend_calc", "dGagg_calc"}) {
    const Call calculated(form, a);
    hash.add(calculated);
    a.trend = calculated.real(4);
    for (const char* curve :
         {"dGtrend_trend", "dGagg_trend", "dGtrend_fd", "dGtrend_fragg", "dGtrend_fraggfd"}) {
      hash.add(Call(curve, a));
    }
  }
}

// A series of curves of one shape at growing labels, the first label twice.
void addSeries(Hash& hash, int states, std::uint64_t seed) {
  Arguments a;
  a.labels = Vector{1, 1, 2, 4};
  a.include = Whole{1, 1, 0, 1};
  a.states = states;
  a.transition = 1 + static_cast<std::int32_t>(seed % 3);
  a.pointsPerCurve = 30;
  Whole userMask;
  for (std::size_t c = 0; c < a.labels.length(); ++c) {
    const GeneratedCurve curve = generateCurve(
        {.points = a.pointsPerCurve, .transitions = states - 1, .noise = 0.004}, seed + c);
    a.seriesX.insert(a.seriesX.end(), curve.x.begin(), curve.x.end());
    a.seriesY.insert(a.seriesY.end(), curve.y.begin(), curve.y.end());
    for (std::uint64_t i = 0; i < curve.x.size(); ++i) {
      userMask.push_back((i + seed) % 11 != 5);
    }
  }
  a.userMask = std::move(userMask);
  for (const char* form : {"dGtrend_primaryFit", "dGagg_primaryFit"}) {
    const Call fitted(form, a);
    hash.add(fitted);
    a.seriesResults = fitted.real(0);
    addTrend(hash, a);
  }
  for (const char* form : {"dGtrend_user_primaryFit", "dGagg_user_primaryFit"}) {
    hash.add(Call(form, a));
  }
}

Arguments argumentsOf(const GeneratedCurve& curve) {
  Arguments a;
  a.x = curve.x;
  a.y = curve.y;
  a.baselines.assign(curve.baselines, curve.baselines + 4);
  a.temperature = curve.temperature;
  return a;
}

// A few points of a curve, scaled to where squares and quotients end, turned round, or with a value
// that nobody measures. Some are left as they are.
GeneratedCurve oddCurve(int index) {
  constexpr double kScales[] = {1.0, 1e-90, 1e-160, 1e-310, 1e150, 1e307, -1.0};
  constexpr double kOdd[] = {kNaN, kInf, -0.0, 1e300, -1e-300};
  GeneratedCurve curve = assortedCurve(index);
  const std::size_t count = 1 + static_cast<std::size_t>(index) % 26, all = curve.x.size();
  Vector x, y;
  for (std::size_t i = 0; i < count; ++i) {
    x.push_back(curve.x[i * all / count] * (index % 11 == 3 ? kScales[index % 6] : 1.0));
    y.push_back(curve.y[i * all / count] * kScales[index % 7]);
  }
  if (index % 5 == 0) {
    y[count / 2] = kOdd[index % 25 / 5];
  }
  if (index % 13 == 0) {
    std::reverse(x.begin(), x.end());
  }
  if (index % 17 == 0) {
    curve.temperature = 0.0;
  }
  curve.x = x;
  curve.y = y;
  return curve;
}

}  // namespace

std::uint64_t oddHash() {
  Hash hash;
  hash.anyNaN = false;
  constexpr int kCurves = 364;  // every count of points meets every scale
  for (int index = 0; index < kCurves; ++index) {
    const GeneratedCurve curve = oddCurve(index);
    Arguments a = argumentsOf(curve);
    addAnalyses(hash, a, index);
    addTools(hash, a, curve.x.back());
  }
  return hash.state;
}

std::uint64_t resultHash(int round) {
  constexpr int kCurves = 300;
  constexpr int kSeries = 6;
  Hash hash;
  for (int index = round * kCurves; index < (round + 1) * kCurves; ++index) {
    const GeneratedCurve curve = assortedCurve(index);
    Arguments a = argumentsOf(curve);
    addAnalyses(hash, a, index);
    addTools(hash, a, curve.midpoints[0]);
  }
  for (int seed = round * kSeries; seed < (round + 1) * kSeries; ++seed) {
    addSeries(hash, 2 + seed % 3, static_cast<std::uint64_t>(seed));
  }
  return hash.state;
}
