#include "Platform/Loading/HTTPDate.hpp"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <ctime>
#include <string>

namespace platform {
namespace {

constexpr std::int64_t november1994 = 784111777;

TEST(HTTPDateTest, readsTheThreeForms) {
  EXPECT_EQ(secondsSince1970("Sun, 06 Nov 1994 08:49:37 GMT"), november1994);
  EXPECT_EQ(secondsSince1970("Sunday, 06-Nov-94 08:49:37 GMT"), november1994);
  EXPECT_EQ(secondsSince1970("Sun Nov  6 08:49:37 1994"), november1994);
}

TEST(HTTPDateTest, readsADayOfTwoDigitsInTheFormOfC) {
  EXPECT_EQ(secondsSince1970("Wed Nov 16 08:49:37 1994"), november1994 + 10 * 86'400);
}

TEST(HTTPDateTest, knowsAllMonths) {
  const std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (std::size_t index = 0; index < months.size(); ++index) {
    std::tm parts{};
    parts.tm_year = 2024 - 1900;
    parts.tm_mon = static_cast<int>(index);
    parts.tm_mday = 28;

    EXPECT_EQ(secondsSince1970(std::string("Mon, 28 ") + months[index] + " 2024 00:00:00 GMT"), ::timegm(&parts));
  }
}

TEST(HTTPDateTest, knowsTheBoundsOfCalendarAndClock) {
  EXPECT_EQ(secondsSince1970("Thu, 01 Jan 1970 00:00:00 GMT"), 0);
  EXPECT_EQ(secondsSince1970("Wed, 31 Dec 1969 23:59:59 GMT"), -1);
  EXPECT_EQ(secondsSince1970("Thu, 29 Feb 2024 12:00:00 GMT"), 1709208000);
  EXPECT_EQ(secondsSince1970("Fri, 31 Dec 9999 23:59:59 GMT"), 253402300799);
  EXPECT_EQ(secondsSince1970("Sat, 31 Dec 2016 23:59:60 GMT"), 1483228800) << "a leap second";
}

TEST(HTTPDateTest, doesNotLookAtTheNameOfTheDay) {
  EXPECT_EQ(secondsSince1970("Mon, 06 Nov 1994 08:49:37 GMT"), november1994);
}

/// A date in the form with two digits for the year, in so many years from now.
std::string shortDate(int yearsAhead) {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&now, &parts);
  std::string year = std::to_string((parts.tm_year + 1900 + yearsAhead) % 100);
  if (year.size() == 1) year.insert(0, "0");
  return "Monday, 01-Jun-" + year + " 00:00:00 GMT";
}

int yearOf(const std::optional<std::int64_t>& seconds) {
  const std::chrono::sys_seconds moment{std::chrono::seconds(seconds.value_or(0))};
  return static_cast<int>(std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(moment)).year());
}

TEST(HTTPDateTest, takesAYearFarAheadForOneLongAgo) {
  std::tm parts{};
  const std::time_t now = std::time(nullptr);
  ::gmtime_r(&now, &parts);
  const int thisYear = parts.tm_year + 1900;

  EXPECT_EQ(yearOf(secondsSince1970(shortDate(0))), thisYear);
  EXPECT_EQ(yearOf(secondsSince1970(shortDate(1))), thisYear + 1);
  EXPECT_EQ(yearOf(secondsSince1970(shortDate(51))), thisYear - 49);
}

TEST(HTTPDateTest, readsNothingElse) {
  for (const auto* text : {
           "",
           " ",
           ",",
           ", ",
           "now",
           "784111777",
           "1994-11-06T08:49:37Z",
           "06 Nov 1994 08:49:37 GMT",
           "Sun, 06 Nov 1994 08:49:37",
           "Sun, 06 Nov 1994 08:49:37 UTC",
           "Sun, 06 Nov 1994 08:49:37 +0000",
           "Sun, 06 Nov 1994 08:49:37 GMT ",
           "Sun, 06 Nov 1994 08:49:37 GMT, 1",
           "Sun, 6 Nov 1994 08:49:37 GMT",
           "Sun, 06 nov 1994 08:49:37 GMT",
           "Sun, 06 Nov 94 08:49:37 GMT",
           "Sun, 06 Nov 1994 8:49:37 GMT",
           "Sun, 06 Nov 1994 -8:49:37 GMT",
           "Sun, 06 Nov 1994 -0:49:37 GMT",
           "Sun, 06 Nov 1994 +8:49:37 GMT",
           "Sun, 06 Nov 1994  8:49:37 GMT",
           "Sun, 06 Nov 1994 08.49.37 GMT",
           "Sun, 06 Nov 1994 24:00:00 GMT",
           "Sun, 06 Nov 1994 08:60:00 GMT",
           "Sun, 06 Nov 1994 08:49:61 GMT",
           "Sun, 00 Nov 1994 08:49:37 GMT",
           "Sun, 31 Nov 1994 08:49:37 GMT",
           "Wed, 29 Feb 2023 12:00:00 GMT",
           "Sunday, 06-Nov-1994 08:49:37 GMT",
           "Sunday, 06-Nov-94 08:49:37",
           "Sunday, 06 Nov-94 08:49:37 GMT",
           "Sun Nov 6 08:49:37 1994",
           "Sun Nov  6 08:49:37 94",
           "Sun Nov  6 08:49:37 1994 GMT",
       })
    EXPECT_EQ(secondsSince1970(text), std::nullopt) << text;
}

}  // namespace
}  // namespace platform
