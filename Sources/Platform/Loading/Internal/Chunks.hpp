#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::detail {

/// The content of a chunked body (RFC 9112, 7.1) that is here as a whole; absent when it is cut off or malformed.
/// Extensions and trailers are skipped.
std::optional<std::string> joinedChunks(std::string_view body);

}  // namespace platform::detail
