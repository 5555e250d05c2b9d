#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform::networking {

/// A challenge or the like: a scheme and its parameters (RFC 9110, 11.3 and 11.4).
struct AuthenticationChallenge {
  using Parameters = std::vector<std::pair<std::string, std::string>>;

  /// In lower case; empty where a field has parameters alone.
  std::string scheme;
  /// Names in lower case, values unquoted, in order. Credentials of the form token68 are left out.
  Parameters parameters;

  /// The first of that name, given in lower case; null without one.
  const std::string* parameter(std::string_view name) const;

  /// The challenges of a "WWW-Authenticate" field, which may have several. What cannot be read is skipped up to the
  /// next comma; a challenge with a string that does not end is left out.
  static std::vector<AuthenticationChallenge> parse(std::string_view field);
  /// The parameters of a field without a scheme, such as "Authentication-Info" (RFC 9110, 11.6.3).
  static AuthenticationChallenge ofParameters(std::string_view field);
};

}  // namespace platform::networking
