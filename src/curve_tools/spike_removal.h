// Marking of single readings that stand far from both their neighbours.
#pragma once

#include <cstdint>
#include <span>

#include "frame/curve.h"

namespace zolt {

// Writes 1 for a point to keep and 0 for a spike into `mask`, which is as long as y.
void ChemDenatKillSpikesArrays(Row y, std::span<std::int32_t> mask);

}  // namespace zolt
