#include <brotli/encode.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zstd.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include "Platform/Loading/CodingSamples.hpp"
#include "Platform/Loading/DecodedBody.hpp"
#include "Platform/Loading/SessionTest.hpp"

namespace platform::detail {
namespace {

using corvane::testkit::MockResponse;
using ::testing::HasSubstr;

constexpr std::int64_t ample = std::int64_t{1} << 30;

std::string brotliCompressed(std::string_view content) {
  std::string result(BrotliEncoderMaxCompressedSize(content.size()) + 16, '\0');
  std::size_t count = result.size();
  if (!BrotliEncoderCompress(5, BROTLI_DEFAULT_WINDOW, BROTLI_MODE_GENERIC, content.size(),
                             reinterpret_cast<const std::uint8_t*>(content.data()), &count,
                             reinterpret_cast<std::uint8_t*>(result.data()))) {
    throw std::runtime_error("brotli failed");
  }
  result.resize(count);
  return result;
}

std::string zstdCompressed(std::string_view content, int windowLog = 20) {
  const std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context(ZSTD_createCCtx(), ZSTD_freeCCtx);
  if (!context) throw std::bad_alloc();
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1);
  ZSTD_CCtx_setParameter(context.get(), ZSTD_c_windowLog, windowLog);
  // As a server that does not know the length beforehand: otherwise a short frame needs no window.
  std::string result(ZSTD_compressBound(content.size()) + 64, '\0');
  ZSTD_inBuffer input{content.data(), content.size(), 0};
  ZSTD_outBuffer output{result.data(), result.size(), 0};
  for (const ZSTD_EndDirective directive : {ZSTD_e_flush, ZSTD_e_end}) {
    if (ZSTD_compressStream2(context.get(), &output, &input, directive) != 0) throw std::runtime_error("zstd failed");
  }
  result.resize(output.pos);
  return result;
}

DecodedBody decode(const char* coding, std::string_view body, std::size_t pieceSize = 1 << 20,
                   const char* accepted = "br, zstd", ContentDecoder::Bounds bounds = {.maximumBytes = ample}) {
  return decodeBody({{"Accept-Encoding", accepted}}, {{"Content-Encoding", coding}}, body, pieceSize, bounds);
}

struct Coding {
  const char* name;
  std::function<std::string(std::string_view)> encode;
};

class OptionalCodingsTest : public ::testing::TestWithParam<Coding> {
 protected:
  DecodedBody decoded(std::string_view body, std::size_t pieceSize = 1 << 20) {
    return decode(GetParam().name, body, pieceSize);
  }
  std::string encoded(std::string_view content) { return GetParam().encode(content); }
};

TEST_P(OptionalCodingsTest, isDecodedInPiecesOfAnySize) {
  const std::string text = variedText(70000, 1);
  for (const std::string& content : {std::string(), std::string("a"), text}) {
    const std::string body = encoded(content);
    for (const std::size_t pieceSize : {1U, 2U, 7U, 1000U, 1U << 20}) {
      const DecodedBody outcome = decoded(body, pieceSize);

      EXPECT_EQ(outcome.message(), "") << "in pieces of " << pieceSize;
      EXPECT_TRUE(outcome.decoded == content) << "in pieces of " << pieceSize;
    }
  }
}

TEST_P(OptionalCodingsTest, isDecodedAsOneOfSeveral) {
  const std::string name = GetParam().name;

  EXPECT_EQ(decode(("gzip, " + name).c_str(), encoded(gzipped("twice"))).decoded, "twice");
  EXPECT_EQ(decode((name + ", gzip").c_str(), gzipped(encoded("twice"))).decoded, "twice");
}

TEST_P(OptionalCodingsTest, everyTruncationIsNoticed) {
  const std::string body = encoded(variedText(300, 2));
  for (std::size_t length = 1; length < body.size(); ++length) {
    EXPECT_EQ(decoded(body.substr(0, length)).code(), URLErrorCode::cannotDecodeContentData) << length;
  }
}

TEST_P(OptionalCodingsTest, bytesAfterTheEndAreRefused) {
  const std::string body = encoded("text") + "more";
  for (const std::size_t pieceSize : {1U, 1U << 20}) {
    EXPECT_EQ(decoded(body, pieceSize).code(), URLErrorCode::cannotDecodeContentData);
    EXPECT_THAT(decoded(body, pieceSize).message(), HasSubstr("is damaged: "));
  }
}

TEST_P(OptionalCodingsTest, isNotKnownWhereTheRequestDoesNotAskForIt) {
  const std::string name = GetParam().name;
  for (const std::string& accepted :
       {std::string("gzip;q=1.0, compress;q=0.5"), name + ";q=0", name + "; q=0.000", std::string("*"), name + "x"}) {
    const DecodedBody outcome = decode(name.c_str(), encoded("text"), 100, accepted.c_str());

    EXPECT_EQ(outcome.code(), URLErrorCode::cannotDecodeRawData) << accepted;
  }
  for (const std::string& accepted : {name, "gzip, " + name + ";q=0.1"}) {
    EXPECT_EQ(decode(name.c_str(), encoded("text"), 100, accepted.c_str()).decoded, "text") << accepted;
  }
}

TEST_P(OptionalCodingsTest, aBombIsStoppedAtItsBound) {
  const std::string bomb = encoded(std::string(4 << 20, '\0'));

  const DecodedBody outcome = decode(GetParam().name, bomb, 100, GetParam().name, {.maximumBytes = 100'000});

  EXPECT_EQ(outcome.code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_LE(outcome.decoded.size(), 100'000U);
}

TEST_P(OptionalCodingsTest, flippedBitsDoNotCrash) {
  const std::string body = encoded(variedText(2000, 3));
  for (std::size_t bit = 0; bit < body.size() * 8; bit += 3) {
    std::string flipped = body;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));

    const DecodedBody outcome = decoded(flipped);

    EXPECT_TRUE(!outcome.failure || outcome.code() == URLErrorCode::cannotDecodeContentData) << outcome.message();
  }
}

INSTANTIATE_TEST_SUITE_P(Codings, OptionalCodingsTest,
                         ::testing::Values(Coding{"br", brotliCompressed},
                                           Coding{"zstd", [](std::string_view text) { return zstdCompressed(text); }}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(ZstdCodingTest, joinsItsFrames) {
  EXPECT_EQ(decode("zstd", zstdCompressed("one ") + zstdCompressed("two")).decoded, "one two");
}

TEST(ZstdCodingTest, refusesWindowsOfMoreThan8MiB) {
  const std::string content = variedText(9 << 20, 4);

  EXPECT_TRUE(decode("zstd", zstdCompressed(content, 23)).decoded == content);
  EXPECT_EQ(decode("zstd", zstdCompressed(content, 24)).code(), URLErrorCode::cannotDecodeContentData);
}

class OptionalCodingsOverTheNetworkTest : public SessionTest {};

TEST_F(OptionalCodingsOverTheNetworkTest, areDecodedWhereTheRequestAsksForThem) {
  const std::string text = variedText(300'000, 5);
  for (const auto& [coding, body] :
       {std::pair("br", brotliCompressed(text)), std::pair("zstd", zstdCompressed(text))}) {
    server.enqueue(MockResponse(200).header("Content-Encoding", coding).body(body));
    server.enqueue(MockResponse(200).header("Content-Encoding", coding).body(body));
    URLRequest asking(server.url("/"));
    asking.allHTTPHeaderFields.set("Accept-Encoding", coding);

    EXPECT_TRUE(load(asking).body() == text) << coding;
    EXPECT_EQ(load("/").code(), URLErrorCode::cannotDecodeRawData) << coding;
  }
}

}  // namespace
}  // namespace platform::detail
