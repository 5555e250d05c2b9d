#include <gtest/gtest.h>

#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

TEST(JSONValueEqualityTest, comparesNumbersByValue) {
  EXPECT_EQ(JSONValue(1), JSONValue(1.0));
  EXPECT_EQ(JSONValue(0x1p63), JSONValue(std::uint64_t{1} << 63));
  EXPECT_EQ(JSONValue(-0x1p63), JSONValue(INT64_MIN));
  EXPECT_NE(JSONValue(1), JSONValue(1.5));
  EXPECT_NE(JSONValue(INT64_MAX), JSONValue(0x1p63));
  EXPECT_NE(JSONValue(UINT64_MAX), JSONValue(0x1p64));
  EXPECT_NE(JSONValue(0), JSONValue(false));
  EXPECT_NE(JSONValue(0), JSONValue());
}

TEST(JSONValueEqualityTest, comparesWhatIsNestedInTheSameManner) {
  EXPECT_EQ(JSONValue(JSONValue::Array{1, "a"}), JSONValue(JSONValue::Array{1.0, "a"}));
  EXPECT_EQ(JSONValue(JSONObject{{"a", 1}, {"b", 2}}), JSONValue(JSONObject{{"b", 2.0}, {"a", 1}}));
}

}  // namespace
}  // namespace platform
