#include "Platform/Foundation/JSON/Internal/Timestamp.hpp"

#include <chrono>
#include <cstdio>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform::detail {
namespace {

using namespace std::chrono;

/// Takes the text apart from the front; every function is false when something else stands there.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool number(int digits, int& value) {
    value = 0;
    for (int count = 0; count < digits; ++count) {
      if (!isAtDigit()) return false;
      value = value * 10 + (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return true;
  }
  bool sign(std::string_view either) {
    if (rest_.empty() || either.find(rest_.front()) == std::string_view::npos) return false;
    last_ = rest_.front();
    rest_.remove_prefix(1);
    return true;
  }
  char lastSign() const { return last_; }
  /// Of a second, as many digits as there are.
  bool fraction(std::int64_t& nanoseconds) {
    if (!isAtDigit()) return false;
    for (std::int64_t unit = 100'000'000; isAtDigit(); unit /= 10) {
      nanoseconds += unit * (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return true;
  }
  bool isAtEnd() const { return rest_.empty(); }

 private:
  bool isAtDigit() const { return !rest_.empty() && detail::isDigit(rest_.front()); }

  std::string_view rest_;
  char last_ = '\0';
};

/// The offset from UTC in minutes.
bool offset(Scanner& text, int& minutes) {
  minutes = 0;
  if (text.sign("Zz")) return true;
  if (!text.sign("+-")) return false;
  const int direction = text.lastSign() == '-' ? -1 : 1;
  int hour = 0;
  int minute = 0;
  if (!text.number(2, hour) || !text.sign(":") || !text.number(2, minute) || hour > 23 || minute > 59) return false;
  minutes = direction * (hour * 60 + minute);
  return true;
}

}  // namespace

std::optional<Timestamp> parseTimestamp(std::string_view text) {
  Scanner scanner(text);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, east = 0;
  const bool hasDate = scanner.number(4, year) && scanner.sign("-") && scanner.number(2, month) && scanner.sign("-") &&
                       scanner.number(2, day);
  const bool hasTime = hasDate && scanner.sign("Tt ") && scanner.number(2, hour) && scanner.sign(":") &&
                       scanner.number(2, minute) && scanner.sign(":") && scanner.number(2, second);
  if (!hasTime || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  Timestamp timestamp;
  if (scanner.sign(".") && !scanner.fraction(timestamp.nanoseconds)) return std::nullopt;
  if (!offset(scanner, east) || !scanner.isAtEnd()) return std::nullopt;
  const year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                            std::chrono::day(static_cast<unsigned>(day)));
  if (!date.ok()) return std::nullopt;
  const auto time = sys_days(date) + hours(hour) + minutes(minute - east) + seconds(second);
  timestamp.seconds = time.time_since_epoch().count();
  return timestamp;
}

std::optional<std::string> timestampText(const Timestamp& timestamp) {
  constexpr sys_seconds first = sys_days(year(0) / January / 1);
  constexpr sys_seconds last = sys_days(year(10000) / January / 1) - seconds(1);
  if (timestamp.seconds < first.time_since_epoch().count() || timestamp.seconds > last.time_since_epoch().count())
    return std::nullopt;
  const sys_seconds time{seconds(timestamp.seconds)};
  const auto midnight = floor<days>(time);
  const year_month_day date(midnight);
  const hh_mm_ss clock(time - midnight);
  char text[40];
  const int length = std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                                   static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                                   static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                                   static_cast<int>(clock.seconds().count()));
  std::string result(text, static_cast<std::size_t>(length));
  if (timestamp.nanoseconds != 0) {
    std::snprintf(text, sizeof text, ".%09d", static_cast<int>(timestamp.nanoseconds));
    result.append(text);
    while (result.back() == '0') result.pop_back();
  }
  return result.append("Z");
}

}  // namespace platform::detail
