#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/URL.hpp"

namespace platform::detail {

/// The text of a Location field as a URI reference: what a reference may not hold is percent-encoded, "\"
/// before the query becomes "/", spaces at the ends go. A host outside of ASCII is left to `URL`, which maps it by IDNA
/// or refuses it.
std::string locationAsReference(std::string_view location);

/// Where a Location leads that came as the response for `base`: resolved, with the fragment of `base` if it
/// has none of its own. Absent when it cannot be read as a URL.
std::optional<URL> resolvedLocation(std::string_view location, const URL& base);

}  // namespace platform::detail
