#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <unordered_set>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

struct Node {
  int id;
  std::unique_ptr<Node> next;
};
struct Shared {
  std::shared_ptr<const std::string> name;
};
struct Sets {
  std::set<int> numbers;
  std::unordered_set<std::string> names;
};

TEST(JSONPointerTest, holdsAValueThatCanOnlyBeMoved) {
  const Node node = decoded<Node>(R"({"id": 1, "next": {"id": 2, "next": null}})");

  ASSERT_NE(node.next, nullptr);
  EXPECT_EQ(node.next->id, 2);
  EXPECT_EQ(node.next->next, nullptr);
  EXPECT_EQ(encoded(node), R"({"id":1,"next":{"id":2}})");
}

TEST(JSONPointerTest, isNullWhereTheKeyIsMissing) { EXPECT_EQ(decoded<Node>(R"({"id": 1})").next, nullptr); }

TEST(JSONPointerTest, isReadFromNothingElseThanItsValue) {
  EXPECT_THROW(decoded<Node>(R"({"id": 1, "next": 7})"), DecodingError);
}

TEST(JSONPointerTest, sharesAValueThatCannotBeChanged) {
  EXPECT_EQ(*decoded<Shared>(R"({"name": "Ada"})").name, "Ada");
  EXPECT_EQ(encoded(Shared{std::make_shared<const std::string>("Ada")}), R"({"name":"Ada"})");
  EXPECT_EQ(encoded(Shared{}), "{}");
}

TEST(JSONPointerTest, standsInLists) {
  const auto nodes = decoded<std::vector<std::unique_ptr<int>>>("[1, null]");

  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_EQ(*nodes[0], 1);
  EXPECT_EQ(nodes[1], nullptr);
  EXPECT_EQ(encoded(nodes), "[1,null]");
}

TEST(JSONSetTest, keepsOneOfEqualElements) {
  const Sets sets = decoded<Sets>(R"({"numbers": [3, 1, 3], "names": ["a", "b", "a"]})");

  EXPECT_THAT(sets.numbers, ElementsAre(1, 3));
  EXPECT_THAT(sets.names, UnorderedElementsAre("a", "b"));
  EXPECT_EQ(encoded(sets.numbers), "[1,3]");
}

TEST(JSONSetTest, isReadFromAnArrayOnly) {
  EXPECT_THROW(decoded<std::set<int>>("{}"), DecodingError);
  EXPECT_THROW(decoded<std::set<int>>(R"(["a"])"), DecodingError);
}

}  // namespace
}  // namespace platform
