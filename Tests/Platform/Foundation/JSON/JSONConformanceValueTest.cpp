#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "Platform/Foundation/JSON/JSONConformanceModels.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform::json_conformance {

namespace {

using namespace std::string_view_literals;

struct TextSample {
  std::string_view json;
  std::string_view text;
};

struct NumberSample {
  std::string_view json;
  double number;
};

template <class T>
T decoded(std::string_view json) {
  return JSONDecoder{}.decode<T>(Data(json));
}

template <class T>
bool isTaken(std::string_view json) {
  try {
    decoded<T>(json);
    return true;
  } catch (const DecodingError&) {
    return false;
  }
}

std::string skipped(std::string_view text) { return R"({"ignored": )" + std::string(text) + R"(, "kept": 1})"; }

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

/// Longer than two vector registers of any machine.
constexpr std::size_t manyPlaces = 140;

TEST(JSONConformanceValueTest, readsEscapesAsTheCharactersTheyStandFor) {
  constexpr TextSample samples[] = {
      {R"("")", ""sv},
      {R"("\"\\\/\b\f\n\r\t")", "\"\\/\b\f\n\r\t"sv},
      {R"("\u0000")", "\0"sv},
      {R"("a\u0000b")", "a\0b"sv},
      {R"("\u0041\u00410041")", "AA0041"sv},
      {R"("\\u0041")", "\\u0041"sv},
      {R"("\u007F\u0080")", "\x7F\xC2\x80"sv},
      {R"("\u00e9\u00E9")", "\xC3\xA9\xC3\xA9"sv},
      {R"("\u07FF\u0800")", "\xDF\xBF\xE0\xA0\x80"sv},
      {R"("\u20aC")", "\xE2\x82\xAC"sv},
      {R"("\uD7FF\uE000")", "\xED\x9F\xBF\xEE\x80\x80"sv},
      {R"("\uFFFE\uFFFF")", "\xEF\xBF\xBE\xEF\xBF\xBF"sv},
      {R"("\uD800\uDC00")", "\xF0\x90\x80\x80"sv},
      {R"("\ud83d\uDe00")", "\xF0\x9F\x98\x80"sv},
      {R"("\uDBFF\uDFFF")", "\xF4\x8F\xBF\xBF"sv},
      {"\"\xEF\xBB\xBF\xE2\x80\xA8\x7F\"", "\xEF\xBB\xBF\xE2\x80\xA8\x7F"sv},
  };

  for (const auto& [json, text] : samples) {
    EXPECT_EQ(decoded<std::string>(json), text) << json;
  }
}

TEST(JSONConformanceValueTest, readsNumbersToTheNearestDouble) {
  const NumberSample samples[] = {
      {"0", 0.0},
      {"-1", -1.0},
      {"0.1", 0.1},
      {"123.456e-2", 1.23456},
      {"1E+2", 100.0},
      {"1e007", 1e7},
      {"9007199254740993", 9007199254740992.0},
      {"9007199254740995", 9007199254740996.0},
      {"9007199254740993.00000000000000000000000000000001", 9007199254740994.0},
      {"18446744073709551616", 18446744073709551616.0},
      {"99999999999999999999999999999999", 1e32},
      {"3.14159265358979323846264338327950288419716939937510", 3.141592653589793},
      {"7.2057594037927933e16", 72057594037927933.0},
      {"8.988465674311582e307", 8.988465674311582e307},
      {"1.7976931348623157e308", std::numeric_limits<double>::max()},
      {"2.2250738585072014e-308", std::numeric_limits<double>::min()},
      {"2.2250738585072011e-308", 2.2250738585072011e-308},
      {"4.9406564584124654e-324", std::numeric_limits<double>::denorm_min()},
      {"2e-324", 0.0},
      {"1e-400", 0.0},
      {"0e99999", 0.0},
  };

  for (const auto& [json, number] : samples) {
    EXPECT_EQ(decoded<double>(json), number) << json;
  }
}

TEST(JSONConformanceValueTest, weighsDigitsAndExponentTogether) {
  const std::string zeros(400, '0');

  EXPECT_EQ(decoded<double>("1" + zeros + "e-400"), 1.0);
  EXPECT_EQ(decoded<double>("0." + zeros + "1e401"), 1.0);
  EXPECT_EQ(decoded<double>("0." + zeros), 0.0);
  EXPECT_FALSE(isTaken<double>("1" + zeros));
  EXPECT_FALSE(isTaken<JSONValue>("1" + zeros));
  EXPECT_TRUE(isTaken<Kept>(skipped("1" + zeros)));
}

TEST(JSONConformanceValueTest, keepsTheSignOfZero) {
  EXPECT_TRUE(std::signbit(decoded<double>("-0.0")));
  EXPECT_TRUE(std::signbit(decoded<double>("-0")));
  EXPECT_TRUE(std::signbit(decoded<double>("-1e-400")));
  EXPECT_FALSE(std::signbit(decoded<double>("0.0")));
}

TEST(JSONConformanceValueTest, takesTheLastOfMembersWithTheSameName) {
  EXPECT_EQ(decoded<Kept>(R"({"kept": 1, "kept": 2})").kept, 2);
  EXPECT_EQ(decoded<Kept>(R"({"kept": 1, "other": 3, "k\u0065pt": 2})").kept, 2);
  EXPECT_TRUE(decoded<JSONValue>(R"({"a": 1, "a": 2})") == decoded<JSONValue>(R"({"a": 2})"));
  EXPECT_TRUE(decoded<Branch>(R"({"branches": [{"branches": []}], "branches": []})").branches.empty());
  EXPECT_FALSE(isTaken<Kept>(R"({"kept": 1, "kept": "2"})"));
  EXPECT_FALSE(isTaken<Kept>(R"({"kept": "1", "kept": 2})"));
}

TEST(JSONConformanceValueTest, readsAnEscapeAtEveryPlace) {
  for (std::size_t place = 0; place < manyPlaces; ++place) {
    const std::string before(place, 'x');

    ASSERT_EQ(decoded<std::string>(inQuotes(before + R"(\n)" + "yy")), before + "\nyy") << place;
    ASSERT_EQ(decoded<std::string>(inQuotes(before + R"(\uD83D\uDE00)" + "yy")), before + "\xF0\x9F\x98\x80yy")
        << place;
    ASSERT_EQ(decoded<std::string>(inQuotes(before + R"(\\)")), before + "\\") << place;
    ASSERT_EQ(decoded<std::string>(inQuotes(before + R"(\")")), before + "\"") << place;
  }
}

TEST(JSONConformanceValueTest, refusesEveryControlCharacterAtEveryPlace) {
  for (std::size_t place = 0; place < manyPlaces; ++place) {
    std::string text(manyPlaces, 'x');
    for (char control = 0; control < 0x20; ++control) {
      text[place] = control;

      ASSERT_FALSE(isTaken<std::string>(inQuotes(text))) << place << ' ' << int{control};
      ASSERT_FALSE(isTaken<JSONValue>(inQuotes(text))) << place << ' ' << int{control};
      ASSERT_FALSE(isTaken<Kept>(skipped(inQuotes(text)))) << place << ' ' << int{control};
    }
  }
}

TEST(JSONConformanceValueTest, refusesABadByteAtEveryPlace) {
  for (std::size_t place = 0; place < manyPlaces; ++place) {
    std::string text(manyPlaces, 'x');
    for (const char byte : {'\x80', '\xC0', '\xC3', '\xED', '\xF5', '\xFF'}) {
      text[place] = byte;

      ASSERT_FALSE(isTaken<std::string>(inQuotes(text))) << place << ' ' << int{byte};
      ASSERT_FALSE(isTaken<JSONValue>(inQuotes(text))) << place << ' ' << int{byte};
      ASSERT_FALSE(isTaken<Kept>(skipped(inQuotes(text)))) << place << ' ' << int{byte};
    }
  }
}

TEST(JSONConformanceValueTest, refusesEveryShortEscapeThatIsNoneOfTheEight) {
  constexpr std::string_view known = R"("\/bfnrt)";
  for (int code = 0; code < 256; ++code) {
    const char letter = static_cast<char>(code);
    if (letter == 'u') continue;
    const std::string json = inQuotes(std::string("\\") + letter);

    const bool isKnown = code != 0 && known.find(letter) != std::string_view::npos;

    ASSERT_EQ(isTaken<std::string>(json), isKnown) << code;
    ASSERT_EQ(isTaken<JSONValue>(json), isKnown) << code;
    ASSERT_EQ(isTaken<Kept>(skipped(json)), isKnown) << code;
  }
}

TEST(JSONConformanceValueTest, refusesEveryByteThatIsNoValueByItself) {
  constexpr std::string_view digits = "0123456789";
  for (int code = 0; code < 256; ++code) {
    const std::string json(1, static_cast<char>(code));

    const bool isDigit = digits.find(json) != std::string_view::npos;

    ASSERT_EQ(isTaken<JSONValue>(json), isDigit) << code;
    ASSERT_EQ(isTaken<JSONValue>("[1," + json + "]"), isDigit) << code;
    ASSERT_EQ(isTaken<Kept>(skipped(json)), isDigit) << code;
  }
}

}  // namespace

}  // namespace platform::json_conformance
