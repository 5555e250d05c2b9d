#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
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
using platform::testing::repeated;

struct Point {
  double x = 0;
  double y = 0;
  std::optional<double> z;

  friend bool operator==(const Point&, const Point&) = default;
};

struct Line {
  Point from;
  Point to;
  std::vector<Point> between;
  std::map<std::string, Point> marks;

  friend bool operator==(const Line&, const Line&) = default;
};

struct Tree {
  std::string name;
  std::vector<Tree> children;
  std::map<std::string, std::vector<Tree>> named;

  friend bool operator==(const Tree&, const Tree&) = default;
};

TEST(JSONNestedModelTest, isReadAndWrittenWithTheOneAroundIt) {
  const Line line{{1, 2, 3}, {4, 5, {}}, {{6, 7, {}}, {8, 9, 10}}, {{"end", {11, 12, {}}}}};
  const std::string json =
      R"({"from":{"x":1,"y":2,"z":3},"to":{"x":4,"y":5},"between":[{"x":6,"y":7},{"x":8,"y":9,"z":10}],)"
      R"("marks":{"end":{"x":11,"y":12}}})";

  EXPECT_EQ(encoded(line), json);
  EXPECT_EQ(decoded<Line>(json), line);
}

TEST(JSONNestedModelTest, keepsNothingOfAnEarlierMemberWithTheSameKey) {
  const auto line = decoded<Line>(R"({"from":{"x":1,"y":1,"z":1},"to":{"x":1,"y":1},"between":[{"x":1,"y":1,"z":1}],
      "marks":{"a":{"x":1,"y":1,"z":1},"a":{"x":2,"y":2}},"from":{"y":2,"x":2},"between":[{"x":2,"y":2}]})");

  EXPECT_EQ(line.from, (Point{2, 2, {}}));
  EXPECT_EQ(line.between, (std::vector<Point>{{2, 2, {}}}));
  EXPECT_EQ(line.marks.at("a"), (Point{2, 2, {}}));
}

TEST(JSONNestedModelTest, tellsTheWholeWayToWhatIsWrong) {
  EXPECT_EQ(refusalMessage<Line>(R"({"from":{"x":1,"y":"1"}})"), "from.y: expected a number, found a string");
  EXPECT_EQ(refusalMessage<Line>(R"({"between":[{"x":1,"y":1},{"y":1}]})"), "between[1]: the key \"x\" is missing");
  EXPECT_EQ(refusalMessage<Line>(R"({"marks":{"the end":{"x":1,"y":[]}}})"),
            "marks[\"the end\"].y: expected a number, found an array");
}

TEST(JSONNestedModelTest, mayBeOfItsOwnType) {
  const Tree tree{"root", {{"a", {{"b", {}, {}}}, {}}, {"c", {}, {}}}, {{"d", {{"e", {}, {}}}}}};
  const std::string json =
      R"({"name":"root","children":[{"name":"a","children":[{"name":"b","children":[],"named":{}}],"named":{}},)"
      R"({"name":"c","children":[],"named":{}}],"named":{"d":[{"name":"e","children":[],"named":{}}]}})";

  EXPECT_EQ(encoded(tree), json);
  EXPECT_EQ(decoded<Tree>(json), tree);
}

TEST(JSONNestedModelTest, goesDown512LevelsAndNoFurther) {
  const auto nested = [](std::size_t levels) {
    return repeated(R"({"name":"","named":{},"children":[)", levels) + repeated("]}", levels);
  };

  const auto deepest = decoded<Tree>(nested(256));
  const DecodingError error = refusal<Tree>(nested(257));

  EXPECT_EQ(encoded(deepest).size(), nested(256).size());
  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.codingPath().size(), 512U);
  EXPECT_EQ(error.problem(),
            "nested too deeply: more than 512 levels at byte " + std::to_string(nested(256).find(']')));
}

TEST(JSONNestedModelTest, isNotWrittenDeeperThan512Levels) {
  Tree tree{"", {}, {}};
  for (int level = 1; level < 256; ++level) {
    Tree parent{"", {}, {}};
    parent.children.push_back(std::move(tree));
    tree = std::move(parent);
  }
  EXPECT_NO_THROW(encoded(tree));

  const std::vector<Tree> list{std::move(tree)};
  const EncodingError error = testing::encodingRefusal(list);

  EXPECT_EQ(error.problem(), "nested too deeply: more than 512 levels");
  EXPECT_EQ(error.codingPath().size(), 512U);
  EXPECT_EQ(error.codingPath().front(), CodingKey(std::size_t{0}));
}

}  // namespace
}  // namespace platform
