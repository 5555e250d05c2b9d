#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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
using ::testing::ElementsAre;

struct Item {
  int id = 7;
  std::string name = "unnamed";
  bool isNew = true;
  double price = 1.5;

  friend bool operator==(const Item&, const Item&) = default;
};

const Item pen{1, "pen", false, 0.25};

TEST(JSONModelTest, isReadByTheNamesOfItsMembers) {
  EXPECT_EQ(decoded<Item>(R"({"id":1,"name":"pen","isNew":false,"price":0.25})"), pen);
}

TEST(JSONModelTest, isReadWithWhiteSpaceAnywhere) {
  EXPECT_EQ(decoded<Item>("\t{ \"id\" : 1 ,\n \"name\"\r:\"pen\" , \"isNew\"\t:\tfalse\n,\"price\": 0.25 }\n"), pen);
}

TEST(JSONModelTest, isReadFromMembersInAnyOrder) {
  std::vector<std::string> members{R"("id":1)", R"("name":"pen")", R"("isNew":false)", R"("price":0.25)"};
  std::ranges::sort(members);

  do {
    const std::string json = "{" + members[0] + "," + members[1] + ", " + members[2] + " ," + members[3] + "}";
    EXPECT_EQ(decoded<Item>(json), pen) << json;
  } while (std::ranges::next_permutation(members).found);
}

TEST(JSONModelTest, passesOverKeysThatItDoesNotHave) {
  EXPECT_EQ(decoded<Item>(R"({"a":{"id":5,"x":[1,{}]},"id":1,"i":"","ids":[[]],"name":"pen","Name":null,"isNew":false,
                             "":true,"price":0.25,"price ":-1e-7})"),
            pen);
}

TEST(JSONModelTest, checksWhatItPassesOver) {
  EXPECT_EQ(refusalMessage<Item>(R"({"other":[1,}]})"), "other: the text is not JSON: expected a value at byte 12");
  EXPECT_EQ(refusalMessage<Item>("{\"other\":\"\xFF\"}"), "other: the text is not UTF-8");
  EXPECT_EQ(refusalMessage<Item>("{\"\xFF\":1}"), "the text is not UTF-8");
}

TEST(JSONModelTest, readsKeysThatAreWrittenWithEscapes) {
  EXPECT_EQ(decoded<Item>(R"({"\u0069d":1,"n\u0061me":"pen","isNe\u0077":false,"pric\u0065":0.25})"), pen);
}

TEST(JSONModelTest, takesTheLastOfMembersWithTheSameKey) {
  EXPECT_EQ(decoded<Item>(R"({"id":9,"id":8,"name":"x","isNew":true,"price":4,"name":"pen","isNew":false,"price":0.25,
                             "id":1})"),
            pen);
}

TEST(JSONModelTest, refusesAnEarlierMemberOfTheWrongTypeAllTheSame) {
  EXPECT_EQ(refusalMessage<Item>(R"({"id":"9","id":1,"name":"pen","isNew":false,"price":0.25})"),
            "id: expected an integer, found a string");
}

TEST(JSONModelTest, requiresEachKeyWhateverTheDefault) {
  EXPECT_EQ(refusal<Item>(R"({"name":"pen","isNew":false,"price":1})").key(), "id");
  EXPECT_EQ(refusal<Item>(R"({"id":1,"isNew":false,"price":1})").key(), "name");
  EXPECT_EQ(refusal<Item>(R"({"id":1,"name":"pen","price":1})").key(), "isNew");
  EXPECT_EQ(refusal<Item>(R"({"id":1,"name":"pen","isNew":false})").key(), "price");
}

TEST(JSONModelTest, namesTheFirstOfItsMissingKeys) {
  EXPECT_EQ(refusalMessage<Item>("{}"), "the key \"id\" is missing");
  EXPECT_EQ(refusalMessage<Item>(R"({"price":1,"id":2})"), "the key \"name\" is missing");
}

TEST(JSONModelTest, isReadFromObjectsOnly) {
  EXPECT_EQ(refusalMessage<Item>("[]"), "expected an object, found an array");
  EXPECT_EQ(refusalMessage<Item>("\"\""), "expected an object, found a string");
  EXPECT_EQ(refusalMessage<Item>("1"), "expected an object, found a number");
  EXPECT_EQ(refusalMessage<Item>("null"), "expected an object, found null");
}

TEST(JSONModelTest, mayHaveNoMembers) {
  struct Nothing {};

  EXPECT_NO_THROW(decoded<Nothing>("{}"));
  EXPECT_NO_THROW(decoded<Nothing>(R"({"a":1})"));
  EXPECT_EQ(encoded(Nothing()), "{}");
  EXPECT_EQ(refusalMessage<Nothing>("[]"), "expected an object, found an array");
}

TEST(JSONModelTest, isWrittenInTheOrderOfItsMembers) {
  EXPECT_EQ(encoded(pen), R"({"id":1,"name":"pen","isNew":false,"price":0.25})");
}

TEST(JSONModelTest, withConstantMembersIsWrittenAllTheSame) {
  struct Command {
    const std::string name = "start";
    const int version = 2;
  };

  EXPECT_EQ(encoded(Command()), R"({"name":"start","version":2})");
}

}  // namespace
}  // namespace platform
