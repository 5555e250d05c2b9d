#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

struct Person {
  std::string name = "nobody";
  std::optional<std::string> nickname = "nick";
  std::optional<int> age;
};

struct Team {
  Person captain;
  std::optional<Person> deputy;
};

TEST(JSONOptionalTest, isThereWhenItsValueIs) {
  const auto person = decoded<Person>(R"({"name":"Ada","nickname":"A","age":36})");

  EXPECT_EQ(person.nickname, "A");
  EXPECT_EQ(person.age, 36);
}

TEST(JSONOptionalTest, isAbsentWhenItsKeyIsMissingWhateverItsDefault) {
  const auto person = decoded<Person>(R"({"name":"Ada"})");

  EXPECT_EQ(person.nickname, std::nullopt);
  EXPECT_EQ(person.age, std::nullopt);
}

TEST(JSONOptionalTest, isAbsentWhenItIsNull) {
  const auto person = decoded<Person>(R"({"name":"Ada","nickname":null,"age": null})");

  EXPECT_EQ(person.nickname, std::nullopt);
  EXPECT_EQ(person.age, std::nullopt);
}

TEST(JSONOptionalTest, isRefusedWhenItsValueIsWrong) {
  EXPECT_EQ(refusalMessage<Person>(R"({"name":"Ada","age":"36"})"), "age: expected an integer, found a string");
  EXPECT_EQ(refusalMessage<Person>(R"({"name":"Ada","age":nul})"),
            "age: the text is not JSON: expected null at byte 20");
}

TEST(JSONOptionalTest, aloneMakesAKeyOptional) {
  const DecodingError error = refusal<Person>(R"({"age":36})");

  EXPECT_EQ(error.which(), DecodingError::Case::keyNotFound);
  EXPECT_EQ(error.message(), "the key \"name\" is missing");
}

TEST(JSONOptionalTest, ofAModelIsReadLikeTheModel) {
  const auto team = decoded<Team>(R"({"captain":{"name":"Ada"},"deputy":{"name":"Bob","age":5}})");

  ASSERT_TRUE(team.deputy);
  EXPECT_EQ(team.deputy->name, "Bob");
  EXPECT_EQ(team.deputy->age, 5);
  EXPECT_EQ(refusalMessage<Team>(R"({"captain":{"name":"Ada"},"deputy":{}})"), "deputy: the key \"name\" is missing");
}

TEST(JSONOptionalTest, keepsNothingOfAnEarlierMemberWithTheSameKey) {
  const auto team = decoded<Team>(R"({"captain":{"name":"Ada","age":36,"nickname":"A"},"deputy":{"name":"Bob","age":5},
                                      "captain":{"name":"Eve"},"deputy":{"name":"Joe"}})");

  EXPECT_EQ(team.captain.name, "Eve");
  EXPECT_EQ(team.captain.age, std::nullopt);
  EXPECT_EQ(team.captain.nickname, std::nullopt);
  ASSERT_TRUE(team.deputy);
  EXPECT_EQ(team.deputy->name, "Joe");
  EXPECT_EQ(team.deputy->age, std::nullopt);
}

TEST(JSONOptionalTest, isAbsentWhenTheLastMemberWithItsKeyIsNull) {
  EXPECT_EQ(decoded<Person>(R"({"name":"Ada","age":1,"age":null})").age, std::nullopt);
  EXPECT_EQ(decoded<Person>(R"({"name":"Ada","age":null,"age":1})").age, 1);
}

TEST(JSONOptionalTest, standsInListsAndAlone) {
  using List = std::vector<std::optional<int>>;

  EXPECT_EQ(decoded<List>("[1,null,3]"), (List{1, std::nullopt, 3}));
  EXPECT_EQ(decoded<std::optional<int>>("null"), std::nullopt);
  EXPECT_EQ(decoded<std::optional<int>>(" 7"), 7);
}

TEST(JSONOptionalTest, insideAnotherIsNeverAbsentByItself) {
  using Nested = std::optional<std::optional<int>>;

  EXPECT_EQ(decoded<Nested>("null"), Nested());
  EXPECT_EQ(decoded<Nested>("7"), Nested(7));
}

TEST(JSONOptionalTest, isLeftOutOfObjectsAndNullInListsAndAlone) {
  EXPECT_EQ(encoded(Person{"Ada", std::nullopt, 36}), R"({"name":"Ada","age":36})");
  EXPECT_EQ(encoded(Person{"Ada", "A", std::nullopt}), R"({"name":"Ada","nickname":"A"})");
  EXPECT_EQ(encoded(std::vector<std::optional<int>>{1, std::nullopt}), "[1,null]");
  EXPECT_EQ(encoded(std::optional<int>()), "null");
}

TEST(JSONOptionalTest, leavesNoCommaWhenItIsTheFirstOrTheOnlyMember) {
  struct Range {
    std::optional<int> from;
    std::optional<int> to;
  };

  EXPECT_EQ(encoded(Range{}), "{}");
  EXPECT_EQ(encoded(Range{std::nullopt, 2}), R"({"to":2})");
  EXPECT_EQ(encoded(Range{1, std::nullopt}), R"({"from":1})");
}

}  // namespace
}  // namespace platform
