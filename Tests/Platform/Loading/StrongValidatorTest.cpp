#include "Platform/Loading/Internal/StrongValidator.hpp"

#include <gtest/gtest.h>

namespace platform::detail {
namespace {

constexpr const char* noon = "Sun, 06 Nov 1994 12:00:00 GMT";
constexpr const char* aMinuteLater = "Sun, 06 Nov 1994 12:01:00 GMT";
constexpr const char* halfAMinuteLater = "Sun, 06 Nov 1994 12:00:30 GMT";

TEST(StrongValidatorTest, isAStrongEntityTag) {
  EXPECT_EQ(strongValidator({{"ETag", "\"a\""}, {"Last-Modified", noon}, {"Date", aMinuteLater}}), "\"a\"");
  EXPECT_EQ(strongValidator({{"etag", "\"\""}}), "\"\"");
}

TEST(StrongValidatorTest, isNoWeakOrMalformedEntityTag) {
  for (const char* tag : {"W/\"a\"", "w/\"a\"", "a", "\"a", "a\"", "\"", "\"a b\"", "\"a\"b\"", "\"a\", \"b\"", ""}) {
    EXPECT_FALSE(strongValidator({{"ETag", tag}})) << tag;
  }
  EXPECT_FALSE(strongValidator({{"ETag", "\"a\""}, {"ETag", "\"b\""}}));
}

TEST(StrongValidatorTest, isALastModifiedThatIsOldEnough) {
  EXPECT_EQ(strongValidator({{"Last-Modified", noon}, {"Date", aMinuteLater}}), noon);
  EXPECT_FALSE(strongValidator({{"Last-Modified", noon}, {"Date", halfAMinuteLater}}));
  EXPECT_FALSE(strongValidator({{"Last-Modified", aMinuteLater}, {"Date", noon}}));
  EXPECT_FALSE(strongValidator({{"Last-Modified", noon}}));
  EXPECT_FALSE(strongValidator({{"Last-Modified", "yesterday"}, {"Date", noon}}));
}

// RFC 9110, 13.1.5: a date only where there is no entity tag.
TEST(StrongValidatorTest, isNoDateBesideAnEntityTag) {
  EXPECT_FALSE(strongValidator({{"ETag", "W/\"a\""}, {"Last-Modified", noon}, {"Date", aMinuteLater}}));
}

TEST(StrongValidatorTest, isContradictedByAnotherOfItsKind) {
  EXPECT_TRUE(contradicts({{"ETag", "\"b\""}}, "\"a\""));
  EXPECT_TRUE(contradicts({{"ETag", "W/\"a\""}}, "\"a\""));
  EXPECT_FALSE(contradicts({{"ETag", "\"a\""}, {"Last-Modified", noon}}, "\"a\""));
  EXPECT_FALSE(contradicts({}, "\"a\""));
  EXPECT_TRUE(contradicts({{"Last-Modified", aMinuteLater}}, noon));
  EXPECT_FALSE(contradicts({{"Last-Modified", noon}, {"ETag", "\"b\""}}, noon));
}

}  // namespace
}  // namespace platform::detail
