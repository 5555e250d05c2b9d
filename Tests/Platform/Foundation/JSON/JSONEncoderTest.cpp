#include "Platform/Foundation/JSON/JSONEncoder.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using namespace std::string_view_literals;
using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::repeated;

TEST(JSONEncoderTest, escapesEveryControlCharacterByALetterWhereThereIsOne) {
  static constexpr const char* escapes[] = {"\\u0000", "\\u0001", "\\u0002", "\\u0003", "\\u0004", "\\u0005", "\\u0006",
                                            "\\u0007", "\\b",     "\\t",     "\\n",     "\\u000b", "\\f",     "\\r",
                                            "\\u000e", "\\u000f", "\\u0010", "\\u0011", "\\u0012", "\\u0013", "\\u0014",
                                            "\\u0015", "\\u0016", "\\u0017", "\\u0018", "\\u0019", "\\u001a", "\\u001b",
                                            "\\u001c", "\\u001d", "\\u001e", "\\u001f"};
  for (int code = 0; code < 0x20; ++code) {
    const std::string text(1, static_cast<char>(code));

    EXPECT_EQ(encoded(text), "\"" + std::string(escapes[code]) + "\"");
    EXPECT_EQ(encoded("a" + text + "b"), "\"a" + std::string(escapes[code]) + "b\"");
  }
}

TEST(JSONEncoderTest, escapesQuotesAndBackslashes) { EXPECT_EQ(encoded("\"\\"sv), R"("\"\\")"); }

TEST(JSONEncoderTest, leavesAllOtherCharactersAsTheyAre) {
  std::string ascii;
  for (char c = 0x20; c < 0x7F; ++c) {
    if (c != '"' && c != '\\') ascii.push_back(c);
  }
  const std::string others = "\x7F/\u0080\u00e4\u2028\u2029\uFEFF\uFFFF\U0001F600\U0010FFFF";

  EXPECT_EQ(encoded(ascii), "\"" + ascii + "\"");
  EXPECT_EQ(encoded(others), "\"" + others + "\"");
}

TEST(JSONEncoderTest, escapesAtEveryPlaceOfATextOfAnyLength) {
  for (std::size_t length = 1; length < 80; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      std::string text(length, 'x');
      text[place] = '"';

      ASSERT_EQ(encoded(text), "\"" + text.substr(0, place) + "\\" + text.substr(place) + "\"");
    }
  }
}

TEST(JSONEncoderTest, writesTextOfEscapesOnly) {
  const std::string text(10'000, '\x01');

  EXPECT_EQ(encoded(text), "\"" + repeated("\\u0001", 10'000) + "\"");
  EXPECT_EQ(decoded<std::string>(encoded(text)), text);
}

TEST(JSONEncoderTest, writesNoWhiteSpace) {
  struct Point {
    int x;
    std::vector<bool> flags;
  };

  EXPECT_EQ(encoded(std::vector<Point>{{1, {true}}, {2, {}}}), R"([{"x":1,"flags":[true]},{"x":2,"flags":[]}])");
}

TEST(JSONEncoderTest, laysOutForPeopleWhereAskedTo) {
  struct Point {
    int x;
    std::vector<std::vector<int>> lists;
    std::string text;
  };
  const JSONEncoder encoder({}, JSONFormatting::pretty);

  EXPECT_EQ(encoder.encode(Point{1, {{1, 2}, {}}, "{\"a\": [1,2]}"}).text(), R"({
  "x": 1,
  "lists": [
    [
      1,
      2
    ],
    []
  ],
  "text": "{\"a\": [1,2]}"
})");
  EXPECT_EQ(encoder.encode(std::vector<int>()).text(), "[]");
  EXPECT_EQ(encoder.encode(7).text(), "7");
}

TEST(JSONFormattingTest, laysOutDocumentsWithAnyWhiteSpace) {
  EXPECT_EQ(prettyPrintedJSON("\t{ \"a\" :[ 1 ,{ }, [\n]] ,\"b\\\\\\\"\":\"x , y\"}\n").text(), R"({
  "a": [
    1,
    {},
    []
  ],
  "b\\\"": "x , y"
})");
}

TEST(JSONFormattingTest, leavesNumbersAndTextsAsTheyAreWritten) {
  EXPECT_EQ(prettyPrintedJSON(R"([1.0,1E+2,-0,"\u0041\/"])").text(), "[\n  1.0,\n  1E+2,\n  -0,\n  \"\\u0041\\/\"\n]");
}

TEST(JSONFormattingTest, isTheSameWhenDoneTwice) {
  const Data once = prettyPrintedJSON(R"({"a":[1,{"b":[]}],"c":{}})");

  EXPECT_EQ(prettyPrintedJSON(once), once);
}

TEST(JSONFormattingTest, dropsAByteOrderMark) { EXPECT_EQ(prettyPrintedJSON("\xEF\xBB\xBF[]").text(), "[]"); }

TEST(JSONFormattingTest, refusesWhatIsNotJSON) {
  for (const char* text : {"", "[", "[1,]", "{\"a\"}", "1 2", "\"a", "{]"}) {
    EXPECT_THROW(prettyPrintedJSON(text), DecodingError) << text;
  }
}

}  // namespace
}  // namespace platform
