#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// The format of dates (`std::chrono::sys_time`) in a document. There is no default: JSON has no dates, and a wrong
/// guess would not be noticed.
enum class JSONDateStrategy : std::uint8_t {
  /// Dates are refused, with an error that says so.
  none,
  /// A number, possibly with a fraction.
  secondsSince1970,
  /// A number of milliseconds, possibly with a fraction.
  millisecondsSince1970,
  /// Text like "2026-11-21T07:30:00Z" (RFC 3339). Other offsets than Z are read, too; digits of the fraction
  /// beyond the precision of the C++ type are dropped.
  iso8601
};

/// The key of a member in a document, unless `JSONCodec` names it.
enum class JSONKeyStrategy : std::uint8_t {
  /// The name of the member.
  asDeclared,
  /// Snake case: both `firstName` and `first_name` become "first_name".
  snakeCase
};

/// Conventions of a document that JSON does not define.
struct JSONStrategies {
  /// Default: dates are refused.
  JSONDateStrategy dates = JSONDateStrategy::none;
  /// Default: keys are the names of the members.
  JSONKeyStrategy keys = JSONKeyStrategy::asDeclared;
};

/// The key that a strategy gives to a member.
CORVANE_API std::string jsonKey(std::string_view memberName, JSONKeyStrategy strategy);

}  // namespace platform
