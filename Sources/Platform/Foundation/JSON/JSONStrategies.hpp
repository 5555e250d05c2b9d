#pragma once

#include <cstdint>

namespace platform {

/// How dates (`std::chrono::sys_time`) stand in a document. There is no default: JSON has no dates, and a
/// guess would be wrong silently.
enum class JSONDateStrategy : std::uint8_t {
  /// Dates are refused, with an error that says so.
  none,
  /// A number, possibly with a fraction.
  secondsSince1970,
  /// The same in milliseconds.
  millisecondsSince1970,
  /// Text like "2026-11-21T07:30:00Z" (RFC 3339). Other offsets than Z are read, too; digits of the fraction
  /// beyond the precision of the C++ type are dropped.
  iso8601
};

/// What the key of a member is called in a document, unless `JSONCodec` names it.
enum class JSONKeyStrategy : std::uint8_t {
  /// As the member is called.
  asDeclared,
  /// `firstName` and `first_name` alike as "first_name".
  snakeCase
};

/// What a document's author and its reader agree upon beyond JSON itself.
struct JSONStrategies {
  /// Default: dates are refused.
  JSONDateStrategy dates = JSONDateStrategy::none;
  /// Default: keys are called as the members.
  JSONKeyStrategy keys = JSONKeyStrategy::asDeclared;
};

}  // namespace platform
