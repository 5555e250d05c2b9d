#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <limits>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Trap.hpp"

namespace corvane::detail {

/// zlib counts in 32 bits; a longer buffer is a programming error.
inline std::uint32_t zlibLength(std::size_t length) {
  if (length > std::numeric_limits<std::uint32_t>::max()) platform::trap("gzip: the buffer is longer than 4 GiB");
  return static_cast<std::uint32_t>(length);
}

/// Whether the bytes begin like a gzip file (RFC 1952, 2.3.1).
bool isGzip(const platform::Data& data);

/// A stream that reads the bytes in place. They must outlive it.
z_stream streamReading(const platform::Data& input);

/// Points the stream's output at the part of the buffer that it has not filled.
void pointOutput(z_stream& stream, platform::Data& output);

GZipError gzipError(int result, const z_stream& stream);
/// The same for a message that may be null or not text.
GZipError gzipError(int result, const char* message);

}  // namespace corvane::detail
