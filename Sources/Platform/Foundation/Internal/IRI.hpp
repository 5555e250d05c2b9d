#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace platform::detail {

inline bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char character) { return static_cast<signed char>(character) >= 0; });
}

/// The URI reference that an IRI reference stands for, or why there is none.
struct ConvertedIRI {
  std::string uri;
  /// As `URLParser::problem` has it; empty when there is a URI.
  std::string problem;
};

/// Converts an IRI reference (RFC 3987, 3.1): the host by `internationalHost`, all other characters outside of ASCII
/// percent-encoded as UTF-8. Text that is ASCII comes out as it is.
ConvertedIRI uriOfIRI(std::string_view text);

}  // namespace platform::detail
