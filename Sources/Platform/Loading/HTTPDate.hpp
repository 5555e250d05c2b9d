#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// The time of an HTTP date, in seconds since 1970-01-01T00:00:00Z. Reads all three forms of RFC 9110, 5.6.7: "Sun, 06
/// Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT" (a year that would be more than fifty years ahead is in the
/// previous century) and "Sun Nov  6 08:49:37 1994". The name of the day is ignored. Absent for anything else.
CORVANE_API std::optional<std::int64_t> secondsSince1970(std::string_view httpDate);

}  // namespace platform
