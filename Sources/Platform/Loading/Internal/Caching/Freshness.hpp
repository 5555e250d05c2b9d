#pragma once

#include <cstdint>

#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/Internal/Caching/CacheControl.hpp"

namespace platform::detail {

// Times are seconds of `CacheTime::wall`.

/// Whether a response with this status may be stored without being told so (RFC 9110, 15.1). 206 is not among them,
/// since ranges are not stored.
bool isCacheableByDefault(int statusCode);

/// For how many seconds a response is fresh (RFC 9111, 4.2.1): by "max-age", else by "Expires", else, for a status that
/// is cacheable by default and where "Last-Modified" is given, for a tenth of the time since then, a day at most
/// (4.2.2). An "Expires" that is no date is in the past.
std::int64_t freshnessLifetime(int statusCode, const HTTPHeaderFields& fields, const CacheControl& control,
                               std::int64_t received);

/// How old a response was when it was received, as far as can be known (RFC 9111, 4.2.3). `delay` is how long it was
/// waited for. Of an "Age" that is a list the first member counts (5.1).
std::int64_t initialAge(const HTTPHeaderFields& fields, std::int64_t received, std::int64_t delay);

}  // namespace platform::detail
