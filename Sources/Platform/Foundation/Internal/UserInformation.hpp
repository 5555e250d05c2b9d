#pragma once

#include <string>
#include <string_view>

namespace platform::detail {

/// The text of a URL, or of what was meant to be one, for a message: "***" stands in place of user and password.
std::string withoutUserInformation(std::string_view text);

}  // namespace platform::detail
