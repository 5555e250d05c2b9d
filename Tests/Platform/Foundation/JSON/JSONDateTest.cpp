#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::encodingRefusal;
using platform::testing::refusal;
using platform::testing::refusalMessage;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::sys_time;
using Milliseconds = sys_time<std::chrono::milliseconds>;
using Nanoseconds = sys_time<std::chrono::nanoseconds>;

constexpr JSONStrategies inSeconds{.dates = JSONDateStrategy::secondsSince1970};
constexpr JSONStrategies inMilliseconds{.dates = JSONDateStrategy::millisecondsSince1970};
constexpr JSONStrategies asText{.dates = JSONDateStrategy::iso8601};

struct Event {
  std::string name;
  std::optional<sys_seconds> start;
};

TEST(JSONDateTest, needsAStrategy) {
  const DecodingError error = refusal<Event>(R"({"name":"n","start": 0})");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message(), "start: a date needs a date strategy: JSONDecoder({.dates = ...})");
  EXPECT_EQ(error.byteOffset(), 21U);
  EXPECT_EQ(encodingRefusal(Event{"n", sys_seconds()}).message(),
            "start: a date needs a date strategy: JSONEncoder({.dates = ...})");
  EXPECT_NO_THROW(decoded<Event>(R"({"name":"n"})"));
}

TEST(JSONDateTest, isANumberOfSeconds) {
  EXPECT_EQ(decoded<sys_seconds>("1700000000", inSeconds), sys_seconds(1'700'000'000s));
  EXPECT_EQ(decoded<sys_seconds>("-1", inSeconds), sys_seconds(-1s));
  EXPECT_EQ(decoded<Milliseconds>("1700000000.25", inSeconds), Milliseconds(1'700'000'000'250ms));
  EXPECT_EQ(decoded<Milliseconds>("1.7e9", inSeconds), Milliseconds(1'700'000'000'000ms));
  EXPECT_EQ(encoded(sys_seconds(1'700'000'000s), inSeconds), "1700000000");
  EXPECT_EQ(encoded(Milliseconds(1'700'000'000'250ms), inSeconds), "1700000000.25");
  EXPECT_EQ(encoded(Milliseconds(-1'500ms), inSeconds), "-1.5");
  EXPECT_EQ(encoded(sys_days(std::chrono::days(2)), inSeconds), "172800");
}

TEST(JSONDateTest, isANumberOfMilliseconds) {
  EXPECT_EQ(decoded<Milliseconds>("1700000000250", inMilliseconds), Milliseconds(1'700'000'000'250ms));
  EXPECT_EQ(decoded<Nanoseconds>("1.5", inMilliseconds), Nanoseconds(1'500'000ns));
  EXPECT_EQ(encoded(sys_seconds(-2s), inMilliseconds), "-2000");
  EXPECT_EQ(encoded(Nanoseconds(1'500'000ns), inMilliseconds), "1.5");
}

TEST(JSONDateTest, dropsWhatIsFinerThanItsTypeTowardsThePast) {
  EXPECT_EQ(decoded<sys_seconds>("1.999", inSeconds), sys_seconds(1s));
  EXPECT_EQ(decoded<sys_seconds>("-0.5", inSeconds), sys_seconds(-1s));
  EXPECT_EQ(decoded<sys_seconds>("1999", inMilliseconds), sys_seconds(1s));
  EXPECT_EQ(decoded<sys_seconds>("-1", inMilliseconds), sys_seconds(-1s));
  EXPECT_EQ(decoded<sys_days>("86399", inSeconds), sys_days());
  EXPECT_EQ(decoded<sys_days>("-1", inSeconds), sys_days(std::chrono::days(-1)));
  EXPECT_EQ(decoded<sys_seconds>(R"("1969-12-31T23:59:59.5Z")", asText), sys_seconds(-1s));
}

TEST(JSONDateTest, losesNoMillisecondOfADecimalFraction) {
  for (int millisecond = -2'000; millisecond < 2'000; ++millisecond) {
    const Milliseconds time(std::chrono::milliseconds(1'700'000'000'000 + millisecond));

    EXPECT_EQ(decoded<Milliseconds>(encoded(time, inSeconds), inSeconds), time);
    EXPECT_EQ(decoded<Milliseconds>(encoded(time, inMilliseconds), inMilliseconds), time);
    EXPECT_EQ(decoded<Milliseconds>(encoded(time, asText), asText), time);
  }
}

TEST(JSONDateTest, isRefusedWhereItsTypeCannotHoldIt) {
  using Small = sys_time<std::chrono::duration<std::int32_t>>;

  for (const char* number : {"1e19", "-1e19", "1e300"}) {
    EXPECT_EQ(refusalMessage<sys_seconds>(number, inSeconds), "the date is out of range") << number;
  }
  EXPECT_EQ(refusalMessage<Nanoseconds>("1e12", inSeconds), "the date is out of range");
  EXPECT_EQ(refusalMessage<Nanoseconds>(R"("2500-01-01T00:00:00Z")", asText), "the date is out of range");
  EXPECT_EQ(decoded<Small>("2147483647", inSeconds), Small(std::chrono::duration<std::int32_t>(INT32_MAX)));
  EXPECT_EQ(refusalMessage<Small>("2147483648", inSeconds), "the date is out of range");
}

TEST(JSONDateTest, isReadFromNumbersOnlyUnlessItIsText) {
  EXPECT_EQ(refusalMessage<sys_seconds>("\"0\"", inSeconds), "expected a number, found a string");
  EXPECT_EQ(refusalMessage<sys_seconds>("0", asText), "expected a string, found a number");
}

TEST(JSONTimestampTest, isTextWithAnyOffset) {
  const sys_seconds time(1'700'000'000s);
  for (const char* text :
       {"2023-11-14T22:13:20Z", "2023-11-14t22:13:20z", "2023-11-14 22:13:20Z", "2023-11-14T22:13:20+00:00",
        "2023-11-14T22:13:20-00:00", "2023-11-14T23:13:20+01:00", "2023-11-15T03:58:20+05:45",
        "2023-11-14T12:43:20-09:30", "2023-11-13T22:14:20-23:59", "2023-11-14T22:13:20.999999999999Z"}) {
    EXPECT_EQ(decoded<sys_seconds>("\"" + std::string(text) + "\"", asText), time) << text;
  }
}

TEST(JSONTimestampTest, isWrittenInUTCWithTheDigitsItTakes) {
  EXPECT_EQ(encoded(sys_seconds(1'700'000'000s), asText), R"("2023-11-14T22:13:20Z")");
  EXPECT_EQ(encoded(Milliseconds(1'700'000'000'250ms), asText), R"("2023-11-14T22:13:20.25Z")");
  EXPECT_EQ(encoded(Nanoseconds(1ns), asText), R"("1970-01-01T00:00:00.000000001Z")");
  EXPECT_EQ(encoded(Nanoseconds(-1ns), asText), R"("1969-12-31T23:59:59.999999999Z")");
  EXPECT_EQ(encoded(sys_days(2024y / 2 / 29), asText), R"("2024-02-29T00:00:00Z")");
}

TEST(JSONTimestampTest, keepsDigitsUpToItsPrecision) {
  const char* const text = R"("1970-01-01T00:00:01.123456789123Z")";

  EXPECT_EQ(decoded<Nanoseconds>(text, asText), Nanoseconds(1'123'456'789ns));
  EXPECT_EQ(decoded<Milliseconds>(text, asText), Milliseconds(1'123ms));
  EXPECT_EQ(decoded<sys_seconds>(text, asText), sys_seconds(1s));
}

TEST(JSONTimestampTest, takesALeapSecondAsTheOneAfterIt) {
  EXPECT_EQ(decoded<sys_seconds>(R"("2016-12-31T23:59:60Z")", asText), sys_seconds(sys_days(2017y / 1 / 1)));
}

TEST(JSONTimestampTest, goesFromTheYear0To9999) {
  const sys_seconds first(sys_days(0y / 1 / 1));
  const sys_seconds last = sys_days(9999y / 12 / 31) + 24h - 1s;

  EXPECT_EQ(encoded(first, asText), R"("0000-01-01T00:00:00Z")");
  EXPECT_EQ(encoded(last, asText), R"("9999-12-31T23:59:59Z")");
  EXPECT_EQ(decoded<sys_seconds>(encoded(first, asText), asText), first);
  EXPECT_EQ(decoded<sys_seconds>(encoded(last, asText), asText), last);
  for (const sys_seconds beyond : {first - 1s, last + 1s, sys_seconds::max(), sys_seconds::min()}) {
    EXPECT_EQ(encodingRefusal(beyond, asText).message(), "the date is outside of the years 0 to 9999");
  }
}

TEST(JSONTimestampTest, refusesEverythingElse) {
  for (const char* text : {"",
                           "2023-11-14",
                           "2023-11-14T22:13:20",
                           "2023-11-14T22:13Z",
                           "20231114T221320Z",
                           "2023-11-14T22:13:20+0100",
                           "2023-11-14T22:13:20+01",
                           "2023-11-14T22:13:20.Z",
                           "2023-11-14T22:13:20,5Z",
                           "2023-11-14T24:00:00Z",
                           "2023-11-14T22:60:00Z",
                           "2023-11-14T22:13:61Z",
                           "2023-13-01T00:00:00Z",
                           "2023-00-01T00:00:00Z",
                           "2023-02-29T00:00:00Z",
                           "2023-04-31T00:00:00Z",
                           "2023-01-00T00:00:00Z",
                           "+2023-11-14T22:13:20Z",
                           "12023-11-14T22:13:20Z",
                           "2023-11-14T22:13:20+24:00",
                           "2023-11-14T22:13:20+01:60",
                           "2023-11-14T22:13:20Z ",
                           " 2023-11-14T22:13:20Z",
                           "2023-11-14T22:13:20ZZ",
                           "2023-1-14T22:13:20Z",
                           "yesterday"}) {
    EXPECT_EQ(refusalMessage<sys_seconds>("\"" + std::string(text) + "\"", asText),
              "the text is no date like 2026-11-21T07:30:00Z (RFC 3339)")
        << text;
  }
}

}  // namespace
}  // namespace platform
