#include "Platform/Loading/HTTPDate.hpp"

#include <array>
#include <charconv>
#include <chrono>

namespace platform {

namespace {

constexpr std::array<std::string_view, 12> monthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// Reads a date from its start to its end; once something is missing, it stays failed.
class DateReader {
 public:
  explicit DateReader(std::string_view text) : rest_(text) {}

  bool isAtEnd() const { return hasSucceeded_ && rest_.empty(); }

  void expect(std::string_view text) {
    if (!rest_.starts_with(text)) hasSucceeded_ = false;
    if (hasSucceeded_) rest_.remove_prefix(text.size());
  }
  int number(std::size_t digits) {
    int value = 0;
    if (hasSucceeded_ && rest_.size() >= digits) {
      const auto [end, problem] = std::from_chars(rest_.data(), rest_.data() + digits, value);
      // A sign is no digit.
      hasSucceeded_ = problem == std::errc() && end == rest_.data() + digits && rest_.front() != '-';
      rest_.remove_prefix(digits);
    } else {
      hasSucceeded_ = false;
    }
    return value;
  }
  /// Of one digit with a space before it, or of two.
  int paddedDay() {
    if (!rest_.starts_with(' ')) return number(2);
    rest_.remove_prefix(1);
    return number(1);
  }
  unsigned month() {
    for (unsigned index = 0; index < monthNames.size(); ++index) {
      if (!rest_.starts_with(monthNames[index])) continue;
      rest_.remove_prefix(3);
      return index + 1;
    }
    hasSucceeded_ = false;
    return 1;
  }
  std::chrono::seconds timeOfDay() {
    const int hour = number(2);
    expect(":");
    const int minute = number(2);
    expect(":");
    const int second = number(2);
    if (hour > 23 || minute > 59 || second > 60) hasSucceeded_ = false;
    return std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
  }

 private:
  std::string_view rest_;
  bool hasSucceeded_ = true;
};

int fullYear(int lastTwoDigits) {
  using namespace std::chrono;
  const int thisYear = static_cast<int>(year_month_day(floor<days>(system_clock::now())).year());
  const int year = thisYear - thisYear % 100 + lastTwoDigits;
  return year > thisYear + 50 ? year - 100 : year;
}

std::optional<std::int64_t> moment(const DateReader& reader, int year, unsigned month, int day,
                                   std::chrono::seconds time) {
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!reader.isAtEnd() || !date.ok()) return std::nullopt;
  return (std::chrono::sys_days(date).time_since_epoch() + time) / std::chrono::seconds(1);
}

/// "06 Nov 1994 08:49:37 GMT".
std::optional<std::int64_t> fixedDate(std::string_view text) {
  DateReader reader(text);
  const int day = reader.number(2);
  reader.expect(" ");
  const unsigned month = reader.month();
  reader.expect(" ");
  const int year = reader.number(4);
  reader.expect(" ");
  const auto time = reader.timeOfDay();
  reader.expect(" GMT");
  return moment(reader, year, month, day, time);
}

/// "06-Nov-94 08:49:37 GMT".
std::optional<std::int64_t> oldDate(std::string_view text) {
  DateReader reader(text);
  const int day = reader.number(2);
  reader.expect("-");
  const unsigned month = reader.month();
  reader.expect("-");
  const int year = fullYear(reader.number(2));
  reader.expect(" ");
  const auto time = reader.timeOfDay();
  reader.expect(" GMT");
  return moment(reader, year, month, day, time);
}

/// "Nov  6 08:49:37 1994".
std::optional<std::int64_t> dateOfC(std::string_view text) {
  DateReader reader(text);
  const unsigned month = reader.month();
  reader.expect(" ");
  const int day = reader.paddedDay();
  reader.expect(" ");
  const auto time = reader.timeOfDay();
  reader.expect(" ");
  const int year = reader.number(4);
  return moment(reader, year, month, day, time);
}

}  // namespace

std::optional<std::int64_t> secondsSince1970(std::string_view httpDate) {
  const std::size_t comma = httpDate.find(", ");
  if (comma == httpDate.npos) {
    const std::size_t space = httpDate.find(' ');
    return space == httpDate.npos ? std::nullopt : dateOfC(httpDate.substr(space + 1));
  }
  const std::string_view date = httpDate.substr(comma + 2);
  return date.size() > 2 && date[2] == '-' ? oldDate(date) : fixedDate(date);
}

}  // namespace platform
