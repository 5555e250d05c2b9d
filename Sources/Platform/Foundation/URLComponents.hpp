#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {

/// One name and value of a query, not percent-encoded. An absent value writes no "=".
struct URLQueryItem {
  /// As it is, free of percent-encoding.
  std::string name;
  /// As it is; absent for an item without "=".
  std::optional<std::string> value;
  friend bool operator==(const URLQueryItem&, const URLQueryItem&) = default;
};

/// What of names and values is percent-encoded.
enum class URLQueryEncoding : std::uint8_t {
  /// What a query may not hold (RFC 3986, 3.4), and "&", "=" and ";". A "+" stays, which many servers read as a space.
  platform,
  /// All but letters, digits, "-", ".", "_" and "~" (RFC 3986, 2.3): every server reads the same.
  strict
};

/// The parts of a URL, taken apart, changed and put together again (RFC 3986).
///
/// Plain members are percent-decoded; setting them percent-encodes what the component may not hold. Stored
/// encoded, so a part that is not touched comes out as it went in.
class CORVANE_API URLComponents {
 public:
  URLComponents() = default;
  /// Takes apart the resolved URL or its own text. Absent when that cannot be done.
  static std::optional<URLComponents> make(const URL& url, bool resolvingAgainstBaseURL);
  static std::optional<URLComponents> make(std::string_view text);

  /// The parts as written; an absent one has no delimiter either.
  std::optional<std::string> scheme;
  /// As written.
  std::optional<std::string> percentEncodedUser;
  /// As written.
  std::optional<std::string> percentEncodedPassword;
  /// As written, an IPv6 address with its brackets.
  std::optional<std::string> percentEncodedHost;
  /// Absent when none is written.
  std::optional<std::uint16_t> port;
  /// As written.
  std::string percentEncodedPath;
  /// As written, without the question mark.
  std::optional<std::string> percentEncodedQuery;
  /// As written, without the number sign.
  std::optional<std::string> percentEncodedFragment;

  /// The path, percent-decoded.
  std::string path() const;
  /// Percent-encodes everything but pchar and "/" (RFC 3986, 3.3); a "%" in `path` is encoded too.
  void setPath(std::string_view path);
  /// The query, percent-decoded; absent when there is none.
  std::optional<std::string> query() const;
  /// Percent-encodes what a query may not hold; a "%" is encoded too. Absent takes the query away.
  void setQuery(std::optional<std::string_view> query);
  /// Empty when there is no query or an empty one. A "+" is a plus.
  std::vector<URLQueryItem> queryItems() const;
  /// Replaces the query. No items make an empty one.
  void setQueryItems(const std::vector<URLQueryItem>& items, URLQueryEncoding encoding = URLQueryEncoding::platform);

  /// A colon in the first segment of a path after neither scheme nor host is written "%3A".
  /// Absent when the parts make no URL: an authority with a path that does not start with "/", or no
  /// authority and a path that starts with "//", or a component with characters it may not hold.
  std::optional<URL> url() const;
  /// The text of the parts, whether it makes a URL or not.
  std::string string() const;

  friend bool operator==(const URLComponents&, const URLComponents&) = default;
};

}  // namespace platform
