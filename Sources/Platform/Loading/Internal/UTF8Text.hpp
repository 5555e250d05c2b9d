#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform::detail {

/// Whether the bytes are UTF-8 (RFC 3629: no overlong forms, no surrogates, nothing beyond U+10FFFF).
bool isUTF8(std::string_view bytes);
/// The code point at `position`, which moves behind it. Requires: `isUTF8(text)`, `position < text.size()`.
char32_t nextCodePoint(std::string_view text, std::size_t& position);
std::string utf8FromLatin1(std::string_view bytes);
/// The longest start of `text` of at most `maximumBytes` that ends between two characters.
std::string_view utf8Prefix(std::string_view text, std::size_t maximumBytes);

}  // namespace platform::detail
