#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/Data.hpp"

namespace platform::detail {

/// RFC 4648, 4: with padding, without line breaks.
std::string toBase64(const Data& data);
/// Absent for text that is not of that form, to the last bit.
std::optional<Data> fromBase64(std::string_view text);

}  // namespace platform::detail
