#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvane::detail {

/// The message of a platform network error code; absent for a code without one.
std::optional<std::string_view> cfNetworkMessage(std::int32_t code);

}  // namespace corvane::detail
