#pragma once

#include <charconv>
#include <cstddef>

#include "Platform/Export.hpp"

namespace platform::detail {

using std::from_chars;
#ifndef __cpp_lib_to_chars
// The standard library reads whole numbers only, as libc++ does before version 20.

/// Like `std::from_chars` for decimal numbers: no space and no plus sign before them, whatever the locale.
CORVANE_API std::from_chars_result from_chars(const char* first, const char* last, float& value);
CORVANE_API std::from_chars_result from_chars(const char* first, const char* last, double& value);
CORVANE_API std::from_chars_result from_chars(const char* first, const char* last, long double& value);

/// Writes the shortest decimal that reads back as the same finite number, and returns its end; `std::to_chars` of
/// libc++ writes no more digits than a `double` has.
CORVANE_API char* writeShortestDecimal(char* out, std::size_t room, long double value);
#endif

}  // namespace platform::detail
