// The exports of the family that ZOLT_FAMILY names, or all, on whatever arguments the bytes make.
#include "../support/arbitrary.h"
#include "../support/contract.h"

namespace {

// In the order of the enumerators.
constexpr std::string_view kFamilies[] = {"records",     "analysis",     "curveTools", "primaryFit",
                                          "calculation", "seriesCurves", "auxiliary"};

// Keeps the slowest call, four states on every path, well below a second under the sanitizers.
std::size_t mostPoints(Family family) { return family == Family::analysis ? 32 : 1200; }

std::vector<Export> chosenExports() {
  const char* chosen = std::getenv("ZOLT_FAMILY");
  std::vector<Export> rows;
  for (const Export& entry : kAll) {
    if (chosen == nullptr || kFamilies[static_cast<std::size_t>(entry.family)] == chosen) {
      rows.push_back(entry);
    }
  }
  if (rows.empty()) {
    std::fprintf(stderr, "no family is called %s\n", chosen);
    std::exit(1);
  }
  return rows;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<Export> rows = chosenExports();
  Bytes bytes(data, size);
  const Export& entry = rows[bytes.byte() % rows.size()];
  const std::size_t most = mostPoints(entry.family);
  const std::size_t points = bytes.upTo(bytes.chance(200) ? std::min<std::size_t>(most, 40) : most);
  const Arguments arguments = argumentsFrom(bytes, entry.family, points);
  const std::string fault = contract::faultOf(entry, arguments, Placement::heap);
  if (!fault.empty()) {
    std::fprintf(stderr, "contract broken: %s\n", fault.c_str());
    std::abort();
  }
  return 0;
}
