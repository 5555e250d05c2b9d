#include "Platform/Loading/Internal/ContentRange.hpp"

#include <gtest/gtest.h>

namespace platform::detail {
namespace {

TEST(ContentRangeTest, isASpanOfAWhole) {
  const auto range = ContentRange::parse("bytes 5-9/10");

  ASSERT_TRUE(range && range->span);
  EXPECT_EQ(range->span->first, 5);
  EXPECT_EQ(range->span->last, 9);
  EXPECT_EQ(range->total, 10);
}

TEST(ContentRangeTest, mayLeaveTheWholeOrTheSpanOpen) {
  const auto ofUnknown = ContentRange::parse("Bytes 0-0/*");
  const auto unsatisfied = ContentRange::parse("bytes */10");

  ASSERT_TRUE(ofUnknown && ofUnknown->span);
  EXPECT_EQ(ofUnknown->total, std::nullopt);
  ASSERT_TRUE(unsatisfied);
  EXPECT_FALSE(unsatisfied->span);
  EXPECT_EQ(unsatisfied->total, 10);
}

TEST(ContentRangeTest, isNothingElse) {
  for (const char* text : {"", "bytes", "bytes 5-9", "5-9/10", "items 5-9/10", "bytes 9-5/10", "bytes 5-10/10",
                           "bytes */*", "bytes -9/10", "bytes 5-/10", "bytes +5-9/10", "bytes 5-9/-10", "bytes 5 -9/10",
                           "bytes=5-9/10", "bytes 5-9/10, bytes 1-2/10", "bytes 5-99999999999999999999/*"}) {
    EXPECT_FALSE(ContentRange::parse(text)) << text;
  }
}

}  // namespace
}  // namespace platform::detail
