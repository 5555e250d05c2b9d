#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string_view>

#include "Platform/Foundation/MIMETypes.hpp"
#include "Platform/Loading/Internal/SuggestedFilename.hpp"

namespace platform::detail {
namespace {

using ::testing::Optional;
using ::testing::SizeIs;

constexpr std::string_view table =
#include "Platform/Foundation/Internal/MIMETypeTable.inc"
    ;

std::set<std::string_view> typesOfExtensions() {
  std::set<std::string_view> types;
  for (std::size_t space = table.find(' '); space != std::string_view::npos; space = table.find(' ', space + 1)) {
    types.insert(table.substr(space + 1, table.find('\n', space) - space - 1));
  }
  return types;
}

TEST(MIMETypeExtensionsTest, givesExtensionsThatLeadBackToTheType) {
  std::set<std::string_view> known;

  for (const std::string_view type : typesOfExtensions()) {
    const std::string_view extension = extensionForMIMEType(type);
    if (extension.empty()) continue;
    known.insert(type);
    ASSERT_EQ(extension.front(), '.') << type;
    EXPECT_THAT(mimeTypeForExtension(extension.substr(1)), Optional(type));
  }

  EXPECT_THAT(known, SizeIs(64));
}

TEST(MIMETypeExtensionsTest, knowsTypesThatHaveAnotherNameNow) {
  EXPECT_EQ(extensionForMIMEType("application/javascript"), ".js");
  EXPECT_THAT(mimeTypeForExtension("js"), Optional(std::string_view("text/javascript")));  // RFC 9239
  EXPECT_EQ(extensionForMIMEType("text/xml"), ".xml");
  EXPECT_THAT(mimeTypeForExtension("xml"), Optional(std::string_view("application/xml")));  // RFC 7303
}

}  // namespace
}  // namespace platform::detail
