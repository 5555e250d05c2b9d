#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvane::testkit {

/// The bytes as one gzip member (RFC 1952).
std::string gzipped(std::string_view bytes);
/// The bytes as a zlib stream (RFC 1950), the format of the content coding "deflate".
std::string deflated(std::string_view bytes);
/// The bytes as a raw deflate stream (RFC 1951), which some servers wrongly send as "deflate".
std::string rawDeflated(std::string_view bytes);

/// Decompresses a gzip stream of any number of members. Throws `std::runtime_error` when it is damaged or truncated.
std::string gunzipped(std::string_view bytes);

/// The bytes without their last `count`.
std::string cutOff(std::string_view bytes, std::size_t count = 1);
/// The bytes with the one at `position` changed (the middle one, by default).
std::string corrupted(std::string_view bytes, std::size_t position = static_cast<std::size_t>(-1));

}  // namespace corvane::testkit
