#include <cmath>
#include <limits>
#include <optional>

#include "Platform/Foundation/JSON/Internal/Timestamp.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {
namespace {

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;

__extension__ using Wide = __int128;

Wide floorDivide(Wide dividend, Wide divisor) { return dividend / divisor - (dividend % divisor < 0 ? 1 : 0); }

bool isCount(Wide count) {
  return count >= std::numeric_limits<std::int64_t>::min() && count <= std::numeric_limits<std::int64_t>::max();
}

/// What is as good as whole, given how precise a double is there, is not to lose a tick by rounding.
double floorOfDecimal(double number) {
  const double nearest = std::nearbyint(number);
  const double uncertainty = 4 * std::numeric_limits<double>::epsilon() * std::fabs(number);
  return std::fabs(number - nearest) <= uncertainty ? nearest : std::floor(number);
}

/// A number of seconds or milliseconds as ticks, exactly if it is whole.
std::optional<Wide> ticksOfNumber(double number, double unitsInSecond, std::int64_t numerator,
                                  std::int64_t denominator) {
  if (std::fabs(number) >= 1e18) return std::nullopt;
  const double whole = std::floor(number);
  const auto units = static_cast<Wide>(unitsInSecond);
  const Wide ticks = floorDivide(static_cast<Wide>(whole) * denominator, units * numerator);
  if (number == whole) return ticks;
  const double scaled = number / unitsInSecond * static_cast<double>(denominator) / static_cast<double>(numerator);
  return static_cast<Wide>(floorOfDecimal(scaled));
}

}  // namespace

std::int64_t JSONReader::readTime(std::int64_t numerator, std::int64_t denominator) {
  next();
  const char* const start = cursor_;
  std::optional<Wide> ticks;
  switch (strategies_.dates) {
    case JSONDateStrategy::none:
      failAt(start, "a date needs a date strategy: JSONDecoder({.dates = ...})");
    case JSONDateStrategy::secondsSince1970:
    case JSONDateStrategy::millisecondsSince1970: {
      double number = 0;
      readReal(number);
      const bool isSeconds = strategies_.dates == JSONDateStrategy::secondsSince1970;
      ticks = ticksOfNumber(number, isSeconds ? 1 : 1000, numerator, denominator);
      break;
    }
    case JSONDateStrategy::iso8601: {
      std::string text;
      readString(text);
      const std::optional<detail::Timestamp> time = detail::parseTimestamp(text);
      if (!time) failAt(start, "the text is no date like 2026-11-21T07:30:00Z (RFC 3339)");
      const Wide nanoseconds = static_cast<Wide>(time->seconds) * nanosecondsInSecond + time->nanoseconds;
      ticks = floorDivide(nanoseconds * denominator, static_cast<Wide>(numerator) * nanosecondsInSecond);
      break;
    }
  }
  if (!ticks || !isCount(*ticks)) failAt(start, "the date is out of range");
  return static_cast<std::int64_t>(*ticks);
}

void JSONWriter::writeTime(std::int64_t count, std::int64_t numerator, std::int64_t denominator) {
  const Wide ticks = static_cast<Wide>(count) * numerator;
  switch (strategies_.dates) {
    case JSONDateStrategy::none:
      fail("a date needs a date strategy: JSONEncoder({.dates = ...})");
    case JSONDateStrategy::secondsSince1970:
    case JSONDateStrategy::millisecondsSince1970: {
      const Wide units = strategies_.dates == JSONDateStrategy::secondsSince1970 ? 1 : 1000;
      const Wide number = ticks * units;
      if (number % denominator == 0 && isCount(number / denominator)) {
        writeSigned(static_cast<std::int64_t>(number / denominator));
      } else {
        writeReal(static_cast<double>(number) / static_cast<double>(denominator));
      }
      return;
    }
    case JSONDateStrategy::iso8601: {
      const Wide seconds = floorDivide(ticks, denominator);
      const auto nanoseconds =
          static_cast<std::int64_t>((ticks - seconds * denominator) * nanosecondsInSecond / denominator);
      std::optional<std::string> text;
      if (isCount(seconds)) text = detail::timestampText({static_cast<std::int64_t>(seconds), nanoseconds});
      if (!text) fail("the date is outside of the years 0 to 9999");
      writeString(*text);
      return;
    }
  }
}

}  // namespace platform
