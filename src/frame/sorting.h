// The two stable sorts. Both report the former place of each value, counted from 0.
#pragma once

#include <cstddef>
#include <span>

namespace zolt {

// Descending, NaN first. For the short lists of candidates that the drivers rank.
void sortDescending(std::span<double> values, std::span<int> places);

// Ascending, NaN last. `places` may be empty when nobody asks for them.
void sortAscending(std::span<double> values, std::span<int> places = {});

}  // namespace zolt
