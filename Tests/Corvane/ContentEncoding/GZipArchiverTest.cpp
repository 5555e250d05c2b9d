#include "Corvane/ContentEncoding/GZipArchiver.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"

namespace corvane {
namespace {

using platform::Data;

std::string repetitive(std::size_t size) {
  std::string text;
  while (text.size() < size) text += "{\"id\": " + std::to_string(text.size() % 997) + ", \"name\": \"Ada\"}, ";
  text.resize(size);
  return text;
}

std::string random(std::size_t size) {
  std::mt19937 generator(7);
  std::string bytes(size, '\0');
  for (auto& byte : bytes) byte = static_cast<char>(generator());
  bytes[0] = 'x';
  return bytes;
}

/// What zlib makes of the input, with the parameters that the archiver promises, when its output grows by
/// `step` bytes whenever it is full.
Data deflated(const std::string& input, int level, std::size_t step) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, level, Z_DEFLATED, 31, 9, Z_DEFAULT_STRATEGY), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  stream.avail_in = static_cast<uInt>(input.size());
  std::vector<unsigned char> output;
  int result = Z_OK;
  while (result == Z_OK) {
    output.resize(stream.total_out + step);
    stream.next_out = output.data() + stream.total_out;
    stream.avail_out = static_cast<uInt>(step);
    result = deflate(&stream, Z_FINISH);
  }
  EXPECT_EQ(result, Z_STREAM_END);
  const Data whole(output.data(), stream.total_out);
  deflateEnd(&stream);
  return whole;
}

TEST(GZipArchiverTest, returnsNothingForNothing) {
  EXPECT_EQ(GZipArchiver(Data()).zip(GZipCompression::default_), Data());
}

TEST(GZipArchiverTest, returnsWhatBeginsLikeGzipAsItIs) {
  const Data input(std::string("\x1F\x8B not gzip at all"));

  EXPECT_EQ(GZipArchiver(input).zip(GZipCompression::bestCompression), input);
}

TEST(GZipArchiverTest, compressesWhatOnlySharesTheFirstMagicByte) {
  const Data lonely(std::string("\x1F"));
  const Data other(std::string("\x1F\x8Cx"));

  EXPECT_EQ(GZipUnarchiver(GZipArchiver(lonely).zip(GZipCompression::default_)).unzip(), lonely);
  EXPECT_EQ(GZipUnarchiver(GZipArchiver(other).zip(GZipCompression::default_)).unzip(), other);
}

TEST(GZipArchiverTest, writesTheBytesOfOneCallOfZlib) {
  for (const auto& input : {std::string("a"), repetitive(100), repetitive(200'000), random(50'000)})
    for (const int level : {-1, 1, 6, 9})
      EXPECT_TRUE(GZipArchiver(input).zip(GZipCompression(level)) == deflated(input, level, 1'000'000))
          << input.size() << " bytes at level " << level;
}

TEST(GZipArchiverTest, growsItsOutputByTwelveBytes) {
  const auto input = random(200'000);

  // Only stored blocks tell small steps from large ones: zlib cuts them to the room it is given.
  const auto stored = GZipArchiver(input).zip(GZipCompression::none);

  EXPECT_TRUE(stored == deflated(input, 0, 12));
  EXPECT_FALSE(stored == deflated(input, 0, 1'000'000));
  EXPECT_TRUE(GZipUnarchiver(stored).unzip() == Data(input));
}

TEST(GZipArchiverTest, isUndoneByTheUnarchiverAtEverySize) {
  const auto text = random(700);
  for (std::size_t size = 1; size <= text.size(); ++size) {
    const Data input(text.substr(0, size));
    EXPECT_EQ(GZipUnarchiver(GZipArchiver(input).zip(GZipCompression::default_)).unzip(), input);
  }
}

TEST(GZipArchiverTest, leavesItsInputAlone) {
  const Data input("hello hello hello");
  const GZipArchiver archiver(input);

  archiver.zip(GZipCompression::bestSpeed);

  EXPECT_EQ(archiver.uncompressedData().bytes(), input.bytes());
  EXPECT_EQ(input, Data("hello hello hello"));
}

TEST(GZipArchiverTest, failsForALevelThatZlibRefuses) {
  try {
    GZipArchiver(Data("x")).zip(GZipCompression(42));
    FAIL() << "level 42 was accepted";
  } catch (const GZipError& error) {
    EXPECT_EQ(error, GZipError::stream("unknown gzip error"));
  }
}

TEST(GZipCompressionTest, namesTheLevels) {
  EXPECT_EQ(GZipCompression::none.rawValue(), 0);
  EXPECT_EQ(GZipCompression::bestSpeed.rawValue(), 1);
  EXPECT_EQ(GZipCompression::bestCompression.rawValue(), 9);
  EXPECT_EQ(GZipCompression::default_.rawValue(), -1);
  EXPECT_EQ(GZipCompression(5).rawValue(), 5);
}

}  // namespace
}  // namespace corvane
