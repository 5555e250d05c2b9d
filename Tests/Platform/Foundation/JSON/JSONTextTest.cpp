#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using namespace std::string_view_literals;
using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

TEST(JSONTextTest, readsPlainText) {
  EXPECT_EQ(decoded<std::string>(R"("")"), "");
  EXPECT_EQ(decoded<std::string>(R"("a")"), "a");
  EXPECT_EQ(decoded<std::string>(R"("To be, or not to be: that is the question")"),
            "To be, or not to be: that is the question");
}

TEST(JSONTextTest, readsEveryEscape) {
  EXPECT_EQ(decoded<std::string>(R"("\"\\\/\b\f\n\r\t\u0041\u00e9\u20AC")"), "\"\\/\b\f\n\r\tA\u00e9\u20ac");
}

TEST(JSONTextTest, readsPairsOfSurrogates) {
  EXPECT_EQ(decoded<std::string>(R"("\ud83d\ude00")"), "\U0001F600");
  EXPECT_EQ(decoded<std::string>(R"("\uD800\uDC00\uDBFF\uDFFF")"), "\U00010000\U0010FFFF");
}

TEST(JSONTextTest, keepsANULCharacterInTheMiddle) {
  EXPECT_EQ(decoded<std::string>(R"("a\u0000b")"), "a\0b"sv);
  EXPECT_EQ(encoded(std::string("a\0b"sv)), R"("a\u0000b")");
}

TEST(JSONTextTest, readsTextOfAnyLengthAndWhatFollowsIt) {
  for (std::size_t length = 0; length < 300; ++length) {
    const std::string plain(length, 'x');
    const std::string accented = testing::repeated("\u00e4", length);

    EXPECT_EQ((decoded<std::vector<std::string>>("[\"" + plain + "\",\"" + accented + "\"]")),
              (std::vector{plain, accented}));
  }
}

TEST(JSONTextTest, readsAVeryLongText) {
  const std::string text = testing::repeated("0123456789\u00e4\n\"", 100'000);

  EXPECT_EQ(decoded<std::string>(encoded(text)), text);
}

TEST(JSONTextTest, takesOtherAlphabetsAsTheyAre) {
  const std::string text = "\u00e4 \u0416 \u4e2d\u6587 \U0001F680 \u2028\uFFFD";

  EXPECT_EQ(decoded<std::string>("\"" + text + "\""), text);
}

TEST(JSONTextTest, overwritesWhatStoodThere) {
  struct Note {
    std::string text = "a default that is longer than the text";
  };

  EXPECT_EQ(decoded<Note>(R"({"text":"short"})").text, "short");
  EXPECT_EQ(decoded<Note>(R"({"text":"\n"})").text, "\n");
  EXPECT_EQ(decoded<Note>(R"({"text":"first\n","text":"second"})").text, "second");
}

TEST(JSONTextTest, tellsWhereTextIsNotUTF8) {
  const DecodingError error = refusal<std::vector<std::string>>("[\"fine\", \"a\xFFz\"]");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message(), "[1]: the text is not UTF-8");
  EXPECT_EQ(error.byteOffset(), 9U);
}

TEST(JSONTextTest, refusesTextThatIsNotUTF8AfterAnEscapeToo) {
  EXPECT_EQ(refusalMessage<std::string>("\"\\n\xC3\""), "the text is not UTF-8");
  EXPECT_EQ(refusalMessage<std::string>("\"\xC3\\n\xA4\""), "the text is not UTF-8");
}

TEST(JSONTextTest, tellsWhereAnEscapeIsWrong) {
  EXPECT_EQ(refusalMessage<std::string>(R"("a\x")"), "the text is not JSON: this escape does not exist");
  EXPECT_EQ(refusal<std::string>(R"("a\x")").byteOffset(), 2U);
  EXPECT_EQ(refusalMessage<std::string>(R"("\u00G0")"), "the text is not JSON: expected a hexadecimal digit at byte 5");
  EXPECT_EQ(refusalMessage<std::string>(R"("\ud83d!")"), "half of a pair of surrogates stands alone");
  EXPECT_EQ(refusal<std::string>(R"("ab\ude00")").byteOffset(), 3U);
}

TEST(JSONTextTest, tellsWhereTextBreaksOff) {
  EXPECT_EQ(refusalMessage<std::string>("\"abc"),
            "the text is not JSON: expected a closing quote at byte 4, where the text ends");
  EXPECT_EQ(refusalMessage<std::string>("\"a\nb\""),
            "the text is not JSON: a control character must be escaped in a string");
}

TEST(JSONTextTest, isReadFromStringsOnly) {
  EXPECT_EQ(refusalMessage<std::string>("1"), "expected a string, found a number");
  EXPECT_EQ(refusalMessage<std::string>("null"), "expected a string, found null");
}

TEST(JSONBooleanTest, isReadFromTrueAndFalseOnly) {
  EXPECT_TRUE(decoded<bool>("true"));
  EXPECT_FALSE(decoded<bool>(" false "));

  EXPECT_EQ(refusalMessage<bool>("1"), "expected a boolean, found a number");
  EXPECT_EQ(refusalMessage<bool>("\"true\""), "expected a boolean, found a string");
  EXPECT_EQ(refusalMessage<bool>("null"), "expected a boolean, found null");
  EXPECT_EQ(refusalMessage<bool>("tru"), "the text is not JSON: expected true at byte 0");
  EXPECT_EQ(refusalMessage<bool>("trueish"), "the text is not JSON: expected the end of the document at byte 4");
}

TEST(JSONBooleanTest, isWrittenAsAWord) {
  EXPECT_EQ(encoded(true), "true");
  EXPECT_EQ(encoded(false), "false");
}

}  // namespace
}  // namespace platform
