#include "Platform/Foundation/MIMETypes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using platform::mimeTypeForExtension;
using ::testing::Optional;

constexpr std::string_view table =
#include "Platform/Foundation/Internal/MIMETypeTable.inc"
    ;

/// Each extension with its type, as the table was made.
std::vector<std::pair<std::string_view, std::string_view>> rows() {
  std::vector<std::pair<std::string_view, std::string_view>> all;
  for (std::size_t begin = 0; begin < table.size();) {
    const std::size_t space = table.find(' ', begin);
    const std::size_t end = table.find('\n', begin);
    all.emplace_back(table.substr(begin, space - begin), table.substr(space + 1, end - space - 1));
    begin = end + 1;
  }
  return all;
}

TEST(MIMETypesTest, tellsTheTypesThatEveryoneExpects) {
  const std::vector<std::pair<std::string_view, std::string_view>> expected = {
      {"txt", "text/plain"},
      {"html", "text/html"},
      {"css", "text/css"},
      {"js", "text/javascript"},
      {"mjs", "text/javascript"},
      {"json", "application/json"},
      {"xml", "application/xml"},
      {"csv", "text/csv"},
      {"md", "text/markdown"},
      {"yaml", "application/yaml"},
      {"pdf", "application/pdf"},
      {"zip", "application/zip"},
      {"gz", "application/gzip"},
      {"wasm", "application/wasm"},
      {"bin", "application/octet-stream"},
      {"jpeg", "image/jpeg"},
      {"jpg", "image/jpeg"},
      {"png", "image/png"},
      {"gif", "image/gif"},
      {"svg", "image/svg+xml"},
      {"webp", "image/webp"},
      {"avif", "image/avif"},
      {"heic", "image/heic"},
      {"mp3", "audio/mpeg"},
      {"wav", "audio/wav"},
      {"mp4", "video/mp4"},
      {"webm", "video/webm"},
      {"mov", "video/quicktime"},
      {"ts", "video/mp2t"},
      {"woff2", "font/woff2"},
      {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
  };

  for (const auto& [extension, type] : expected) {
    EXPECT_THAT(mimeTypeForExtension(extension), Optional(type)) << extension;
  }
}

TEST(MIMETypesTest, findsEveryRowOfTheTable) {
  const auto all = rows();

  for (const auto& [extension, type] : all) EXPECT_THAT(mimeTypeForExtension(extension), Optional(type)) << extension;

  EXPECT_GT(all.size(), 1400u);
}

TEST(MIMETypesTest, prefersARegisteredTypeToOneThatIsNot) {
  EXPECT_THAT(mimeTypeForExtension("chm"), Optional(std::string_view("application/vnd.ms-htmlhelp")));
  EXPECT_THAT(mimeTypeForExtension("cml"), Optional(std::string_view("application/cellml+xml")));
}

TEST(MIMETypesTest, ignoresTheCaseOfLetters) {
  EXPECT_THAT(mimeTypeForExtension("JPG"), Optional(std::string_view("image/jpeg")));
  EXPECT_THAT(mimeTypeForExtension("Mp4"), Optional(std::string_view("video/mp4")));
}

TEST(MIMETypesTest, knowsNothingOfAnEmptyExtension) { EXPECT_EQ(mimeTypeForExtension(""), std::nullopt); }

TEST(MIMETypesTest, knowsNothingOfWhatIsNotInTheTable) {
  const std::vector<std::string> unknown = {
      "0",
      "zzzz",
      "nonsense",
      "jpe g",
      "jpeg ",
      " jpeg",
      ".jpeg",
      "jpeg image/jpeg",
      "image/jpeg",
      "\n",
      "jpeg\n",
      "j\xC5\xBFon",
      std::string("jpeg\0", 5),
      std::string(63, 'a'),
      std::string(64, 'a'),
      std::string(100'000, 'a'),
  };

  for (const auto& extension : unknown) EXPECT_EQ(mimeTypeForExtension(extension), std::nullopt) << extension;
}

TEST(MIMETypesTest, knowsNoBeginningNorContinuationOfAnExtensionThatIsNotOneItself) {
  for (const auto& [extension, type] : rows()) {
    EXPECT_EQ(mimeTypeForExtension(std::string(extension) + "\x7F"), std::nullopt);
    EXPECT_EQ(mimeTypeForExtension(std::string(extension) + ' ' + std::string(type)), std::nullopt);
  }
  EXPECT_EQ(mimeTypeForExtension("jso"), std::nullopt);
}

}  // namespace
