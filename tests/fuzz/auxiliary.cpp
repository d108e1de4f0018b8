// Normalisation, m-value fits, pH equation and emission smoothing, with strides and any lengths.
#include "fuzz_support.h"

namespace {

constexpr std::size_t kMostPoints = 1200;

Arguments argumentsFrom(Bytes& bytes) {
  Arguments a;
  std::vector<double> x, y;
  bytes.curve(bytes.upTo(bytes.byte() < 200 ? 40 : kMostPoints), x, y);
  std::vector<double> scale(x.size(), 1.0);
  if (bytes.byte() >= 160) {
    y = bytes.numbers(bytes.upTo(40));
    scale = bytes.numbers(bytes.upTo(40));
  }
  a.x = declared(std::move(x), bytes);
  a.y = declared(std::move(y), bytes);
  a.scale = declared(std::move(scale), bytes);
  a.n = bytes.byte() < 230 ? static_cast<std::int32_t>(bytes.upTo(300)) : -bytes.byte();
  a.width = bytes.number();
  a.reference = bytes.number();
  a.value = bytes.number();
  return a;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto rows = exportsOf({Family::auxiliary});
  Bytes bytes(data, size);
  const Export& entry = *rows[bytes.byte() % rows.size()];
  const Arguments a = argumentsFrom(bytes);
  CallSite site(Placement::heap, 0x5A);
  callAndCheck(entry, a, site);
  if (entry.name == "ZOLTA_pHequation") {
    return 0;
  }
  const bool mValueFit = entry.name.starts_with("ZOLTA_mfit");
  const auto size1 = site.values<std::int32_t>(1);
  require(size1[0] == 1, "the size pair of a row");
  require(static_cast<std::size_t>(size1[1]) == (mValueFit ? a.x : a.y).length(),
          "the length of a row");
  if (mValueFit) {
    const auto wanted = static_cast<std::size_t>(std::max(a.n, 0));
    require(site.values<double>(2).size() == wanted && site.values<double>(3).size() == wanted,
            "the length of a grid");
  }
  return 0;
}
