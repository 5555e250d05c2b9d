#pragma once

#include <cstddef>
#include <string_view>

/// Characters of ASCII, whatever the locale: the functions of <cctype> ask it, and must not be given a negative `char`.
namespace platform::detail {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isLetter(char c) { return isUpper(c) || isLower(c); }
constexpr bool isLetterOrDigit(char c) { return isLetter(c) || isDigit(c); }

constexpr char asciiLower(char c) { return isUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c; }
constexpr char asciiUpper(char c) { return isLower(c) ? static_cast<char>(c - ('a' - 'A')) : c; }

/// The value of a hexadecimal digit, or -1.
constexpr int hexadecimalValue(char c) {
  if (isDigit(c)) return c - '0';
  const char lower = asciiLower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// In the header, since most comparisons end with the lengths.
constexpr bool equalsIgnoringCase(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (left[i] != right[i] && asciiLower(left[i]) != asciiLower(right[i])) return false;
  }
  return true;
}

}  // namespace platform::detail
