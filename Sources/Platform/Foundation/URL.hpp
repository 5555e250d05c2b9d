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
/// Immutable, cheap to copy, safe on any thread. The text is kept as it was given; components are those of
/// the resolved URL unless said otherwise. Positions in messages count bytes from 0.
///
/// An IPv6 address may have a zone (RFC 6874): "http://[fe80::1%25eth0]/". It chooses the interface, by name or number,
/// and stays on this machine: no server is told.
///
/// Text with characters outside of ASCII is taken as an IRI (RFC 3987), and kept as the URL that this stands for, which
/// is what goes over the wire: the host as IDNA 2008 names it after the mapping of UTS 46, all other characters
/// percent-encoded as UTF-8. "https://bücher.example/straße" is "https://xn--bcher-kva.example/stra%C3%9Fe".
///
/// There is no default state: an empty reference means "this very document", which no client has, so a forgotten URL
/// would pass for one until it is sent. Hold a URL that may be absent in a `std::optional`.
class CORVANE_API URL {
 public:
  /// Requires valid text: throws `Error` (domain "NSURLErrorDomain", code -1000) whose message names the
  /// text and what is wrong with it at which position. Use `parse` for text that may be wrong.
  URL(std::string_view text);    // NOLINT(google-explicit-constructor): URLs are written as text
  URL(const char* text);         // NOLINT(google-explicit-constructor)
  URL(const std::string& text);  // NOLINT(google-explicit-constructor)
  URL(std::string_view text, const URL& base);

  // Copied where others are moved from: a URL always holds something.
  URL(const URL& other) noexcept = default;
  URL& operator=(const URL& other) noexcept = default;
  ~URL();

  /// Absent when the text is no URI reference (RFC 3986; spaces must be percent-encoded), is empty or has a port above
  /// 65535. Of what an IRI may hold, absent for a host that is no name by IDNA 2008 (RFC 5891), whose mapping makes an
  /// address of it or brings in characters that names do not have, and for characters that are invisible or set the
  /// direction of text.
  static std::optional<URL> parse(std::string_view text);
  /// The base may be relative itself.
  static std::optional<URL> parse(std::string_view text, const URL& base);
  /// What `parse` would object to, for messages; empty when the text is fine.
  static std::string problem(std::string_view text);
  /// A file URL for a file system path; a relative one is taken from the current directory, as it is now.
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
  /// The text as given, if that is ASCII.
  const std::string& relativeString() const noexcept;
  /// What the URL was made relative to; absent for one that stands alone.
  std::optional<URL> baseURL() const;
  /// The resolved URL, without a base.
  URL absoluteURL() const;

  /// Percent-decoded: user, password, host, path, fragment. As written: scheme, query.
  std::optional<std::string> scheme() const;
  /// The part before the password, of the authority.
  std::optional<std::string> user() const;
  /// The part after the colon, of the user information.
  std::optional<std::string> password() const;
  /// Without the brackets of an IPv6 address, with its zone ("fe80::1%eth0"); absent when empty, as in "file:///tmp".
  std::optional<std::string> host() const;
  /// Absent when none is written, also for schemes that have a default.
  std::optional<std::uint16_t> port() const noexcept;
  /// Empty when there is none.
  std::string path() const;
  /// As written; empty when there is none.
  std::string percentEncodedPath() const;
  /// Without the question mark; absent when there is no question mark.
  std::optional<std::string> query() const;
  /// Without the number sign; absent when there is none.
  std::optional<std::string> fragment() const;

  /// The path's components, percent-decoded. An absolute path starts with "/"; doubled slashes and a slash
  /// at the end add nothing: "https://h/a//b/" gives "/", "a", "b". No path gives none.
  std::vector<std::string> pathComponents() const;
  /// "/" for the root, empty when there is no path.
  std::string lastPathComponent() const;
  /// Without the dot; empty when there is none. A name that starts with its only dot has none.
  std::string pathExtension() const;
  /// Whether the scheme is "file".
  bool isFileURL() const noexcept;
  /// The path of a file URL as the file system knows it.
  std::string fileSystemPath() const { return path(); }
  /// The URL with more path, set off by exactly one slash. Slashes inside `component` stay, everything else
  /// that a path may not hold is percent-encoded. Base, query and fragment stay.
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
