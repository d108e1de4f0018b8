// One number that stands for every bit of every result.
#pragma once

#include <cstdint>

// The hash of what all exports give for a fixed set of generated curves.
std::uint64_t resultHash();

// The hash of what the C library's exp, log and pow give, on which the results rest.
std::uint64_t mathLibraryHash();
