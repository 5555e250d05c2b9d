#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::detail {

/// A moment as whole seconds since 1970 and nanoseconds of the next one.
struct Timestamp {
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
};

/// RFC 3339, 5.6, e.g. "2026-11-21T07:30:00.25+01:00"; absent for anything else, and for days that do not exist.
/// A leap second counts as the second after it. Digits below a nanosecond are dropped.
std::optional<Timestamp> parseTimestamp(std::string_view text);
/// In UTC, with as many digits of the fraction as it takes. Absent outside of the years 0 to 9999.
std::optional<std::string> timestampText(const Timestamp& timestamp);

}  // namespace platform::detail
