#pragma once

#include <optional>
#include <string>

namespace platform::detail {

/// A host as it is in an `Origin`: in lower case, an international name in its ASCII form. Absent for what no URL can
/// have as its host.
std::optional<std::string> hostName(const std::string& text);

}  // namespace platform::detail
