#include "Platform/Loading/HTTPHeaderFields.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

TEST(HTTPHeaderFieldsTest, findsAValueWithoutRegardToCase) {
  const HTTPHeaderFields fields = {{"Content-Type", "text/plain"}};

  EXPECT_EQ(fields.value("content-TYPE"), "text/plain");
  EXPECT_TRUE(fields.contains("CONTENT-TYPE"));
  EXPECT_EQ(fields.value("Content-Typ"), std::nullopt);
  EXPECT_FALSE(fields.contains("Content-Type2"));
}

TEST(HTTPHeaderFieldsTest, foldsTheCaseOfASCIILettersOnly) {
  const HTTPHeaderFields fields = {{"a[b", "1"}, {"\xC3\x84", "2"}};

  EXPECT_FALSE(fields.contains("a{b"));
  EXPECT_FALSE(fields.contains("\xC3\xA4"));
}

TEST(HTTPHeaderFieldsTest, keepsTheOrderInWhichFieldsWereFirstAdded) {
  HTTPHeaderFields fields = {{"A", "1"}, {"B", "2"}, {"C", "3"}};

  fields.set("b", "two");

  EXPECT_THAT(fields, ElementsAre(Pair("A", "1"), Pair("b", "two"), Pair("C", "3")));
}

TEST(HTTPHeaderFieldsTest, keepsEveryValueOfARepeatedField) {
  HTTPHeaderFields fields;

  fields.add("Set-Cookie", "a=1");
  fields.add("Vary", "Accept");
  fields.add("set-cookie", "b=2");

  EXPECT_THAT(fields.values("SET-COOKIE"), ElementsAre("a=1", "b=2"));
  EXPECT_EQ(fields.value("Set-Cookie"), "a=1, b=2");
  EXPECT_EQ(fields.count(), 3U);
}

TEST(HTTPHeaderFieldsTest, setReplacesARepeatedFieldByOneInThePlaceOfTheFirst) {
  HTTPHeaderFields fields;
  fields.add("X", "1");
  fields.add("Y", "2");
  fields.add("x", "3");

  fields.set("X", "4");

  EXPECT_THAT(fields, ElementsAre(Pair("X", "4"), Pair("Y", "2")));
}

TEST(HTTPHeaderFieldsTest, setTakesViewsOfItself) {
  HTTPHeaderFields fields;
  fields.add("Long-Name-That-Is-Not-Stored-Inline", "first value that is not stored inline");
  fields.add("long-name-that-is-not-stored-inline", "second value that is not stored inline");
  const auto& second = *(fields.begin() + 1);

  fields.set(second.first, second.second);

  EXPECT_THAT(fields,
              ElementsAre(Pair("long-name-that-is-not-stored-inline", "second value that is not stored inline")));
}

TEST(HTTPHeaderFieldsTest, keepsEveryFieldOfALiteral) {
  const HTTPHeaderFields fields{{"A", "1"}, {"a", "2"}};

  EXPECT_THAT(fields.values("A"), ElementsAre("1", "2"));
  EXPECT_EQ(fields.count(), 2u);
}

TEST(HTTPHeaderFieldsTest, removesEveryFieldOfAName) {
  HTTPHeaderFields fields;
  fields.add("X", "1");
  fields.add("Y", "2");
  fields.add("x", "3");

  EXPECT_TRUE(fields.remove("x"));
  EXPECT_FALSE(fields.remove("x"));
  EXPECT_THAT(fields, ElementsAre(Pair("Y", "2")));
}

TEST(HTTPHeaderFieldsTest, removesByAViewOfItself) {
  HTTPHeaderFields fields = {{"A-Name-Too-Long-To-Be-Inline", "1"}, {"Y", "2"}};

  EXPECT_TRUE(fields.remove(fields.begin()->first));
  EXPECT_THAT(fields, ElementsAre(Pair("Y", "2")));
}

TEST(HTTPHeaderFieldsTest, mergesWithSet) {
  HTTPHeaderFields fields = {{"A", "1"}, {"B", "2"}};

  fields.merge({{"b", "3"}, {"C", "4"}});

  EXPECT_THAT(fields, ElementsAre(Pair("A", "1"), Pair("b", "3"), Pair("C", "4")));
}

TEST(HTTPHeaderFieldsTest, mergesWithItself) {
  HTTPHeaderFields fields;
  fields.add("A", "1");
  fields.add("A", "2");

  fields.merge(fields);

  EXPECT_THAT(fields, ElementsAre(Pair("A", "2")));
}

TEST(HTTPHeaderFieldsTest, comparesNamesWithoutAndValuesWithRegardToCase) {
  const HTTPHeaderFields fields = {{"A", "x"}, {"B", "y"}};

  EXPECT_EQ(fields, (HTTPHeaderFields{{"a", "x"}, {"b", "y"}}));
  EXPECT_NE(fields, (HTTPHeaderFields{{"A", "X"}, {"B", "y"}}));
  EXPECT_NE(fields, (HTTPHeaderFields{{"B", "y"}, {"A", "x"}}));
  EXPECT_NE(fields, (HTTPHeaderFields{{"A", "x"}}));
}

TEST(HTTPHeaderFieldsTest, hasNoObjectionToTokensAndVisibleText) {
  EXPECT_EQ(HTTPHeaderFields::problem("X-!#$%&'*+-.^_`|~09", "a \t\"b\" \xC3\xA4 \xFF"), "");
  EXPECT_EQ(HTTPHeaderFields::problem("Empty", ""), "");
}

TEST(HTTPHeaderFieldsTest, objectsToEveryCharacterThatIsNoTokenCharacter) {
  const std::string allowed = "!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

  for (int code = 0; code < 256; ++code) {
    const char character = static_cast<char>(code);
    const bool isAllowed = allowed.find(character) != std::string::npos;

    const std::string problem = HTTPHeaderFields::problem(std::string("X") + character, "v");

    EXPECT_EQ(problem.empty(), isAllowed) << code;
  }
}

TEST(HTTPHeaderFieldsTest, objectsToEveryControlCharacterInAValueButTab) {
  for (int code = 0; code < 256; ++code) {
    const bool isAllowed = code == '\t' || (code >= 0x20 && code != 0x7F);

    const std::string problem = HTTPHeaderFields::problem("X", std::string(1, static_cast<char>(code)));

    EXPECT_EQ(problem.empty(), isAllowed) << code;
  }
}

TEST(HTTPHeaderFieldsTest, saysWhichFieldIsWrongAndWhy) {
  EXPECT_EQ(HTTPHeaderFields::problem("", "v"), "A header field has an empty name.");
  EXPECT_EQ(HTTPHeaderFields::problem("X Y", "v"),
            "The header field name \"X Y\" holds \" \", which is not allowed in a name.");
  EXPECT_EQ(HTTPHeaderFields::problem("X\r\nY", "v"),
            "The header field name \"X\\x0D\\x0AY\" holds \"\\x0D\", which is not allowed in a name.");
  EXPECT_EQ(HTTPHeaderFields::problem("X", "a\r\nEvil: 1"), "The value of the header field \"X\" holds a line break.");
  EXPECT_EQ(HTTPHeaderFields::problem("X", "a\nb"), "The value of the header field \"X\" holds a line break.");
  EXPECT_EQ(HTTPHeaderFields::problem("X", std::string_view("a\0b", 3)),
            "The value of the header field \"X\" holds a NUL.");
  EXPECT_THAT(HTTPHeaderFields::problem("X", "\x1B[0m"), HasSubstr("the control character \\x1B."));
}

}  // namespace
}  // namespace platform
