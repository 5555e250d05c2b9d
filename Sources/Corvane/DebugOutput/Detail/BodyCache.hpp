#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane::detail {

/// Keeps a body under a fresh key, until memory gets short; returns the key.
CORVANE_API std::string cacheBody(const platform::Data& body);
CORVANE_API std::optional<platform::Data> cachedBody(std::string_view key);

/// Bodies of text up to so many bytes are shown as they are.
inline constexpr std::size_t mostBytesShown = 79;

/// A body in a few words: itself when it is text of fewer than 80 bytes, "0 bytes" without one, and otherwise
/// its size with the call that fetches it: `[812 bytes: Corvane.httpDebugData("KEY")]`.
CORVANE_API std::string httpDebugSummary(const std::optional<platform::Data>& body);
/// The same for text; up to and including 80 characters are shown as they are.
CORVANE_API std::string httpDebugSummary(const std::optional<std::string>& text);

}  // namespace corvane::detail
