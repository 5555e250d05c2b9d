#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform::detail {

/// Sets of characters that a part of a URL may hold as they are (RFC 3986). "%" is in none but the last.
enum class CharacterSet : std::uint8_t {
  scheme = 1,
  /// unreserved, sub-delims and ":" (3.2.1).
  userInformation = 2,
  /// unreserved and sub-delims (3.2.2).
  registeredName = 4,
  /// pchar and "/" (3.3).
  path = 8,
  /// pchar, "/" and "?" (3.4 and 3.5).
  queryOrFragment = 16,
  /// Those of a query but "&", "=" and ";", which set its items apart.
  queryItem = 32,
  /// Anything that a URL may hold anywhere.
  anywhere = 64,
  /// Letters, digits, "-", ".", "_" and "~" (2.3).
  unreserved = 128,
};

/// For each byte the sets that it belongs to.
extern const std::array<std::uint8_t, 256> characterSets;

inline bool contains(CharacterSet set, char character) {
  return (characterSets[static_cast<unsigned char>(character)] & static_cast<std::uint8_t>(set)) != 0;
}

/// Whether "%" and two hexadecimal digits stand at `index`.
bool isEscape(std::string_view text, std::size_t index);

/// Every byte that is not in `set` as "%" and two upper-case hexadecimal digits; "%" itself too.
std::string percentEncoded(std::string_view text, CharacterSet set);
/// Each "%" with two hexadecimal digits as the byte it stands for; any other "%" stays.
std::string percentDecoded(std::string_view text);

}  // namespace platform::detail
