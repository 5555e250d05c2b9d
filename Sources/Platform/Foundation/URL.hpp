#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"

namespace platform {

/// A URL reference (RFC 3986), optionally relative to a base.
///
/// Immutable, cheap to copy, safe on any thread. The text is kept as it was given; components are views of
/// the resolved URL unless said otherwise.
class CORVANE_API URL {
 public:
  /// Requires valid text: throws `Error` (domain "NSURLErrorDomain", code -1000) whose message names the
  /// text and what is wrong with it at which position. Use `parse` for text that may be wrong.
  URL(std::string_view text);     // NOLINT(google-explicit-constructor): URLs are written as text
  URL(const char* text);          // NOLINT(google-explicit-constructor)
  URL(const std::string& text);   // NOLINT(google-explicit-constructor)
  URL(std::string_view text, const URL& base);

  /// Absent when the text is not an RFC 3986 URI reference (blanks and non-ASCII characters must be
  /// percent-encoded), or is empty.
  static std::optional<URL> parse(std::string_view text);
  static std::optional<URL> parse(std::string_view text, const URL& base);
  /// What `parse` would object to, for messages; empty when the text is fine.
  static std::string problem(std::string_view text);
  /// A file URL for an absolute or relative file system path.
  static URL file(std::string_view path);

  /// The text of the URL resolved against its base.
  const std::string& absoluteString() const;
  /// The text as given.
  const std::string& relativeString() const;
  std::optional<URL> baseURL() const;
  URL absoluteURL() const;

  /// Components of the resolved URL. Percent-decoded: user, password, host, path, fragment. As written: scheme, query.
  std::optional<std::string> scheme() const;
  std::optional<std::string> user() const;
  std::optional<std::string> password() const;
  /// Without the brackets of an IPv6 address.
  std::optional<std::string> host() const;
  std::optional<std::uint16_t> port() const;
  std::string path() const;
  std::string percentEncodedPath() const;
  std::optional<std::string> query() const;
  std::optional<std::string> fragment() const;

  /// The path's components, percent-decoded; an absolute path starts with "/", and a path of more than
  /// the root that ends in a slash does not add an empty one. "https://h/a/b/" gives "/", "a", "b".
  std::vector<std::string> pathComponents() const;
  std::string lastPathComponent() const;
  /// Without the dot; empty when there is none.
  std::string pathExtension() const;
  bool isFileURL() const;
  /// The file system path of a file URL.
  std::string fileSystemPath() const;
  URL appendingPathComponent(std::string_view component) const;

  /// Equal text and equal base.
  friend CORVANE_API bool operator==(const URL& left, const URL& right);
  std::size_t hash() const;

 private:
  struct Parts;
  explicit URL(std::shared_ptr<const Parts> parts) : parts_(std::move(parts)) {}
  std::shared_ptr<const Parts> parts_;
};

CORVANE_API std::ostream& operator<<(std::ostream& stream, const URL& url);

}  // namespace platform

template <>
struct std::hash<platform::URL> {
  std::size_t operator()(const platform::URL& url) const { return url.hash(); }
};
