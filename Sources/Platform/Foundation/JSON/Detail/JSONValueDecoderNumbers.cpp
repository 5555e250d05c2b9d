#include <array>
#include <cfloat>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/Internal/RealFromChars.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"
#include "Platform/Foundation/JSON/Internal/JSONScannerNumbers.hpp"

namespace platform::detail {
namespace {

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

/// The digits before the exponent, without leading zeros.
std::string significantDigitsOf(const JSONNumber& number) {
  std::string digits;
  for (const char c : number.text()) {
    if ((c | 0x20) == 'e') break;
    if (isDigit(c) && (!digits.empty() || c != '0')) digits.push_back(c);
  }
  return digits;
}

template <class Real>
bool makeExactly(const JSONNumber& number, Real& value) {
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
bool makeReal(const JSONNumber& number, Real& value) {
  if (makeExactly(number, value)) return true;
  const auto result = detail::from_chars(number.start, number.end, value);
  if (result.ec == std::errc()) return true;
  // Both ends of the range are reported alike.
  const auto digitCount = static_cast<std::int64_t>(significantDigitsOf(number).size());
  value = number.isNegative ? -Real(0) : Real(0);
  return number.exponent + digitCount <= 0;
}

enum class Wholeness { whole, fraction, tooLarge };

/// The magnitude of a number that is whole, whatever its form.
Wholeness makeWhole(const JSONNumber& number, std::uint64_t& magnitude) {
  if (number.isInteger && number.isComplete) {
    magnitude = number.digits;
    return Wholeness::whole;
  }
  std::string digits = significantDigitsOf(number);
  std::int64_t exponent = number.exponent;
  for (; !digits.empty() && digits.back() == '0'; ++exponent) digits.pop_back();
  magnitude = 0;
  if (digits.empty()) return Wholeness::whole;
  if (exponent < 0) return Wholeness::fraction;
  if (exponent > mostSafeDigits) return Wholeness::tooLarge;
  digits.append(static_cast<std::size_t>(exponent), '0');
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
  return result.ec == std::errc() ? Wholeness::whole : Wholeness::tooLarge;
}

std::string shortened(std::string_view text) {
  return text.size() <= 40 ? std::string(text) : std::string(text.substr(0, 40)) + "...";
}

template <class Real>
constexpr const char* nameOfReal = "a double";
template <>
constexpr const char* nameOfReal<float> = "a float";
template <>
constexpr const char* nameOfReal<long double> = "a long double";

}  // namespace

/// Goes to the number that comes next, without passing it. Compilers do not inline it by themselves, which makes
/// decoding of real numbers 11 to 19 % slower.
[[gnu::always_inline]] inline JSONNumber JSONValueDecoder::scan(JSONReader& reader, const char* expected) {
  const char first = reader.scanner_.next();
  if (first != '-' && !isDigit(first)) reader.failMismatch(expected);
  JSONNumber number;
  const char* const end = reader.scanner_.end();
  if (!scanNumber(reader.scanner_.cursor(), end, number)) reader.failSyntax(faultOfNumber(number.end, end));
  return number;
}

template <class Integer>
void JSONValueDecoder::decodeInteger(JSONReader& reader, Integer& value) {
  JSONScanner& scanner = reader.scanner_;
  const bool isNegative = scanner.next() == '-';
  const char* const start = scanner.cursor() + (isNegative ? 1 : 0);
  std::uint64_t digits = 0;
  const char* const end = passDigits(start, scanner.end(), digits);
  const auto most = static_cast<std::uint64_t>(std::numeric_limits<Integer>::max());
  const std::uint64_t limit = !isNegative ? most : (std::is_signed_v<Integer> ? most + 1 : 0);
  const bool isPlain = start < end && end - start <= mostSafeDigits && (*start != '0' || end - start == 1) &&
                       digits <= limit && !isPointOrExponent(end, scanner.end());
  if (!isPlain) digits = decodeUnusualInteger(reader, limit, sizeof(Integer) * 8, std::is_signed_v<Integer>);
  if (isPlain) scanner.moveTo(end);
  value = static_cast<Integer>(isNegative ? ~digits + 1 : digits);
}

/// The magnitude of an integer that is long, or written with a point or an exponent, or none at all.
std::uint64_t JSONValueDecoder::decodeUnusualInteger(JSONReader& reader, std::uint64_t limit, std::size_t bits,
                                                     bool isSigned) {
  const JSONNumber number = scan(reader, "an integer");
  std::uint64_t magnitude = 0;
  const Wholeness wholeness = makeWhole(number, magnitude);
  if (wholeness == Wholeness::fraction) {
    reader.failKind(number.start, "expected an integer, found the number " + shortened(number.text()));
  }
  if (wholeness == Wholeness::tooLarge || magnitude > limit) {
    reader.failAt(number.start, "the number " + shortened(number.text()) + " does not fit into " +
                                    (isSigned ? "a signed" : "an unsigned") + " integer of " + std::to_string(bits) +
                                    " bits");
  }
  reader.scanner_.moveTo(number.end);
  return magnitude;
}

template <class Real>
void JSONValueDecoder::convert(JSONReader& reader, const JSONNumber& number, Real& value) {
  if (!makeReal(number, value)) {
    reader.failAt(number.start, "the number " + shortened(number.text()) + " is too large for " + nameOfReal<Real>);
  }
  reader.scanner_.moveTo(number.end);
}

template <class Real>
void JSONValueDecoder::decodeReal(JSONReader& reader, Real& value) {
  convert(reader, scan(reader, "a number"), value);
}

std::variant<std::int64_t, std::uint64_t, double> JSONValueDecoder::decodeNumber(JSONReader& reader) {
  const JSONNumber number = scan(reader, "a number");
  constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
  std::uint64_t magnitude = 0;
  const bool isNegativeZero = number.isNegative && number.isComplete && number.digits == 0;
  if (number.isInteger && !isNegativeZero && makeWhole(number, magnitude) == Wholeness::whole &&
      (!number.isNegative || magnitude <= most + 1)) {
    reader.scanner_.moveTo(number.end);
    if (number.isNegative) return static_cast<std::int64_t>(~magnitude + 1);
    if (magnitude <= most) return static_cast<std::int64_t>(magnitude);
    return magnitude;
  }
  double real = 0;
  convert(reader, number, real);
  return real;
}

void JSONValueDecoder::decode(JSONReader& reader, std::int8_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::int16_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::int32_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::int64_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::uint8_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::uint16_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::uint32_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, std::uint64_t& value) { decodeInteger(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, float& value) { decodeReal(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, double& value) { decodeReal(reader, value); }
void JSONValueDecoder::decode(JSONReader& reader, long double& value) { decodeReal(reader, value); }

template void JSONValueDecoder::decodeErased<std::int32_t>(JSONReader&, void*);
template void JSONValueDecoder::decodeErased<std::int64_t>(JSONReader&, void*);
template void JSONValueDecoder::decodeErased<std::uint32_t>(JSONReader&, void*);
template void JSONValueDecoder::decodeErased<std::uint64_t>(JSONReader&, void*);
template void JSONValueDecoder::decodeErased<double>(JSONReader&, void*);

}  // namespace platform::detail
