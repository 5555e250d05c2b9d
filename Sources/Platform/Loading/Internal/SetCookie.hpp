#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::detail {

/// What one Set-Cookie field says (RFC 6265bis, 5.6), before anybody judged whether it may be stored.
struct SetCookie {
  static constexpr std::size_t maximumBytes = 4096;           ///< of name and value together
  static constexpr std::size_t maximumAttributeBytes = 1024;  ///< of an attribute's value; longer ones are ignored

  /// May be empty.
  std::string name;
  std::string value;
  /// In lower case, without a leading dot; empty: of the host alone.
  std::string domain;
  /// Empty: the default of the request's path.
  std::string path;
  /// Seconds since 1970; absent: until the session ends. Max-Age wins over Expires.
  std::optional<std::int64_t> expiry;
  bool isSecure = false;
  bool isHTTPOnly = false;
  /// "Strict", "Lax", "None"; empty for anything else.
  std::string sameSite;

  /// Absent for what is to be ignored as a whole: a control character, neither name nor value, or too much of both.
  static std::optional<SetCookie> parse(std::string_view field, std::int64_t now);
};

/// A date as cookies write it: in any order, with any separators (RFC 6265bis, 5.1.1). Seconds since 1970; absent when
/// it is none.
std::optional<std::int64_t> cookieDate(std::string_view text);

}  // namespace platform::detail
