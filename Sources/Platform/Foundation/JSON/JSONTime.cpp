#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "Platform/Foundation/Internal/Int128.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueEncoder.hpp"
#include "Platform/Foundation/JSON/Internal/Timestamp.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {
namespace {

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;

using Wide = detail::Int128;

Wide floorDivide(Wide dividend, Wide divisor) { return dividend / divisor - (dividend % divisor < 0 ? 1 : 0); }

bool isCount(Wide count) {
  return count >= std::numeric_limits<std::int64_t>::min() && count <= std::numeric_limits<std::int64_t>::max();
}

/// The digits of a number before and after its point, as whole numbers.
struct DecimalSeconds {
  static constexpr int places = 15;

  bool isNegative = false;
  Wide whole = 0;
  /// In units of 10^-places; further digits are dropped.
  Wide fraction = 0;
  /// Whether digits were dropped that are not zero.
  bool isCut = false;
};

constexpr Wide powerOfTen(int exponent) { return exponent == 0 ? Wide{1} : 10 * powerOfTen(exponent - 1); }

/// Takes a valid JSON number apart; absent when it is out of the range of any date.
std::optional<DecimalSeconds> decimalOf(std::string_view text) {
  DecimalSeconds decimal;
  decimal.isNegative = text.starts_with('-');
  if (decimal.isNegative) text.remove_prefix(1);
  const std::size_t exponentAt = std::min(text.find_first_of("eE"), text.size());
  const std::string_view mantissa = text.substr(0, exponentAt);
  std::int64_t exponent = 0;
  if (exponentAt < text.size()) {
    std::string_view digits = text.substr(exponentAt + 1);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (result.ec != std::errc()) exponent = digits.starts_with('-') ? -1'000'000'000 : 1'000'000'000;
  }
  // The place of the digit that comes next: 0 for the ones.
  std::int64_t place = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size())) - 1 + exponent;
  for (const char c : mantissa) {
    if (c == '.') continue;
    const int digit = c - '0';
    if (digit != 0 && place > 20) return std::nullopt;
    if (place >= 0 && place <= 20) {
      decimal.whole += digit * powerOfTen(static_cast<int>(place));
    } else if (place < 0 && place >= -DecimalSeconds::places) {
      decimal.fraction += digit * powerOfTen(DecimalSeconds::places + static_cast<int>(place));
    } else if (digit != 0) {
      decimal.isCut = true;
    }
    --place;
  }
  return decimal;
}

/// A number of seconds, or of what there are `unitsInSecond` of, as ticks; what is less than a tick is dropped, in the
/// direction of the past.
std::optional<Wide> ticksOf(std::string_view text, Wide unitsInSecond, std::int64_t numerator,
                            std::int64_t denominator) {
  const std::optional<DecimalSeconds> number = decimalOf(text);
  constexpr Wide limit = powerOfTen(19);
  if (!number || number->whole > limit) return std::nullopt;
  // In two steps, so that nothing exceeds 128 bits: ticks are units x denominator / (unitsInSecond x numerator).
  const Wide divisor = unitsInSecond * numerator;
  const Wide product = number->whole * denominator;
  const Wide scale = powerOfTen(DecimalSeconds::places);
  const Wide partial = number->fraction * denominator;  // in units of 1 / scale
  const Wide remainder = (product % divisor) * scale + partial;
  const Wide magnitude = product / divisor + remainder / (divisor * scale);
  const bool isExact = remainder % (divisor * scale) == 0 && !number->isCut;
  if (!number->isNegative) return magnitude;
  return -magnitude - (isExact ? 0 : 1);
}

/// A fraction as decimal digits, which it has if its denominator is a power of ten; else absent.
std::optional<std::string> decimalText(Wide numerator, Wide denominator) {
  int places = 0;
  while (places <= 18 && powerOfTen(places) != denominator) ++places;
  if (places > 18) return std::nullopt;
  const Wide magnitude = numerator < 0 ? -numerator : numerator;
  const Wide whole = magnitude / denominator;
  if (!isCount(whole)) return std::nullopt;
  std::string fraction = std::to_string(static_cast<std::int64_t>(magnitude % denominator));
  fraction.insert(0, static_cast<std::size_t>(places) - std::min(fraction.size(), static_cast<std::size_t>(places)),
                  '0');
  while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
  std::string text = (numerator < 0 ? "-" : "") + std::to_string(static_cast<std::int64_t>(whole));
  if (!fraction.empty()) text.append(1, '.').append(fraction);
  return text;
}

}  // namespace

std::int64_t detail::JSONValueDecoder::decodeTime(JSONReader& reader, std::int64_t numerator,
                                                  std::int64_t denominator) {
  reader.scanner_.next();
  const char* const start = reader.scanner_.cursor();
  std::optional<Wide> ticks;
  switch (reader.strategies_.dates) {
    case JSONDateStrategy::none:
      reader.failAt(start, "a date needs a date strategy: JSONDecoder({.dates = ...})");
    case JSONDateStrategy::secondsSince1970:
    case JSONDateStrategy::millisecondsSince1970: {
      if (reader.kind() != JSONKind::number) reader.failMismatch("a number");
      const bool isSeconds = reader.strategies_.dates == JSONDateStrategy::secondsSince1970;
      ticks = ticksOf(reader.readRaw(), isSeconds ? 1 : 1000, numerator, denominator);
      break;
    }
    case JSONDateStrategy::iso8601: {
      std::string text;
      decode(reader, text);
      const std::optional<detail::Timestamp> time = detail::parseTimestamp(text);
      if (!time) reader.failAt(start, "the text is no date like 2026-11-21T07:30:00Z (RFC 3339)");
      const Wide nanoseconds = static_cast<Wide>(time->seconds) * nanosecondsInSecond + time->nanoseconds;
      ticks = floorDivide(nanoseconds * denominator, static_cast<Wide>(numerator) * nanosecondsInSecond);
      break;
    }
  }
  if (!ticks || !isCount(*ticks)) reader.failAt(start, "the date is out of range");
  return static_cast<std::int64_t>(*ticks);
}

void detail::JSONValueEncoder::encodeTime(JSONWriter& writer, std::int64_t count, std::int64_t numerator,
                                          std::int64_t denominator) {
  const Wide ticks = static_cast<Wide>(count) * numerator;
  switch (writer.strategies_.dates) {
    case JSONDateStrategy::none:
      writer.fail("a date needs a date strategy: JSONEncoder({.dates = ...})");
    case JSONDateStrategy::secondsSince1970:
    case JSONDateStrategy::millisecondsSince1970: {
      const Wide units = writer.strategies_.dates == JSONDateStrategy::secondsSince1970 ? 1 : 1000;
      const Wide number = ticks * units;
      if (const std::optional<std::string> text = decimalText(number, denominator)) {
        writer.writeRaw(*text);
      } else if (number % denominator == 0 && isCount(number / denominator)) {
        writer.writeSigned(static_cast<std::int64_t>(number / denominator));
      } else {
        writer.writeReal(static_cast<double>(number) / static_cast<double>(denominator));
      }
      return;
    }
    case JSONDateStrategy::iso8601: {
      const Wide seconds = floorDivide(ticks, denominator);
      const auto nanoseconds =
          static_cast<std::int64_t>((ticks - seconds * denominator) * nanosecondsInSecond / denominator);
      std::optional<std::string> text;
      if (isCount(seconds)) text = detail::timestampText({static_cast<std::int64_t>(seconds), nanoseconds});
      if (!text) writer.fail("the date is outside of the years 0 to 9999");
      writer.writeString(*text);
      return;
    }
  }
}

}  // namespace platform
