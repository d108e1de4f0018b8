// Prints the hash of all results, of round 0 or of the rounds from FIRST up to but not including
// END:
//   zolt_result_hash [FIRST END]
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "result_hash.h"

int main(int argc, char** argv) {
  const int first = argc == 3 ? std::atoi(argv[1]) : 0;
  const int end = argc == 3 ? std::atoi(argv[2]) : 1;
  for (int round = first; round < end; ++round) {
    std::printf("%016" PRIx64 "\n", resultHash(round));
  }
}
