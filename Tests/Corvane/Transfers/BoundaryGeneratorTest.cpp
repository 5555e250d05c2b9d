#include "Corvane/Transfers/BoundaryGenerator.hpp"

#include <gtest/gtest.h>

#include "Platform/Foundation/UUID.hpp"

namespace corvane {
namespace {

TEST(BoundaryGeneratorTest, namesTheProcessByAnUpperCaseUUID) {
  const auto uuid = platform::UUID::parse(boundaryUUID());

  ASSERT_TRUE(uuid);
  EXPECT_EQ(uuid->uuidString(), boundaryUUID());
  EXPECT_EQ(boundaryUUID().size(), 36u);
}

TEST(BoundaryGeneratorTest, isTheSameOnEveryRead) {
  const std::string first = boundaryText();

  EXPECT_EQ(first, "corvane.Boundary." + boundaryUUID());
  EXPECT_EQ(boundaryText(), first);
  EXPECT_EQ(BoundaryGenerator().boundary, first);
}

TEST(BoundaryGeneratorTest, endsLinesWithCarriageReturnAndLineFeed) {
  EXPECT_EQ(BoundaryGenerator().returnChars, "\x0D\x0A");
}

}  // namespace
}  // namespace corvane
