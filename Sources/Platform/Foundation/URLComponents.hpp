#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {

/// A name and a value in a query, not percent-encoded.
struct URLQueryItem {
  /// Not percent-encoded.
  std::string name;
  /// Not percent-encoded; absent for an item without "=".
  std::optional<std::string> value;
  friend bool operator==(const URLQueryItem&, const URLQueryItem&) = default;
};

/// Which characters of names and values are percent-encoded.
enum class URLQueryEncoding : std::uint8_t {
  /// The characters that a query may not hold (RFC 3986, 3.4), and "&", "=" and ";". A "+" is kept; many servers read
  /// it as a space.
  platform,
  /// All but letters, digits, "-", ".", "_" and "~" (RFC 3986, 2.3): every server reads the result alike.
  strict
};

/// Splits a URL into its parts and composes it from them (RFC 3986).
///
/// The parts are stored percent-encoded, so that an unchanged part stays as it is. Functions return them
/// percent-decoded; setters percent-encode the characters that the part may not hold.
class CORVANE_API URLComponents {
 public:
  URLComponents() = default;
  /// Splits a URL: the resolved URL, or its own text without its base. Absent if the text cannot be split.
  static std::optional<URLComponents> make(const URL& url, bool resolvingAgainstBaseURL);
  static std::optional<URLComponents> make(std::string_view text);

  /// As written. An absent part has no delimiter either.
  std::optional<std::string> scheme;
  /// As written.
  std::optional<std::string> percentEncodedUser;
  /// As written.
  std::optional<std::string> percentEncodedPassword;
  /// As written, an IPv6 address with its brackets.
  std::optional<std::string> percentEncodedHost;
  /// Absent if no port is written.
  std::optional<std::uint16_t> port;
  /// As written.
  std::string percentEncodedPath;
  /// As written, without the question mark.
  std::optional<std::string> percentEncodedQuery;
  /// As written, without the number sign.
  std::optional<std::string> percentEncodedFragment;

  /// The path, percent-decoded.
  std::string path() const;
  /// Percent-encodes everything but pchar and "/" (RFC 3986, 3.3); a "%" in `path` is encoded, too.
  void setPath(std::string_view path);
  /// The query, percent-decoded; absent without a query.
  std::optional<std::string> query() const;
  /// Percent-encodes the characters that a query may not hold; a "%" is encoded, too. Absent removes the query.
  void setQuery(std::optional<std::string_view> query);
  /// The items of the query; empty without a query or for an empty query. A "+" is read as a plus, not as a space.
  std::vector<URLQueryItem> queryItems() const;
  /// Replaces the query. Without items, the query is empty.
  void setQueryItems(const std::vector<URLQueryItem>& items, URLQueryEncoding encoding = URLQueryEncoding::platform);

  /// The composed URL. Absent if the parts do not form a URL: an authority with a path that does not start with "/", a
  /// path that starts with "//" without an authority, or a component with characters that it may not hold. Without
  /// scheme and host, a colon in the first segment of the path is written "%3A".
  std::optional<URL> url() const;
  /// The text of the parts, even if they do not form a URL.
  std::string string() const;

  friend bool operator==(const URLComponents&, const URLComponents&) = default;
};

}  // namespace platform
