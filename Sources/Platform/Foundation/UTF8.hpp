#pragma once

#include <cstddef>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// Whether all of `text` is well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing above
/// U+10FFFF, nothing cut off.
CORVANE_API bool isValidUTF8(std::string_view text) noexcept;

/// The length in bytes of the first character of `text`; 0 if `text` is empty or starts with ill-formed bytes.
CORVANE_API std::size_t utf8CharacterLength(std::string_view text) noexcept;

}  // namespace platform
