// All nine analyses on whatever curve the bytes make.
#include "../support/result_contract.h"
#include "fuzz_support.h"

namespace {

// Keeps the slowest call, four states on every path, well below a second under the sanitizers.
constexpr std::size_t kMostPoints = 32;

Arguments argumentsFrom(Bytes& bytes) {
  Arguments a;
  std::vector<double> x, y;
  const std::size_t n = bytes.upTo(kMostPoints);
  if (bytes.byte() < 200) {
    bytes.curve(n, x, y);
  } else {
    x = bytes.numbers(n);
    y = bytes.numbers(bytes.byte() < 220 ? n : bytes.upTo(kMostPoints));
  }
  a.x = declared(std::move(x), bytes);
  a.y = declared(std::move(y), bytes);
  a.temperature = bytes.byte() < 200 ? 25.0 : bytes.number();
  if (bytes.byte() % 2 == 0) {
    // Baselines near those that the curve may have.
    a.baselines = {4.0 * bytes.fraction() - 1.0, 0.0, 200.0 * (bytes.fraction() - 0.3), 0.0};
  } else {
    a.baselines = bytes.numbers(4);
  }
  return a;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto rows = exportsOf({Family::analysis});
  Bytes bytes(data, size);
  const Export& entry = *rows[bytes.byte() % rows.size()];
  const Arguments arguments = argumentsFrom(bytes);
  CallSite site(Placement::heap, 0x5A);
  callAndCheck(entry, arguments, site);
  const std::string fault = result_contract::faultOf(entry.name, arguments, site.values<double>(0));
  require(fault.empty(), fault.c_str());
  return 0;
}
