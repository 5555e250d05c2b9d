#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/JSON/Detail/JSONScanner.hpp"

/// The numbers of the scanner, inline: a document may consist of little else.
namespace platform::detail {

/// The most digits that surely fit into 64 bits.
inline constexpr int mostSafeDigits = 19;

/// A number taken apart: digits x 10^exponent.
struct JSONNumber {
  const char* start = nullptr;
  const char* end = nullptr;
  std::uint64_t digits = 0;
  std::int64_t exponent = 0;
  bool isNegative = false;
  /// Whether it is written without a point and without an exponent.
  bool isInteger = true;
  /// Whether `digits` and `exponent` hold all of it.
  bool isComplete = true;

  std::string_view text() const { return {start, static_cast<std::size_t>(end - start)}; }
};

/// Eight characters, the first in the lowest byte, as far as they are digits: how many are, and their number.
struct DigitBlock {
  std::size_t count;
  std::uint64_t number;
};
inline DigitBlock digitsOf(std::uint64_t characters, std::size_t most) {
  constexpr std::uint64_t zeros = 0x3030303030303030U;
  constexpr std::uint64_t highBits = 0x8080808080808080U;
  // Each byte of a digit is its value now; adding 0x76 to any other sets its high bit.
  const std::uint64_t values = characters ^ zeros;
  const std::uint64_t others = (values | (values + 0x7676767676767676U)) & highBits;
  const std::size_t count = std::min(static_cast<std::size_t>(std::countr_zero(others)) / 8, most);
  if (count == 0) return {0, 0};
  // With zeros before them they are eight digits: joined to pairs, and these to one number.
  std::uint64_t pairs = values << (64 - 8 * count);
  pairs = pairs * 10 + (pairs >> 8U);
  constexpr std::uint64_t everyOther = 0x000000FF000000FFU;
  const std::uint64_t number =
      ((pairs & everyOther) * 0x000F424000000064U + ((pairs >> 16U) & everyOther) * 0x0000271000000001U) >> 32U;
  return {count, number};
}

/// Passes digits and adds them to a number. Reads up to eight characters more than there are, which `Data` allows.
inline const char* passDigits(const char* cursor, const char* end, std::uint64_t& digits) {
  static constexpr std::uint64_t powers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
  std::uint64_t value = digits;
  if constexpr (std::endian::native == std::endian::little) {
    // How many digits there are is hard to predict, so eight are taken at once.
    for (;;) {
      std::uint64_t characters;
      std::memcpy(&characters, cursor, sizeof characters);
      const DigitBlock block = digitsOf(characters, static_cast<std::size_t>(end - cursor));
      value = value * powers[block.count] + block.number;
      cursor += block.count;
      if (block.count < sizeof characters) break;
    }
  } else {
    for (; cursor < end && isDigit(*cursor); ++cursor) value = value * 10 + static_cast<std::uint64_t>(*cursor - '0');
  }
  digits = value;
  return cursor;
}

/// Requires that the cursor stands at an exponent. Where it stops being one, or after it.
inline bool passExponent(const char*& cursor, const char* end, std::int64_t& exponent) {
  ++cursor;
  const bool isNegative = cursor < end && *cursor == '-';
  if (isNegative || (cursor < end && *cursor == '+')) ++cursor;
  if (cursor == end || !isDigit(*cursor)) return false;
  std::int64_t value = 0;
  for (; cursor < end && isDigit(*cursor); ++cursor) {
    if (value < 1'000'000'000) value = value * 10 + (*cursor - '0');
  }
  exponent += isNegative ? -value : value;
  return true;
}

/// Whether a number goes on after its first digits.
inline bool isPointOrExponent(const char* place, const char* end) {
  return place < end && (*place == '.' || (*place | 0x20) == 'e');
}

/// False when there is no number as RFC 8259, 6 writes it; then `end` of the number says where it stops being one.
inline bool scanNumber(const char* cursor, const char* end, JSONNumber& number) {
  const auto fails = [&](const char* place) {
    number.end = place;
    return false;
  };
  number.start = cursor;
  number.isNegative = cursor < end && *cursor == '-';
  if (number.isNegative) ++cursor;
  const char* const whole = cursor;
  std::uint64_t digits = 0;
  cursor = passDigits(cursor, end, digits);
  std::ptrdiff_t count = cursor - whole;
  if (count == 0) return fails(cursor);
  if (*whole == '0' && count > 1) return fails(whole + 1);
  if (cursor < end && *cursor == '.') {
    number.isInteger = false;
    const char* const fraction = ++cursor;
    cursor = passDigits(cursor, end, digits);
    if (cursor == fraction) return fails(cursor);
    number.exponent = fraction - cursor;
    count += cursor - fraction;
  }
  if (cursor < end && (*cursor | 0x20) == 'e') {
    number.isInteger = false;
    if (!passExponent(cursor, end, number.exponent)) return fails(cursor);
  }
  number.digits = digits;
  number.isComplete = count <= mostSafeDigits;
  number.end = cursor;
  return true;
}

/// For the place where `scanNumber` stopped.
inline JSONFault faultOfNumber(const char* position, const char* end) {
  // Elsewhere a digit would have been passed.
  const bool isAfterZero = position < end && isDigit(*position);
  return {.position = position,
          .expected = isAfterZero ? "no digit after the leading 0 of a number" : "a digit of a number"};
}

}  // namespace platform::detail
