#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"

namespace platform {

/// A URL reference (RFC 3986), optionally relative to a base.
///
/// Immutable, cheap to copy, safe on any thread. The text is kept as given; components are those of the resolved URL
/// unless stated otherwise. Positions in messages count bytes from 0.
///
/// An IPv6 address may have a zone (RFC 6874): "http://[fe80::1%25eth0]/". It selects the network interface, by name or
/// number, and is never sent to a server.
///
/// Text with characters outside of ASCII is read as an IRI (RFC 3987) and converted to the URL that goes over the wire:
/// the host by the mapping of UTS 46 and IDNA 2008, all other characters percent-encoded as UTF-8.
/// "https://bücher.example/straße" is "https://xn--bcher-kva.example/stra%C3%9Fe".
///
/// There is no default constructor: an empty reference means "this document", which a client does not have, and a URL
/// that was never set would look valid until it is sent. Hold a URL that may be absent in a `std::optional`.
class CORVANE_API URL {
 public:
  /// Requires valid text: throws `Error` (domain "NSURLErrorDomain", code -1000) with a message that names the text,
  /// the fault and its position. Use `parse` for text that may be invalid.
  URL(std::string_view text);    // NOLINT(google-explicit-constructor): URLs are written as text
  URL(const char* text);         // NOLINT(google-explicit-constructor)
  URL(const std::string& text);  // NOLINT(google-explicit-constructor)
  URL(std::string_view text, const URL& base);

  // Copied where others are moved from: a URL always holds something.
  URL(const URL& other) noexcept = default;
  URL& operator=(const URL& other) noexcept = default;
  ~URL();

  /// Absent when the text is not a URI reference (RFC 3986; spaces must be percent-encoded), is empty or has a port
  /// above 65535. An IRI is absent, too, if its host is not a valid name (IDNA 2008, RFC 5891), if the mapping of its
  /// host results in an address or in characters that names do not have, or if it has characters that are invisible or
  /// set the direction of text.
  static std::optional<URL> parse(std::string_view text);
  /// The base may be relative itself.
  static std::optional<URL> parse(std::string_view text, const URL& base);
  /// The reason why `parse` would refuse the text, for messages; empty for valid text.
  static std::string problem(std::string_view text);
  /// A file URL for a file system path; a relative path is resolved against the current directory of this moment.
  static URL file(std::string_view path);
  static URL file(const char* path) { return file(std::string_view(path)); }
  static URL file(const std::string& path) { return file(std::string_view(path)); }
  /// The same for a `std::filesystem::path`.
  template <class Path>
    requires requires(const Path& path) {
      { path.native() } -> std::same_as<const std::string&>;
    }
  static URL file(const Path& path) {
    return file(std::string_view(path.native()));
  }

  /// The text of the URL resolved against its base (RFC 3986, 5.2).
  const std::string& absoluteString() const noexcept;
  /// The text as given if it is ASCII, or else the URL that it was converted to; not resolved against the base.
  const std::string& relativeString() const noexcept;
  /// The base that the URL is relative to; absent for a URL without a base.
  std::optional<URL> baseURL() const;
  /// The resolved URL, without a base.
  URL absoluteURL() const;

  /// Percent-decoded: user, password, host, path, fragment. As written: scheme, query.
  std::optional<std::string> scheme() const;
  /// The user name in the authority.
  std::optional<std::string> user() const;
  /// The part after the colon in the user information.
  std::optional<std::string> password() const;
  /// Without the brackets of an IPv6 address, with its zone ("fe80::1%eth0"); absent when empty, as in "file:///tmp".
  std::optional<std::string> host() const;
  /// Absent unless the URL has a port, even for schemes with a default port.
  std::optional<std::uint16_t> port() const noexcept;
  /// Empty without a path.
  std::string path() const;
  /// As written; empty without a path.
  std::string percentEncodedPath() const;
  /// Without the question mark; absent when there is no question mark.
  std::optional<std::string> query() const;
  /// Without the number sign; absent when there is no number sign.
  std::optional<std::string> fragment() const;

  /// The path's components, percent-decoded. An absolute path starts with "/"; doubled slashes and a slash at the end
  /// add nothing: those of "https://h/a//b/" are "/", "a", "b". Empty without a path.
  std::vector<std::string> pathComponents() const;
  /// "/" for the root, empty without a path.
  std::string lastPathComponent() const;
  /// Without the dot; empty when there is none. A name whose only dot is its first character has no extension.
  std::string pathExtension() const;
  /// Whether the scheme is "file".
  bool isFileURL() const noexcept;
  /// The path of a file URL as the file system knows it.
  std::string fileSystemPath() const { return path(); }
  /// The URL with `component` appended to its path, separated by exactly one slash. Slashes inside `component` are
  /// kept; all other characters that a path may not hold are percent-encoded. Base, query and fragment are kept.
  URL appendingPathComponent(std::string_view component) const;

  /// Equal text and equal base.
  friend CORVANE_API bool operator==(const URL& left, const URL& right) noexcept;
  std::size_t hash() const noexcept;

 private:
  struct Parts;
  explicit URL(std::shared_ptr<const Parts> parts) noexcept : parts_(std::move(parts)) {}
  static std::shared_ptr<const Parts> makeParts(std::string_view text, std::shared_ptr<const Parts> base);
  static std::shared_ptr<const Parts> requireParts(std::string_view text, std::shared_ptr<const Parts> base);

  std::shared_ptr<const Parts> parts_;
};

/// Prints the absolute text.
CORVANE_API std::ostream& operator<<(std::ostream& stream, const URL& url);

}  // namespace platform

template <>
struct std::hash<platform::URL> {
  std::size_t operator()(const platform::URL& url) const noexcept { return url.hash(); }
};
