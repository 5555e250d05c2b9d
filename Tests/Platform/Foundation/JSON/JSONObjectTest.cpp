#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;

/// Enough that members are found by an index, and not one after the other.
constexpr int many = 1'000;

JSONObject manyMembers() {
  JSONObject object;
  for (int number = 0; number < many; ++number) object["key " + std::to_string(number)] = number;
  return object;
}

std::vector<std::string> keysOf(const JSONObject& object) {
  std::vector<std::string> keys;
  for (const JSONMember& member : object) keys.push_back(member.key);
  return keys;
}

TEST(JSONObjectTest, keepsTheOrderOfItsMembers) {
  EXPECT_THAT(keysOf(JSONObject{{"z", 1}, {"a", 2}, {"m", 3}}), ::testing::ElementsAre("z", "a", "m"));
  EXPECT_EQ(encoded(JSONObject{{"z", 1}, {"a", 2}}), R"({"z":1,"a":2})");
}

TEST(JSONObjectTest, takesTheLastOfMembersWithTheSameKeyAtThePlaceOfTheFirst) {
  EXPECT_EQ(encoded(JSONObject{{"a", 1}, {"b", 2}, {"a", 3}}), R"({"a":3,"b":2})");
  EXPECT_EQ(encoded(decoded<JSONObject>(R"({"a":1,"b":2,"\u0061":3})")), R"({"a":3,"b":2})");
}

TEST(JSONObjectTest, addsANullForAKeyThatItLacks) {
  JSONObject object;
  EXPECT_TRUE(object.isEmpty());

  EXPECT_TRUE(object["a"].isNull());

  EXPECT_EQ(object.size(), 1U);
  EXPECT_EQ(object.find("b"), nullptr);
}

TEST(JSONObjectTest, findsEachOfManyMembers) {
  const JSONObject object = manyMembers();

  EXPECT_EQ(object.size(), static_cast<std::size_t>(many));
  for (int number = 0; number < many; ++number) {
    const JSONValue* const value = object.find("key " + std::to_string(number));
    ASSERT_NE(value, nullptr) << number;
    EXPECT_EQ(value->integer(), number);
  }
  EXPECT_EQ(object.find("key"), nullptr);
  EXPECT_EQ(object.find("key 1000"), nullptr);
  EXPECT_EQ(object.find(""), nullptr);
}

TEST(JSONObjectTest, findsTheOthersAfterOneIsRemoved) {
  JSONObject object = manyMembers();

  EXPECT_TRUE(object.remove("key 500"));
  EXPECT_FALSE(object.remove("key 500"));

  EXPECT_EQ(object.size(), many - 1U);
  EXPECT_EQ(object.find("key 500"), nullptr);
  EXPECT_EQ(object.find("key 501")->integer(), 501);
  EXPECT_EQ(std::next(object.begin(), 500)->key, "key 501");
}

TEST(JSONObjectTest, isRemovedFromUntilItIsEmpty) {
  JSONObject object = manyMembers();

  for (int number = many - 1; number >= 0; --number) {
    ASSERT_TRUE(object.remove("key " + std::to_string(number)));
    ASSERT_EQ(object.size(), static_cast<std::size_t>(number));
    ASSERT_EQ(object.find("key 0") != nullptr, number > 0);
  }

  object["again"] = 1;
  EXPECT_EQ(object.find("again")->integer(), 1);
}

TEST(JSONObjectTest, overwritesAmongManyMembers) {
  JSONObject object = manyMembers();

  for (int number = 0; number < many; ++number) object["key " + std::to_string(number)] = -number;

  EXPECT_EQ(object.size(), static_cast<std::size_t>(many));
  EXPECT_EQ(object.find("key 999")->integer(), -999);
}

TEST(JSONObjectTest, isCopiedAndMovedWithItsIndex) {
  JSONObject object = manyMembers();
  JSONObject copy = object;
  object["key 7"] = "changed";

  const JSONObject moved = std::move(copy);

  EXPECT_EQ(moved.find("key 7")->integer(), 7);
  EXPECT_EQ(moved.find("key 999")->integer(), 999);
  EXPECT_NE(moved, object);
}

TEST(JSONObjectTest, isEqualInWhateverOrder) {
  EXPECT_EQ((JSONObject{{"a", 1}, {"b", 2}}), (JSONObject{{"b", 2}, {"a", 1}}));
  EXPECT_NE((JSONObject{{"a", 1}, {"b", 2}}), (JSONObject{{"a", 1}, {"b", 3}}));
  EXPECT_NE((JSONObject{{"a", 1}, {"b", 2}}), (JSONObject{{"a", 1}, {"c", 2}}));
  EXPECT_NE((JSONObject{{"a", 1}}), (JSONObject{{"a", 1}, {"b", 2}}));
}

TEST(JSONObjectTest, readsBackWhatItWrites) { EXPECT_EQ(decoded<JSONObject>(encoded(manyMembers())), manyMembers()); }

}  // namespace
}  // namespace platform
