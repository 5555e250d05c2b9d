#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "Corvane/ContentEncoding/GZipArchiver.hpp"
#include "Corvane/ContentEncoding/GZipError.hpp"

namespace corvane {
namespace {

using platform::Data;
using Case = GZipError::Case;

Data zipped(const Data& data) { return GZipArchiver(data).zip(GZipCompression::default_); }

std::optional<GZipError> failureOf(const Data& input) {
  try {
    GZipUnarchiver(input).unzip();
    return std::nullopt;
  } catch (const GZipError& error) {
    return error;
  }
}

std::optional<Case> caseOf(const Data& input) {
  const auto failure = failureOf(input);
  return failure ? std::optional(failure->which()) : std::nullopt;
}

TEST(GZipUnarchiverTest, returnsNothingForNothing) { EXPECT_EQ(GZipUnarchiver(Data()).unzip(), Data()); }

TEST(GZipUnarchiverTest, returnsPlainBytesAsTheyAre) {
  const Data plain("plain text"), one(std::string("\x1F"));

  EXPECT_EQ(GZipUnarchiver(plain).unzip(), plain);
  EXPECT_EQ(GZipUnarchiver(one).unzip(), one);
}

TEST(GZipUnarchiverTest, takesAZlibStreamForPlainBytes) {
  std::vector<unsigned char> output(100);
  uLongf length = output.size();
  ASSERT_EQ(compress(output.data(), &length, reinterpret_cast<const Bytef*>("hello"), 5), Z_OK);
  const Data zlibStream(output.data(), length);

  EXPECT_EQ(GZipUnarchiver(zlibStream).unzip(), zlibStream);
}

TEST(GZipUnarchiverTest, expandsFarBeyondTheLengthOfItsInput) {
  const Data zeros(std::string(5'000'000, '\0'));
  const auto compressed = zipped(zeros);
  ASSERT_LT(compressed.count(), 10'000u);

  EXPECT_EQ(GZipUnarchiver(compressed).unzip(), zeros);
}

TEST(GZipUnarchiverTest, failsWhereverTheStreamIsCutShort) {
  const auto whole = zipped(Data("hello hello hello hello"));

  for (std::size_t length = 2; length < whole.count(); ++length)
    EXPECT_EQ(caseOf(whole.subdata(0, length)), Case::buffer) << length;
}

TEST(GZipUnarchiverTest, saysThatZlibSaidNothing) {
  const auto whole = zipped(Data("hello"));

  EXPECT_EQ(failureOf(whole.subdata(0, 12)), GZipError::buffer("unknown gzip error"));
}

TEST(GZipUnarchiverTest, failsForADamagedChecksum) {
  auto damaged = zipped(Data("hello"));
  damaged.mutableBytes()[damaged.count() - 8] ^= std::byte{1};

  EXPECT_EQ(failureOf(damaged), GZipError::data("incorrect data check"));
}

TEST(GZipUnarchiverTest, failsForADamagedLength) {
  auto damaged = zipped(Data("hello"));
  damaged.mutableBytes()[damaged.count() - 1] ^= std::byte{1};

  EXPECT_EQ(failureOf(damaged), GZipError::data("incorrect length check"));
}

TEST(GZipUnarchiverTest, failsForADamagedBody) {
  auto damaged = zipped(Data("hello"));
  damaged.mutableBytes()[10] = std::byte{0xFF};

  EXPECT_EQ(caseOf(damaged), Case::data);
}

TEST(GZipUnarchiverTest, ignoresWhatFollowsTheStream) {
  auto padded = zipped(Data("hello"));
  padded.append("trailing");

  EXPECT_EQ(GZipUnarchiver(padded).unzip(), Data("hello"));
}

TEST(GZipUnarchiverTest, needsMoreThanTheMagicBytes) {
  EXPECT_EQ(caseOf(Data(std::string("\x1F\x8B"))), Case::buffer);
  EXPECT_EQ(caseOf(Data(std::string("\x1F\x8B rubbish"))), Case::data);
}

}  // namespace
}  // namespace corvane
