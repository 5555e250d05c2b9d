#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"

#include <gtest/gtest.h>

#include "Corvane/ContentEncoding/GZipArchiver.hpp"
#include "Velisand/DataRepresentable.hpp"

namespace corvane {
namespace {

using platform::Data;

static_assert(HTTPContentEncoder<HTTPGzipContentEncoder>);
static_assert(velisand::DataRepresentable<HTTPGzipContentEncoder>);
static_assert(!HTTPContentEncoder<Data>);

TEST(HTTPGzipContentEncoderTest, encodesAtTheDefaultLevel) {
  const Data body("hello hello hello");
  const HTTPGzipContentEncoder encoder(body);

  EXPECT_EQ(encoder.originalData(), body);
  EXPECT_EQ(encoder.encodedData(), GZipArchiver(body).zip(GZipCompression(-1)));
}

TEST(HTTPGzipContentEncoderTest, standsForItsEncodedBytes) {
  const HTTPGzipContentEncoder encoder(Data("hello"));

  EXPECT_EQ(velisand::asData(encoder), encoder.encodedData());
}

TEST(HTTPGzipContentEncoderTest, namesItsCodingAsOnTheWire) {
  EXPECT_EQ(HTTPGzipContentEncoder(Data()).encodingType().rawValue(), "gzip");
  EXPECT_EQ(HTTPContentEncodingType("br").rawValue(), "br");
}

}  // namespace
}  // namespace corvane
