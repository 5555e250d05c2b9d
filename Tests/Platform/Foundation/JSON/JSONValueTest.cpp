#include "Platform/Foundation/JSON/JSONValue.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::repeated;

TEST(JSONValueTest, isAnyValue) {
  EXPECT_EQ(JSONValue().kind(), JSONKind::null);
  EXPECT_EQ(JSONValue(nullptr).kind(), JSONKind::null);
  EXPECT_EQ(JSONValue(false).kind(), JSONKind::boolean);
  EXPECT_EQ(JSONValue(1).kind(), JSONKind::number);
  EXPECT_EQ(JSONValue(UINT64_MAX).kind(), JSONKind::number);
  EXPECT_EQ(JSONValue(1.5F).kind(), JSONKind::number);
  EXPECT_EQ(JSONValue("text").kind(), JSONKind::string);
  EXPECT_EQ(JSONValue(JSONValue::Array{1}).kind(), JSONKind::array);
  EXPECT_EQ(JSONValue(JSONObject{{"a", 1}}).kind(), JSONKind::object);
}

TEST(JSONValueTest, tellsNothingAboutOtherKinds) {
  const JSONValue text("1");
  const JSONValue number(1);

  EXPECT_FALSE(text.boolean() || text.integer() || text.unsignedInteger() || text.number() || text.array() ||
               text.object() || text.isNull());
  EXPECT_FALSE(number.boolean() || number.string());
  EXPECT_TRUE(JSONValue().isNull());
}

TEST(JSONValueTest, keepsIntegersExactly) {
  for (const std::int64_t integer :
       {std::int64_t{0}, std::int64_t{-1}, INT64_MAX, INT64_MIN, std::int64_t{9007199254740993}}) {
    const auto value = decoded<JSONValue>(std::to_string(integer));

    EXPECT_EQ(value.integer(), integer);
    EXPECT_EQ(value.number(), static_cast<double>(integer));
    EXPECT_EQ(encoded(value), std::to_string(integer));
  }
}

TEST(JSONValueTest, keepsLargeUnsignedIntegersExactly) {
  const auto value = decoded<JSONValue>("18446744073709551615");

  EXPECT_EQ(value.integer(), std::nullopt);
  EXPECT_EQ(value.unsignedInteger(), UINT64_MAX);
  EXPECT_EQ(value.number(), 18446744073709551615.0);
  EXPECT_EQ(encoded(value), "18446744073709551615");
  EXPECT_EQ(JSONValue(7).unsignedInteger(), 7U);
  EXPECT_EQ(JSONValue(7U).integer(), 7);
  EXPECT_EQ(JSONValue(-7).unsignedInteger(), std::nullopt);
}

TEST(JSONValueTest, takesOtherNumbersAsDoubles) {
  for (const char* text : {"1.0", "1e2", "-0", "18446744073709551616", "-9223372036854775809", "0.5"}) {
    const auto value = decoded<JSONValue>(text);

    EXPECT_EQ(value.integer(), std::nullopt) << text;
    EXPECT_EQ(value.number(), std::stod(text)) << text;
  }
  EXPECT_EQ(encoded(decoded<JSONValue>("-0")), "-0");
}

TEST(JSONValueTest, leadsToMembersAndElements) {
  const auto value = decoded<JSONValue>(R"({"users":[{"name":"Ada"},{"name":"Bob"}]})");

  EXPECT_EQ(*value["users"][1]["name"].string(), "Bob");
  EXPECT_TRUE(value["nobody"].isNull());
  EXPECT_TRUE(value["users"][2].isNull());
  EXPECT_TRUE(value["users"]["name"].isNull());
  EXPECT_TRUE(value[0].isNull());
  EXPECT_TRUE(value["users"][0]["name"]["first"][7]["x"].isNull());
}

TEST(JSONValueTest, isChangedInPlace) {
  auto value = decoded<JSONValue>(R"({"list":[1]})");

  value.object()->find("list")->array()->push_back("two");
  (*value.object())["new"] = JSONObject{{"a", nullptr}};

  EXPECT_EQ(encoded(value), R"({"list":[1,"two"],"new":{"a":null}})");
}

TEST(JSONValueTest, isEqualByValue) {
  EXPECT_EQ(JSONValue(7), JSONValue(7U));
  EXPECT_EQ(JSONValue(1), JSONValue(1.0));
  EXPECT_NE(JSONValue(std::int64_t{9007199254740993}), JSONValue(9007199254740992.0));
  EXPECT_NE(JSONValue(UINT64_MAX), JSONValue(18446744073709551616.0));
  EXPECT_NE(JSONValue(1), JSONValue(true));
  EXPECT_NE(JSONValue(), JSONValue(0));
  EXPECT_EQ(decoded<JSONValue>(R"([1,{"a":[null,"x"]}])"),
            JSONValue(JSONValue::Array{1, JSONObject{{"a", JSONValue::Array{nullptr, "x"}}}}));
}

TEST(JSONValueTest, standsInModels) {
  struct Event {
    std::string name;
    JSONValue payload;
    std::optional<JSONValue> extra;
    JSONObject tags;
  };
  const char* const text = R"({"name":"n","payload":[1,{"a":null}],"tags":{"z":1,"a":2}})";

  EXPECT_EQ(encoded(decoded<Event>(text)), text);
  EXPECT_EQ(decoded<Event>(R"({"name":"n","payload":null,"tags":{}})").payload, JSONValue());
  EXPECT_EQ(refusal<Event>(R"({"name":"n","tags":{}})").key(), "payload");
  EXPECT_EQ(refusal<Event>(R"({"tags":[]})").message(), "tags: expected an object, found an array");
}

TEST(JSONValueTest, tellsTheWayToWhatIsWrong) {
  EXPECT_EQ(refusal<JSONValue>(R"({"a":[1,{"b":1e999}]})").message(),
            "a[1].b: the number 1e999 is too large for a double");
}

TEST(JSONValueTest, goesDown512LevelsAndNoFurther) {
  const std::string deepest = repeated("[", 512) + repeated("]", 512);

  EXPECT_EQ(encoded(decoded<JSONValue>(deepest)), deepest);
  EXPECT_EQ(refusal<JSONValue>("{\"a\":" + deepest + "}").problem(),
            "nested too deeply: more than 512 levels at byte 516");
}

}  // namespace
}  // namespace platform
