#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

template <class T>
class JSONSequenceTest : public ::testing::Test {};

using Sequences = ::testing::Types<std::vector<int>, std::deque<int>, std::list<int>, std::vector<double>>;
TYPED_TEST_SUITE(JSONSequenceTest, Sequences);

TYPED_TEST(JSONSequenceTest, isAnArray) {
  EXPECT_THAT(decoded<TypeParam>("[1,2 , 3]"), ElementsAre(1, 2, 3));
  EXPECT_THAT(decoded<TypeParam>("[]"), IsEmpty());
  EXPECT_THAT(decoded<TypeParam>("[ ]"), IsEmpty());
  EXPECT_EQ(encoded(TypeParam{1, 2, 3}), "[1,2,3]");
  EXPECT_EQ(encoded(TypeParam{}), "[]");
}

TYPED_TEST(JSONSequenceTest, holdsManyElements) {
  TypeParam numbers;
  for (int number = 0; number < 10'000; ++number) numbers.push_back(number);

  EXPECT_EQ(decoded<TypeParam>(encoded(numbers)), numbers);
}

TYPED_TEST(JSONSequenceTest, keepsNothingOfWhatStoodThere) {
  struct Holder {
    TypeParam numbers{7, 8, 9};
  };

  EXPECT_THAT(decoded<Holder>(R"({"numbers":[1]})").numbers, ElementsAre(1));
  EXPECT_THAT(decoded<Holder>(R"({"numbers":[1,2],"numbers":[3]})").numbers, ElementsAre(3));
}

TYPED_TEST(JSONSequenceTest, isReadFromArraysOnly) {
  EXPECT_EQ(refusalMessage<TypeParam>("{}"), "expected an array, found an object");
  EXPECT_EQ(refusalMessage<TypeParam>("1"), "expected an array, found a number");
  EXPECT_EQ(refusalMessage<TypeParam>("null"), "expected an array, found null");
  EXPECT_EQ(refusalMessage<TypeParam>("[1,\"2\"]").substr(0, 5), "[1]: ");
  EXPECT_EQ(refusalMessage<TypeParam>("[1 2]"),
            "the text is not JSON: expected a comma or a closing bracket at byte 3");
  EXPECT_EQ(refusalMessage<TypeParam>("[1,2"),
            "the text is not JSON: expected a comma or a closing bracket at byte 4, where the text ends");
  EXPECT_EQ(refusalMessage<TypeParam>("[1,]"), "[1]: the text is not JSON: expected a value at byte 3");
}

TEST(JSONVectorTest, ofBooleansIsAnArrayToo) {
  EXPECT_EQ(decoded<std::vector<bool>>("[true,false,true]"), (std::vector{true, false, true}));
  EXPECT_EQ(encoded(std::vector{true, false}), "[true,false]");
  EXPECT_EQ(refusalMessage<std::vector<bool>>("[true,1]"), "[1]: expected a boolean, found a number");
}

TEST(JSONVectorTest, mayBeNested) {
  using Matrix = std::vector<std::vector<std::vector<int>>>;
  const Matrix matrix{{{1, 2}, {}}, {}, {{3}}};

  EXPECT_EQ(encoded(matrix), "[[[1,2],[]],[],[[3]]]");
  EXPECT_EQ(decoded<Matrix>("[[[1,2],[]],[],[[3]]]"), matrix);
  EXPECT_EQ(refusalMessage<Matrix>("[[[1,2],[]],[],[[null]]]"), "[2][0][0]: expected an integer, found null");
}

TEST(JSONArrayTest, hasExactlyItsLength) {
  using Point = std::array<double, 3>;

  EXPECT_EQ(decoded<Point>("[1,2.5,3]"), (Point{1, 2.5, 3}));
  EXPECT_EQ(encoded(Point{1, 2.5, 3}), "[1,2.5,3]");
  EXPECT_EQ(refusalMessage<Point>("[]"), "expected 3 elements, found 0");
  EXPECT_EQ(refusalMessage<Point>("[1,2]"), "expected 3 elements, found 2");
  EXPECT_EQ(refusalMessage<Point>("[1,2,3,4,5]"), "expected 3 elements, found 5");
  EXPECT_EQ(refusalMessage<Point>("[1,2,3,}]"), "[3]: the text is not JSON: expected a value at byte 7");
}

TEST(JSONArrayTest, tellsWhereItIsWhenItsLengthIsWrong) {
  struct Place {
    std::array<int, 2> position;
  };

  const DecodingError error = refusal<Place>(R"({"position": [1, 2, 3]})");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message(), "position: expected 2 elements, found 3");
  EXPECT_EQ(error.byteOffset(), 13U);
}

TEST(JSONArrayTest, mayBeEmpty) {
  EXPECT_NO_THROW((decoded<std::array<int, 0>>("[]")));
  EXPECT_EQ((encoded(std::array<int, 0>())), "[]");
  EXPECT_EQ((refusalMessage<std::array<int, 0>>("[1]")), "expected 0 elements, found 1");
}

TEST(JSONArrayTest, ofTextsIsOverwritten) {
  struct Names {
    std::array<std::optional<std::string>, 2> names{"a", "b"};
  };

  EXPECT_THAT(decoded<Names>(R"({"names":[null,"c"]})").names, ElementsAre(std::nullopt, "c"));
}

TEST(JSONMapTest, isAnObject) {
  using Map = std::map<std::string, int>;

  EXPECT_THAT(decoded<Map>(R"({"b":1,"a":2})"), ElementsAre(Pair("a", 2), Pair("b", 1)));
  EXPECT_THAT(decoded<Map>("{}"), IsEmpty());
  EXPECT_EQ(encoded(Map{{"b", 1}, {"a", 2}}), R"({"a":2,"b":1})");
  EXPECT_EQ(encoded(Map{}), "{}");
  EXPECT_EQ(refusalMessage<Map>("[]"), "expected an object, found an array");
  EXPECT_EQ(refusalMessage<Map>(R"({"x y":"1"})"), "[\"x y\"]: expected an integer, found a string");
}

TEST(JSONMapTest, mayHaveNoOrder) {
  using Map = std::unordered_map<std::string, std::string>;
  Map map;
  for (int number = 0; number < 1'000; ++number) map.emplace(std::to_string(number), std::to_string(number * 7));

  EXPECT_THAT(decoded<Map>(R"({"b":"1","a":"2"})"), UnorderedElementsAre(Pair("a", "2"), Pair("b", "1")));
  EXPECT_EQ(decoded<Map>(encoded(map)), map);
}

TEST(JSONMapTest, takesTheLastOfMembersWithTheSameKey) {
  using Map = std::map<std::string, std::vector<int>>;

  EXPECT_THAT(decoded<Map>(R"({"a":[1,2],"b":[],"\u0061":[3]})"),
              ElementsAre(Pair("a", ElementsAre(3)), Pair("b", IsEmpty())));
}

TEST(JSONMapTest, hasAnyTextAsItsKeys) {
  const std::map<std::string, int> map{{"", 1}, {"\"\\/\n\u0001", 2}, {std::string("\0", 1), 3}, {"\U0001F600", 4}};

  EXPECT_EQ(encoded(map), "{\"\":1,\"\\u0000\":3,\"\\\"\\\\/\\n\\u0001\":2,\"\U0001F600\":4}");
  EXPECT_EQ((decoded<std::map<std::string, int>>(encoded(map))), map);
}

TEST(JSONMapTest, keepsItsKeysWhateverTheKeyStrategy) {
  const std::map<std::string, int> map{{"firstName", 1}};
  const JSONStrategies snakeCase{.keys = JSONKeyStrategy::snakeCase};

  EXPECT_EQ(encoded(map, snakeCase), R"({"firstName":1})");
  EXPECT_EQ((decoded<std::map<std::string, int>>(R"({"firstName":1})", snakeCase)), map);
}

TEST(JSONMapTest, ofOptionalsKeepsTheAbsentOnesAsNull) {
  using Map = std::map<std::string, std::optional<int>>;
  const Map map{{"a", 1}, {"b", std::nullopt}};

  EXPECT_EQ(encoded(map), R"({"a":1,"b":null})");
  EXPECT_EQ(decoded<Map>(R"({"a":1,"b":null})"), map);
}

}  // namespace
}  // namespace platform
