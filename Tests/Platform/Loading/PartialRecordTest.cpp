#include "Platform/Loading/Internal/PartialRecord.hpp"

#include <gtest/gtest.h>

namespace platform::detail {
namespace {

const char* const urlDigest = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

PartialRecord record(std::optional<std::int64_t> total) {
  return {.length = 524288, .total = total, .url = SHA256Digest(urlDigest), .validator = "\"33a64df5\""};
}

TEST(PartialRecordTest, hasATextThatTellsAll) {
  EXPECT_EQ(record(1'000'000).text(),
            "Corvane partial download 1\n"
            "length: 00000000000000524288\n"
            "total: 1000000\n"
            "url-sha256: ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n"
            "validator: \"33a64df5\"\n"
            "end\n");
}

TEST(PartialRecordTest, isReadBack) {
  for (const auto total : {std::optional<std::int64_t>(1'000'000), std::optional<std::int64_t>()}) {
    const auto read = PartialRecord::parse(record(total).text());

    ASSERT_TRUE(read);
    EXPECT_EQ(read->length, 524288);
    EXPECT_EQ(read->total, total);
    EXPECT_EQ(read->url, SHA256Digest(urlDigest));
    EXPECT_EQ(read->validator, "\"33a64df5\"");
  }
}

TEST(PartialRecordTest, keepsItsLengthInAFixedPlace) {
  std::string text = record(1'000'000).text();
  const auto digits = PartialRecord::lengthText(999'999);
  text.replace(PartialRecord::lengthOffset(), digits.size(), digits.data(), digits.size());

  EXPECT_EQ(PartialRecord::parse(text)->length, 999'999);
}

TEST(PartialRecordTest, isDamagedWhenAnyOfItIsMissing) {
  const std::string text = record(1'000'000).text();
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_FALSE(PartialRecord::parse(std::string_view(text).substr(0, length))) << length;
    EXPECT_FALSE(PartialRecord::parse(std::string_view(text).substr(text.size() - length))) << length;
  }
  EXPECT_FALSE(PartialRecord::parse(text + "x"));
}

TEST(PartialRecordTest, isDamagedWhenItsPartsDoNotFit) {
  const auto with = [](std::string_view before, std::string_view after) {
    std::string text = record(1'000'000).text();
    return text.replace(text.find(before), before.size(), after);
  };
  EXPECT_FALSE(PartialRecord::parse(with("download 1", "download 2")));
  EXPECT_FALSE(PartialRecord::parse(with("00000000000000524288", "524288")));
  EXPECT_FALSE(PartialRecord::parse(with("00000000000000524288", "-0000000000000524288")));
  EXPECT_FALSE(PartialRecord::parse(with("total: 1000000", "total: 524287")));
  EXPECT_FALSE(PartialRecord::parse(with("total: 1000000", "total: ")));
  EXPECT_FALSE(PartialRecord::parse(with("total: 1000000", "total: many")));
  EXPECT_FALSE(PartialRecord::parse(with("ba78", "xx78")));
  for (const char* validator : {"", "W/\"33a64df5\"", "33a64df5", "\"33a6\r4df5\"", "yesterday"})
    EXPECT_FALSE(PartialRecord::parse(with("\"33a64df5\"", validator))) << validator;
  EXPECT_TRUE(PartialRecord::parse(with("\"33a64df5\"", "Sun, 06 Nov 1994 12:00:00 GMT")));
}

}  // namespace
}  // namespace platform::detail
