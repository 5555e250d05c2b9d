#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform::detail {

/// What "If-Range" may hold to ask for the rest of a response with these fields (RFC 9110, 13.1.5): its entity tag,
/// when it is strong; or, when it has no entity tag at all, its "Last-Modified", when that is at least a minute before
/// its "Date" (8.8.2.2: the clocks need not be the same). Absent when there is no such validator.
std::optional<std::string> strongValidator(const HTTPHeaderFields& fields);

/// Whether a text can have come from `strongValidator`.
bool isStrongValidator(std::string_view text);

/// Whether fields of another response of the same resource contradict a validator. What they do not tell is no
/// contradiction.
bool contradicts(const HTTPHeaderFields& fields, const std::string& validator);

}  // namespace platform::detail
