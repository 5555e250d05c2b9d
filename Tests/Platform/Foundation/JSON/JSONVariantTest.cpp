#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

struct Circle {
  double radius;
  std::optional<std::string> color;

  friend bool operator==(const Circle&, const Circle&) = default;
};
struct Square {
  double side;

  friend bool operator==(const Square&, const Square&) = default;
};
struct Rectangle {
  double width;
  double height;

  friend bool operator==(const Rectangle&, const Rectangle&) = default;
};

using Any = std::variant<std::monostate, bool, std::int64_t, double, std::string, std::vector<int>, Circle>;
using Shape = std::variant<Circle, Square, Rectangle>;

TEST(JSONVariantTest, takesTheAlternativeOfTheRightKind) {
  EXPECT_EQ(decoded<Any>("null"), Any());
  EXPECT_EQ(decoded<Any>("true"), Any(true));
  EXPECT_EQ(decoded<Any>("7"), Any(std::int64_t{7}));
  EXPECT_EQ(decoded<Any>(R"("7")"), Any("7"));
  EXPECT_EQ(decoded<Any>("[7]"), Any(std::vector{7}));
  EXPECT_EQ(decoded<Any>(R"({"radius":7})"), Any(Circle{7, {}}));
}

TEST(JSONVariantTest, takesTheFirstThatCanBeMadeOfANumber) {
  EXPECT_EQ(decoded<Any>("7.5"), Any(7.5));
  EXPECT_EQ(decoded<Any>("1e300"), Any(1e300));
  EXPECT_EQ(decoded<Any>("9223372036854775808"), Any(9223372036854775808.0));
  EXPECT_EQ((decoded<std::variant<double, int>>("7").index()), 0U);
  EXPECT_EQ((decoded<std::variant<std::uint8_t, std::int8_t, int>>("-5").index()), 1U);
  EXPECT_EQ((decoded<std::variant<std::uint8_t, std::int8_t, int>>("-500").index()), 2U);
  EXPECT_EQ((refusalMessage<std::variant<std::uint8_t, std::int8_t>>("-500")),
            "the number -500 does not fit into a signed integer of 8 bits");
}

TEST(JSONVariantTest, takesTheFirstThatCanBeMadeOfAString) {
  using Text = std::variant<UUID, URL, Data, std::string>;

  EXPECT_EQ(decoded<Text>(R"("6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B")").index(), 0U);
  EXPECT_EQ(decoded<Text>(R"("https://example.com/a")").index(), 1U);
  EXPECT_EQ(decoded<Text>(R"("a b")").index(), 3U);
  EXPECT_EQ((decoded<std::variant<Data, std::string>>(R"("aGk=")").index()), 0U);
  EXPECT_EQ((decoded<std::variant<Data, std::string>>(R"("aGk")").index()), 1U);
}

TEST(JSONVariantTest, takesTheFirstModelWhoseKeysAreThere) {
  EXPECT_EQ(decoded<Shape>(R"({"radius":1})"), Shape(Circle{1, {}}));
  EXPECT_EQ(decoded<Shape>(R"({"side":1,"color":"red"})"), Shape(Square{1}));
  EXPECT_EQ(decoded<Shape>(R"({"height":2,"other":[1,{"radius":1}],"width":1})"), Shape(Rectangle{1, 2}));
  EXPECT_EQ(decoded<Shape>(R"({"side":1,"radius":2})"), Shape(Circle{2, {}}));
}

TEST(JSONVariantTest, judgesByTheLastAlternativeWhenNoneFits) {
  EXPECT_EQ(refusalMessage<Shape>(R"({"height":2})"), "the key \"width\" is missing");
  EXPECT_EQ(refusalMessage<Shape>(R"({"radius":"2","side":1})"), "radius: expected a number, found a string");
}

TEST(JSONVariantTest, knowsKeysByTheStrategy) {
  struct Named {
    int firstName;
  };
  using Either = std::variant<Named, Square>;
  const JSONStrategies snakeCase{.keys = JSONKeyStrategy::snakeCase};

  EXPECT_EQ(decoded<Either>(R"({"first_name":1})", snakeCase).index(), 0U);
  EXPECT_EQ(decoded<Either>(R"({"firstName":1,"side":1})", snakeCase).index(), 1U);
}

TEST(JSONVariantTest, takesAMapWhenNoModelBeforeItFits) {
  using Either = std::variant<Square, std::map<std::string, int>>;

  EXPECT_EQ(decoded<Either>(R"({"side":1})").index(), 0U);
  EXPECT_EQ(decoded<Either>(R"({"sides":1})").index(), 1U);
}

TEST(JSONVariantTest, mayEndWithAFreeValue) {
  using Either = std::variant<Square, JSONValue>;

  EXPECT_EQ(decoded<Either>(R"({"side":1})").index(), 0U);
  EXPECT_EQ(std::get<JSONValue>(decoded<Either>(R"({"sides":1})")), JSONValue(JSONObject{{"sides", 1}}));
  EXPECT_EQ(std::get<JSONValue>(decoded<Either>("[1]")), JSONValue(JSONValue::Array{1}));
}

TEST(JSONVariantTest, refusesKindsThatNoAlternativeIsReadFrom) {
  using Either = std::variant<int, std::string>;

  EXPECT_EQ(refusalMessage<Either>("true"), "expected a value of another kind, found a boolean");
  EXPECT_EQ(refusal<Either>("true").which(), DecodingError::Case::typeMismatch);
  EXPECT_EQ(refusal<Either>("null").which(), DecodingError::Case::valueNotFound);
  EXPECT_EQ(refusalMessage<Either>("nul"), "expected a value of another kind, found null");
}

TEST(JSONVariantTest, standsInListsOptionalsAndModels) {
  struct Drawing {
    std::vector<Shape> shapes;
    std::optional<std::variant<int, std::string>> title;
  };

  const auto drawing = decoded<Drawing>(R"({"shapes":[{"side":1},{"radius":2}],"title":"t"})");

  EXPECT_EQ(drawing.shapes, (std::vector<Shape>{Square{1}, Circle{2, {}}}));
  EXPECT_EQ(drawing.title, (std::variant<int, std::string>("t")));
  EXPECT_FALSE(decoded<Drawing>(R"({"shapes":[]})").title);
  EXPECT_FALSE(decoded<Drawing>(R"({"shapes":[],"title":null})").title);
  EXPECT_EQ(refusalMessage<Drawing>(R"({"shapes":[{"side":1},{"side":null}]})"),
            "shapes[1].side: expected a number, found null");
}

TEST(JSONVariantTest, keepsNothingOfAnEarlierMemberWithTheSameKey) {
  struct Holder {
    Shape shape;
  };

  EXPECT_EQ(decoded<Holder>(R"({"shape":{"radius":1,"color":"red"},"shape":{"radius":2}})").shape,
            Shape(Circle{2, {}}));
}

TEST(JSONVariantTest, isWrittenAsTheValueThatItHolds) {
  EXPECT_EQ(encoded(std::vector<Any>{{}, true, std::int64_t{7}, 7.5, "7", std::vector{7}, Circle{1, "red"}}),
            R"([null,true,7,7.5,"7",[7],{"radius":1,"color":"red"}])");
}

}  // namespace
}  // namespace platform
