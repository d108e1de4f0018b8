#include "frame/sorting.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "frame/scalar_kit.h"

namespace zolt {

void sortDescending(std::span<double> values, std::span<int> places) {
  std::iota(places.begin(), places.end(), 0);
  const auto before = [](double a, double b) { return isNaNValue(a) ? !isNaNValue(b) : a > b; };
  // Insertion: the lists hold at most 16 values, and nothing need be allocated.
  for (std::size_t i = 1; i < values.size(); ++i) {
    for (std::size_t j = i; j > 0 && before(values[j], values[j - 1]); --j) {
      std::swap(values[j], values[j - 1]);
      std::swap(places[j], places[j - 1]);
    }
  }
}

void sortAscending(std::span<double> values, std::span<int> places) {
  const auto before = [](double a, double b) { return isNaNValue(b) ? !isNaNValue(a) : a < b; };
  std::vector<int> order(values.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
    return before(values[static_cast<std::size_t>(a)], values[static_cast<std::size_t>(b)]);
  });
  const std::vector<double> former(values.begin(), values.end());
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = former[static_cast<std::size_t>(order[i])];
  }
  std::copy_n(order.begin(), places.size(), places.begin());
}

}  // namespace zolt
