#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::detail {

/// Where a component stands in the text of a URL.
struct URLRange {
  std::uint32_t offset = 0;
  std::uint32_t count = 0;
  bool isPresent = false;

  std::string_view of(std::string_view text) const { return text.substr(offset, count); }
  /// Absent when the component is.
  std::optional<std::string_view> find(std::string_view text) const {
    if (!isPresent) return std::nullopt;
    return of(text);
  }
  std::optional<std::string> copy(std::string_view text) const {
    if (!isPresent) return std::nullopt;
    return std::string(of(text));
  }
};

/// The components of a URI reference (RFC 3986) as places in its text, percent-encoded as they are.
struct URLLayout {
  URLRange scheme, user, password, host, port, path, query, fragment;
  std::optional<std::uint16_t> portNumber;

  bool hasAuthority() const { return host.isPresent; }

  /// Absent when the text is not a URI reference, is empty, or its port exceeds 65535.
  static std::optional<URLLayout> parse(std::string_view text);
};

/// Why `URLLayout::parse` refuses the text: a sentence that names the text and the position.
std::string urlProblem(std::string_view text);

/// The text of `reference` resolved against `base` (RFC 3986, 5.2). The base may itself be relative; the
/// result is then relative too.
std::string resolvedURL(std::string_view base, const URLLayout& baseLayout, std::string_view reference,
                        const URLLayout& layout);

}  // namespace platform::detail
