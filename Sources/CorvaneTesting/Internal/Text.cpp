#include "CorvaneTesting/Internal/Text.hpp"

#include <algorithm>
#include <charconv>

namespace corvane::testkit::detail {

namespace {

/// The length of the well-formed UTF-8 sequence at the front (RFC 3629); zero when there is none.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char first = byte(0);
  const std::size_t length = first < 0x80                     ? 1
                             : first >= 0xC2 && first <= 0xDF ? 2
                             : first >= 0xE0 && first <= 0xEF ? 3
                             : first >= 0xF0 && first <= 0xF4 ? 4
                                                              : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t index = 1; index < length; ++index) {
    if ((byte(index) & 0xC0) != 0x80) return 0;
  }
  const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
  const bool isSurrogate = first == 0xED && byte(1) >= 0xA0;
  const bool isTooHigh = first == 0xF4 && byte(1) >= 0x90;
  return isOverlong || isSurrogate || isTooHigh ? 0 : length;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string hexadecimal(std::uint64_t value) {
  char digits[16];
  const auto result = std::to_chars(digits, digits + sizeof digits, value, 16);
  return std::string(digits, result.ptr);
}

std::optional<std::uint64_t> number(std::string_view text, int base) {
  std::uint64_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

std::string percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const auto code =
        text[index] == '%' && index + 2 < text.size() ? number(text.substr(index + 1, 2), 16) : std::nullopt;
    if (code) {
      result += static_cast<char>(*code);
      index += 2;
    } else {
      result += text[index];
    }
  }
  return result;
}

std::string jsonString(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    const auto first = static_cast<unsigned char>(text.front());
    if (length == 0) {
      result += "\xEF\xBF\xBD";
    } else if (first == '"' || first == '\\') {
      result += {'\\', text.front()};
    } else if (first < 0x20) {
      result += std::string("\\u00") + (first < 0x10 ? "0" : "") + hexadecimal(first);
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result + "\"";
}

}  // namespace corvane::testkit::detail
