#include "Platform/Foundation/JSON/EncodingError.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

using platform::testing::encodingRefusal;
using platform::testing::repeated;

struct Item {
  std::string name;
  double price = 0;
};
struct Order {
  std::vector<Item> items;
  std::map<std::string, float> taxes;
};

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(EncodingErrorTest, tellsOfNumbersThatJSONDoesNotHave) {
  EXPECT_EQ(encodingRefusal(infinity).message(), "JSON has no number for infinity");
  EXPECT_EQ(encodingRefusal(-infinity).message(), "JSON has no number for negative infinity");
  EXPECT_EQ(encodingRefusal(notANumber).message(), "JSON has no number for a value that is not a number");
  EXPECT_EQ(encodingRefusal(static_cast<float>(infinity)).message(), "JSON has no number for infinity");
  EXPECT_EQ(encodingRefusal(static_cast<long double>(-infinity)).message(), "JSON has no number for negative infinity");
  EXPECT_EQ(encodingRefusal(JSONValue(notANumber)).message(), "JSON has no number for a value that is not a number");
}

TEST(EncodingErrorTest, tellsTheWayToTheValue) {
  const EncodingError error = encodingRefusal(Order{{{"a", 1}, {"b", infinity}}, {}});

  EXPECT_EQ(error.message(), "items[1].price: JSON has no number for infinity");
  EXPECT_EQ(error.problem(), "JSON has no number for infinity");
  EXPECT_EQ(error.codingPath(), (std::vector{CodingKey("items"), CodingKey(std::size_t{1}), CodingKey("price")}));
  EXPECT_EQ(error.errorDomain(), "EncodingError");
  EXPECT_EQ(error.errorUserInfo(), (Dictionary{{"codingPath", std::string("items[1].price")}}));
}

TEST(EncodingErrorTest, tellsTheWayThroughMapsAndFreeValues) {
  EXPECT_EQ(encodingRefusal(Order{{}, {{"V A T", std::numeric_limits<float>::quiet_NaN()}}}).message(),
            "taxes[\"V A T\"]: JSON has no number for a value that is not a number");
  EXPECT_EQ(encodingRefusal(JSONValue(JSONObject{{"a", JSONValue::Array{1, infinity}}})).message(),
            "a[1]: JSON has no number for infinity");
}

TEST(EncodingErrorTest, tellsOfTextThatIsNotUTF8) {
  for (const std::string text : {"\xFF", "plain text before \xC3(", "\xED\xA0\x80", "\xC0\x80", "\xF4\x90\x80\x80",
                                 "a long text that ends in the middle of a character: \xE2\x82"}) {
    EXPECT_EQ(encodingRefusal(Order{{{text, 1}}, {}}).message(), "items[0].name: the text is not UTF-8");
  }
  EXPECT_EQ(encodingRefusal(std::map<std::string, int>{{"\xFF", 1}}).problem(), "the text is not UTF-8");
}

TEST(EncodingErrorTest, tellsOfNestingThatIsTooDeep) {
  JSONValue value;
  for (int level = 0; level < 512; ++level) value = JSONValue::Array{std::move(value)};
  EXPECT_EQ(testing::encoded(value), repeated("[", 512) + "null" + repeated("]", 512));

  const EncodingError error = encodingRefusal(JSONValue(JSONObject{{"a", value}}));

  EXPECT_EQ(error.problem(), "nested too deeply: more than 512 levels");
  EXPECT_EQ(error.message().substr(0, 7), "a[0][0]");
}

}  // namespace
}  // namespace platform
