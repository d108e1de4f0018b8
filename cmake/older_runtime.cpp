// For libraries that must load on systems older than the one they are built on: what the C++
// runtime has had only since GCC 11, so that nobody asks for that runtime.
#include <vector>

namespace std {

// Storage for more elements than there can be was asked for.
void __throw_bad_array_new_length() { __throw_bad_alloc(); }

}  // namespace std
