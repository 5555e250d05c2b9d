#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// The moment that a date of HTTP names, in seconds since 1970-01-01T00:00:00Z. All three forms of RFC 9110, 5.6.7 are
/// read: "Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT" (a year that would be more than fifty
/// years ahead is one of the century before) and "Sun Nov  6 08:49:37 1994". The day's name is not looked at. Absent
/// for anything else.
CORVANE_API std::optional<std::int64_t> secondsSince1970(std::string_view httpDate);

}  // namespace platform
