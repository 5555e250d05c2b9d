#include "Platform/Loading/Internal/UTF8Text.hpp"

#include "Platform/Foundation/UTF8.hpp"

namespace platform::detail {

namespace {

constexpr bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

char32_t nextCodePoint(std::string_view text, std::size_t& position) {
  const std::size_t length = utf8CharacterLength(text.substr(position));
  char32_t c = static_cast<unsigned char>(text[position++]);
  if (length > 1) c &= 0xFFU >> (length + 1);
  for (std::size_t i = 1; i < length; ++i) c = (c << 6) | (static_cast<unsigned char>(text[position++]) & 0x3FU);
  return c;
}

std::string utf8FromLatin1(std::string_view bytes) {
  std::string result;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result.push_back(c);
    } else {
      result.push_back(static_cast<char>(0xC0 | (byte >> 6)));
      result.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
  }
  return result;
}

std::string_view utf8Prefix(std::string_view text, std::size_t maximumBytes) {
  if (text.size() <= maximumBytes) return text;
  while (maximumBytes > 0 && isContinuation(text[maximumBytes])) --maximumBytes;
  return text.substr(0, maximumBytes);
}

}  // namespace platform::detail
