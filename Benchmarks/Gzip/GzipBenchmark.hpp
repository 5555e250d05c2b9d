#pragma once

#include <string>

namespace bench {

/// Compresses and decompresses 1 MiB of JSON and of random bytes, the library's coders side by side with one
/// call of zlib that has the same parameters and a buffer of the right size from the start. A table of the
/// medians of `rounds`, in CPU time, and beside each ratio the goal it is held to.
std::string gzipReport(int rounds);

}  // namespace bench
