#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform::detail {

/// The small grammar that header fields share (RFC 9110, 5.6). ASCII only; no locale is consulted.

constexpr bool isSpaceOrTab(char c) { return c == ' ' || c == '\t'; }
/// A control character that no field value may hold (RFC 9110, 5.5): all but tab.
constexpr bool isForbiddenControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\t') || byte == 0x7F;
}
bool holdsForbiddenControl(std::string_view text);
/// Whether there is a CR, LF or NUL: what would end a field, or may for another recipient (RFC 9110, 5.5).
bool holdsLineBreakOrNUL(std::string_view text);

inline constexpr std::array<bool, 256> tokenCharacters = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("!#$%&'*+-.^_`|~0123456789"
                                       "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();
constexpr bool isTokenCharacter(char c) { return tokenCharacters[static_cast<unsigned char>(c)]; }
constexpr bool isToken(std::string_view text) {
  for (const char c : text) {
    if (!isTokenCharacter(c)) return false;
  }
  return !text.empty();
}
std::string lowercased(std::string_view text);
/// Without spaces and tabs at either end.
constexpr std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpaceOrTab(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpaceOrTab(text.back())) text.remove_suffix(1);
  return text;
}
/// The elements of a comma-separated list, trimmed, empty ones included. Not for values with quoted strings.
std::vector<std::string_view> listElements(std::string_view value);
/// Calls `use` with each of them.
template <class Use>
void forEachListElement(std::string_view value, Use use) {
  for (std::size_t start = 0; start <= value.size();) {
    const std::size_t comma = std::min(value.find(',', start), value.size());
    use(trimmed(value.substr(start, comma - start)));
    start = comma + 1;
  }
}
/// The value of 1*DIGIT; absent for anything else and when it exceeds the 64-bit range.
std::optional<std::int64_t> decimal(std::string_view digits);
/// The text for a message: control characters and what is not ASCII as "\xHH", at most 80 characters.
std::string printable(std::string_view text);

/// A value followed by parameters: `text/html; charset="utf-8"`. Parameter names are lower-case, quoted
/// strings are unquoted (RFC 9110, 5.6.4 and 5.6.6); where a name is repeated, all are kept.
struct ParameterizedValue {
  std::string_view value;
  std::vector<std::pair<std::string, std::string>> parameters;

  static ParameterizedValue parse(std::string_view text);
  const std::string* parameter(std::string_view lowercaseName) const;
};

}  // namespace platform::detail
