#include "Platform/Loading/Internal/UTF8Text.hpp"

namespace platform::detail {

namespace {

constexpr bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  if (lead >= 0xF0 && lead < 0xF5) return 4;
  return 0;
}

bool isInRange(char32_t c, std::size_t length) {
  if (length == 3) return c >= 0x800 && (c < 0xD800 || c > 0xDFFF);
  if (length == 4) return c >= 0x10000 && c <= 0x10FFFF;
  return true;
}

}  // namespace

bool isUTF8(std::string_view bytes) {
  for (std::size_t position = 0; position < bytes.size();) {
    const std::size_t length = sequenceLength(static_cast<unsigned char>(bytes[position]));
    if (length == 0 || length > bytes.size() - position) return false;
    for (std::size_t i = 1; i < length; ++i) {
      if (!isContinuation(bytes[position + i])) return false;
    }
    if (!isInRange(nextCodePoint(bytes, position), length)) return false;
  }
  return true;
}

char32_t nextCodePoint(std::string_view text, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(text[position++]);
  if (lead < 0x80) return lead;
  const std::size_t length = sequenceLength(lead);
  char32_t c = lead & (0xFFU >> (length + 1));
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
