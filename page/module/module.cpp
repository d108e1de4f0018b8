// What the page's module holds besides the two libraries: memory for arguments, the hash of all
// results, and an end that needs nothing of the browser.
#include <cstdint>
#include <cstdlib>

#include "result_hash.h"

#define ZOLT_PAGE_EXPORT extern "C" __attribute__((visibility("default")))

// Room for arguments, aligned for doubles; null if there is none.
ZOLT_PAGE_EXPORT void* zolt_allocate(std::size_t bytes) { return std::malloc(bytes); }

ZOLT_PAGE_EXPORT void zolt_free(void* room) { std::free(room); }

// The number that the tests pin: equal here and there, the results are the same in every bit.
ZOLT_PAGE_EXPORT std::uint64_t zolt_result_hash() { return resultHash(); }

// The runtime's own would print what went wrong, for which the module would import files. A trap
// ends the call, and the page tells which curve it was.
extern "C" [[noreturn]] void abort_message(const char*, ...) { __builtin_trap(); }

// Formatting a number drags in the standard streams' files, which nothing here opens.
extern "C" {
struct _IO_FILE;
std::size_t __stdio_write(_IO_FILE*, const unsigned char*, std::size_t) { __builtin_trap(); }
int __stdio_close(_IO_FILE*) { __builtin_trap(); }
long long __stdio_seek(_IO_FILE*, long long, int) { __builtin_trap(); }
}
