#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <charconv>
#include <cstring>
#include <limits>
#include <system_error>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/Internal/RealFromChars.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform {
namespace {

/// The most digits that surely fit into 64 bits.
constexpr int mostSafeDigits = 19;

template <class Real>
struct Exact;  // Within these bounds a product or quotient of two exact numbers is rounded once, so correctly.
template <>
struct Exact<float> {
  static constexpr std::uint64_t largest = std::uint64_t{1} << 24;
  static constexpr std::array<float, 11> powers{1e0F, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F, 1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
};
template <>
struct Exact<double> {
  static constexpr std::uint64_t largest = std::uint64_t{1} << 53;
  static constexpr std::array<double, 23> powers{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
};
template <>
struct Exact<long double> {
  static constexpr std::uint64_t largest = 0;
  static constexpr std::array<long double, 1> powers{1};
};

/// A number taken apart: digits x 10^exponent.
struct Decimal {
  const char* end;
  std::uint64_t digits = 0;
  std::int64_t exponent = 0;
  bool isNegative = false;
  bool isInteger = true;
  /// Whether `digits` and `exponent` hold all of it.
  bool isComplete = true;
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
    for (; cursor < end && detail::isDigit(*cursor); ++cursor)
      value = value * 10 + static_cast<std::uint64_t>(*cursor - '0');
  }
  digits = value;
  return cursor;
}

/// Requires that the cursor stands at an exponent. Where it stops being one, or after it.
bool passExponent(const char*& cursor, const char* end, std::int64_t& exponent) {
  ++cursor;
  const bool isNegative = cursor < end && *cursor == '-';
  if (isNegative || (cursor < end && *cursor == '+')) ++cursor;
  if (cursor == end || !detail::isDigit(*cursor)) return false;
  std::int64_t value = 0;
  for (; cursor < end && detail::isDigit(*cursor); ++cursor) {
    if (value < 1'000'000'000) value = value * 10 + (*cursor - '0');
  }
  exponent += isNegative ? -value : value;
  return true;
}

/// False when there is no number as RFC 8259, 6 writes it; then `end` says where it stops being one.
inline bool parse(const char* cursor, const char* end, Decimal& number) {
  const auto fails = [&](const char* place) {
    number.end = place;
    return false;
  };
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

/// The digits before the exponent, without leading zeros.
std::string significantDigitsOf(const char* start, const char* end) {
  std::string digits;
  for (; start < end && (*start | 0x20) != 'e'; ++start) {
    if (detail::isDigit(*start) && (!digits.empty() || *start != '0')) digits.push_back(*start);
  }
  return digits;
}

template <class Real>
bool makeExactly(const Decimal& number, Real& value) {
  // A processor that calculates with more digits, as that of i386, rounds twice.
  if constexpr (FLT_EVAL_METHOD != 0) return false;
  constexpr auto& powers = Exact<Real>::powers;
  constexpr auto most = static_cast<std::int64_t>(powers.size()) - 1;
  if (!number.isComplete || number.digits > Exact<Real>::largest) return false;
  if (number.exponent < -most || number.exponent > most) return false;
  const auto digits = static_cast<Real>(number.digits);
  value = number.exponent < 0 ? digits / powers[static_cast<std::size_t>(-number.exponent)]
                              : digits * powers[static_cast<std::size_t>(number.exponent)];
  if (number.isNegative) value = -value;
  return true;
}

/// False when the number is too large for the type; one that is too small is zero.
template <class Real>
bool makeReal(const char* start, const Decimal& number, Real& value) {
  if (makeExactly(number, value)) return true;
  const auto result = detail::from_chars(start, number.end, value);
  if (result.ec == std::errc()) return true;
  // Both ends of the range are reported alike.
  const std::string digits = significantDigitsOf(start, number.end);
  const bool isTooSmall = number.exponent + static_cast<std::int64_t>(digits.size()) <= 0;
  value = number.isNegative ? -Real(0) : Real(0);
  return isTooSmall;
}

std::string shortened(const char* start, const char* end) {
  const std::string_view text(start, static_cast<std::size_t>(end - start));
  return text.size() <= 40 ? std::string(text) : std::string(text.substr(0, 40)) + "...";
}

template <class Real>
constexpr const char* nameOfReal = "a double";
template <>
constexpr const char* nameOfReal<float> = "a float";
template <>
constexpr const char* nameOfReal<long double> = "a long double";

}  // namespace

std::string_view JSONReader::peekNumber() {
  next();
  const char* const start = cursor_;
  passNumber();
  const std::string_view text(start, static_cast<std::size_t>(cursor_ - start));
  cursor_ = start;
  return text;
}

void JSONReader::passNumber() {
  Decimal number{};
  const bool isNumber = parse(cursor_, end_, number);
  if (!isNumber) failNumber(number.end);
  cursor_ = number.end;
}

void JSONReader::failNumber(const char* position) {
  cursor_ = position;
  const bool isAfterZero = position > begin_ && position[-1] == '0' && position < end_ && detail::isDigit(*position);
  failToFind(isAfterZero ? "no digit after the leading 0 of a number" : "a digit of a number");
}

template <class Integer>
void JSONReader::readInteger(Integer& value) {
  const char first = next();
  const bool isNegative = first == '-';
  const char* const start = cursor_ + (isNegative ? 1 : 0);
  std::uint64_t digits = 0;
  const char* const end = passDigits(start, end_, digits);
  const auto most = static_cast<std::uint64_t>(std::numeric_limits<Integer>::max());
  const std::uint64_t limit = !isNegative ? most : (std::is_signed_v<Integer> ? most + 1 : 0);
  const bool isPlain = start < end && end - start <= mostSafeDigits && (*start != '0' || end - start == 1) &&
                       digits <= limit && (end == end_ || (*end != '.' && (*end | 0x20) != 'e'));
  if (!isPlain) digits = readUnusualInteger(limit, sizeof(Integer) * 8, std::is_signed_v<Integer>);
  if (isPlain) cursor_ = end;
  value = static_cast<Integer>(isNegative ? ~digits + 1 : digits);
}

/// The magnitude of an integer that is long, or written with a point or an exponent, or none at all.
std::uint64_t JSONReader::readUnusualInteger(std::uint64_t limit, std::size_t bits, bool isSigned) {
  if (const char first = next(); first != '-' && !detail::isDigit(first)) failMismatch("an integer");
  const char* const start = cursor_;
  Decimal number{};
  if (!parse(start, end_, number)) failNumber(number.end);
  std::uint64_t digits = number.digits;
  bool fits = true;
  if (!number.isInteger) {
    fits = takeWholeReal(start, number.end, digits);
  } else if (!number.isComplete) {
    fits = std::from_chars(start + (number.isNegative ? 1 : 0), number.end, digits).ec == std::errc();
  }
  if (!fits || digits > limit) {
    failAt(start, "the number " + shortened(start, number.end) + " does not fit into " +
                      (isSigned ? "a signed" : "an unsigned") + " integer of " + std::to_string(bits) + " bits");
  }
  cursor_ = number.end;
  return digits;
}

/// An integer may be written with a point or an exponent, as long as it is whole. False when 64 bits are too few.
bool JSONReader::takeWholeReal(const char* start, const char* end, std::uint64_t& value) {
  Decimal number{};
  parse(start, end, number);
  std::string digits = significantDigitsOf(start, end);
  for (; !digits.empty() && digits.back() == '0'; ++number.exponent) digits.pop_back();
  value = 0;
  if (digits.empty()) return true;
  if (number.exponent < 0) failKind(start, "expected an integer, found the number " + shortened(start, end));
  if (number.exponent > mostSafeDigits) return false;
  digits.append(static_cast<std::size_t>(number.exponent), '0');
  return std::from_chars(digits.data(), digits.data() + digits.size(), value).ec == std::errc();
}

template <class Real>
void JSONReader::readReal(Real& value) {
  const char first = next();
  if (first != '-' && !detail::isDigit(first)) failMismatch("a number");
  const char* const start = cursor_;
  Decimal number{};
  if (!parse(start, end_, number)) failNumber(number.end);
  if (!makeReal(start, number, value)) {
    failAt(start, "the number " + shortened(start, number.end) + " is too large for " + nameOfReal<Real>);
  }
  cursor_ = number.end;
}

template <class Integer>
void JSONReader::decodeInteger(JSONReader& reader, void* value) {
  reader.readInteger(*static_cast<Integer*>(value));
}

void JSONReader::decodeDouble(JSONReader& reader, void* value) { reader.readReal(*static_cast<double*>(value)); }

template void JSONReader::decodeInteger<std::int32_t>(JSONReader&, void*);
template void JSONReader::decodeInteger<std::uint32_t>(JSONReader&, void*);
template void JSONReader::decodeInteger<std::int64_t>(JSONReader&, void*);
template void JSONReader::decodeInteger<std::uint64_t>(JSONReader&, void*);

template void JSONReader::readInteger(std::int8_t&);
template void JSONReader::readInteger(std::int16_t&);
template void JSONReader::readInteger(std::int32_t&);
template void JSONReader::readInteger(std::int64_t&);
template void JSONReader::readInteger(std::uint8_t&);
template void JSONReader::readInteger(std::uint16_t&);
template void JSONReader::readInteger(std::uint32_t&);
template void JSONReader::readInteger(std::uint64_t&);
template void JSONReader::readReal(float&);
template void JSONReader::readReal(double&);
template void JSONReader::readReal(long double&);

}  // namespace platform
