#include "JSONText.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

TEST(JSONTextTest, writesPlainTextInQuotes) {
  EXPECT_EQ(json::text("Ada"), "\"Ada\"");
  EXPECT_EQ(json::text(""), "\"\"");
}

TEST(JSONTextTest, escapesQuotesAndBackslashes) { EXPECT_EQ(json::text(R"(say "a\b")"), R"("say \"a\\b\"")"); }

TEST(JSONTextTest, escapesEveryControlCharacter) {
  for (int c = 0; c < 0x20; ++c) {
    const std::string text = json::text(std::string(1, static_cast<char>(c)));

    EXPECT_EQ(text.substr(0, 2), "\"\\") << c;
  }
  EXPECT_EQ(json::text("\n\r\t"), R"("\n\r\t")");
  EXPECT_EQ(json::text(std::string(1, '\0')), R"("\u0000")");
  EXPECT_EQ(json::text("\x1b[31m"), R"("\u001b[31m")");
  EXPECT_EQ(json::text("\x7f"), R"("\u007f")");
}

TEST(JSONTextTest, leavesCharactersOutsideOfASCIIAsTheyAre) {
  EXPECT_EQ(json::text("caf\u00e9 \u4f60 \U0001F600"), "\"caf\u00e9 \u4f60 \U0001F600\"");
}

TEST(JSONTextTest, replacesWhatIsNoUTF8) {
  EXPECT_EQ(json::text("a\xff"
                       "b"),
            "\"a\uFFFDb\"");
  EXPECT_EQ(json::text("\xc3"), "\"\uFFFD\"");
  EXPECT_EQ(json::text("\xed\xa0\x80"), "\"\uFFFD\uFFFD\uFFFD\"") << "a surrogate is no character";
}

TEST(JSONTextTest, writesWholeNumbersCompletely) {
  EXPECT_EQ(json::number(std::int64_t{0}), "0");
  EXPECT_EQ(json::number(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JSONTextTest, writesFractionsWithSixDigitsAndNoExponent) {
  EXPECT_EQ(json::number(0.25), "0.250000");
  EXPECT_EQ(json::number(1e-9), "0.000000");
  EXPECT_EQ(json::number(1e20), "100000000000000000000.000000");
}

TEST(JSONTextTest, hasNoNumberForInfinityAndNaN) {
  EXPECT_EQ(json::number(std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(json::number(std::numeric_limits<double>::quiet_NaN()), "null");
}

TEST(JSONTextTest, tellsAbsentTextFromEmptyText) {
  EXPECT_EQ(json::textOrNull(std::nullopt), "null");
  EXPECT_EQ(json::textOrNull(""), "\"\"");
}

TEST(JSONTextTest, putsItemsIntoAnArray) {
  EXPECT_EQ(json::array({}), "[]");
  EXPECT_EQ(json::array({"1"}), "[1]");
  EXPECT_EQ(json::array({"1", json::text("a")}), "[1, \"a\"]");
}

TEST(JSONTextTest, putsMembersIntoAnObjectInTheirOrder) {
  json::Object object;
  EXPECT_EQ(object.text(), "{}");

  object.add("b", json::number(std::int64_t{1})).add("a \"quoted\" name", json::null);

  EXPECT_EQ(object.text(), R"({"b": 1, "a \"quoted\" name": null})");
}

}  // namespace
