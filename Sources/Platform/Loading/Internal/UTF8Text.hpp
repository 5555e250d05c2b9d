#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform::detail {

/// The character at `position`, which moves past it. Requires: `isValidUTF8(text)`, `position < text.size()`.
char32_t nextCodePoint(std::string_view text, std::size_t& position);
/// The bytes taken for ISO-8859-1.
std::string utf8FromLatin1(std::string_view bytes);
/// The longest start of `text` of at most `maximumBytes` that ends between two characters.
std::string_view utf8Prefix(std::string_view text, std::size_t maximumBytes);

}  // namespace platform::detail
