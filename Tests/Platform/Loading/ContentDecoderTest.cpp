#include "Platform/Loading/Internal/ContentDecoder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "Platform/Loading/CodingSamples.hpp"
#include "Platform/Loading/DecodedBody.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {
namespace {

using testing::HasSubstr;

constexpr std::int64_t ample = std::int64_t{1} << 30;

Bytes bytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

DecodedBody decode(const HTTPHeaderFields& fields, std::string_view body, std::size_t pieceSize = 1 << 20,
                   std::int64_t maximum = ample) {
  return decodeBody({}, fields, body, pieceSize, {.maximumBytes = maximum});
}

DecodedBody decodeAs(const char* coding, std::string_view body, std::size_t pieceSize = 1 << 20,
                     std::int64_t maximum = ample) {
  return decode({{"Content-Encoding", coding}}, body, pieceSize, maximum);
}

std::string joined(std::initializer_list<std::string> parts) {
  std::string result;
  for (const std::string& part : parts) result += part;
  return result;
}

TEST(ContentDecoderTest, isNotThereWhenThereIsNothingToDecode) {
  for (const HTTPHeaderFields& fields : {HTTPHeaderFields(), HTTPHeaderFields{{"Content-Encoding", "identity"}},
                                         HTTPHeaderFields{{"content-encoding", " ,Identity, "}}}) {
    const auto choice = ContentDecoder::make({}, fields, {.maximumBytes = ample});

    EXPECT_EQ(choice.decoder, nullptr);
    EXPECT_EQ(choice.failure, std::nullopt);
  }
}

TEST(ContentDecoderTest, decodesEachCodingInPiecesOfAnySize) {
  const std::string text = variedText(70000, 1);
  const std::vector<std::pair<const char*, std::string>> bodies = {{"gzip", gzipped(text)},
                                                                   {"X-GZIP", gzippedWithEverything(text)},
                                                                   {"deflate", zlibDeflated(text)},
                                                                   {"deflate", bareDeflated(text)},
                                                                   {"compress", lzwCompressed(text)},
                                                                   {"x-compress", lzwCompressed(text, 12)},
                                                                   {"compress", lzwCompressed(text, 9)},
                                                                   {"compress", lzwCompressed(text, 16, false)}};
  for (const auto& [coding, body] : bodies) {
    for (const std::size_t pieceSize : {1U, 2U, 3U, 7U, 1000U, 1U << 20}) {
      const DecodedBody outcome = decodeAs(coding, body, pieceSize);

      EXPECT_EQ(outcome.message(), "") << coding << " in pieces of " << pieceSize;
      EXPECT_TRUE(outcome.decoded == text) << coding << " in pieces of " << pieceSize;
    }
  }
}

TEST(ContentDecoderTest, decodesEmptyAndTinyContent) {
  for (const std::string& text : {std::string(), std::string("a"), std::string("ab")}) {
    EXPECT_EQ(decodeAs("gzip", gzipped(text)).decoded, text);
    EXPECT_EQ(decodeAs("deflate", zlibDeflated(text)).decoded, text);
    EXPECT_EQ(decodeAs("deflate", bareDeflated(text)).decoded, text);
    EXPECT_EQ(decodeAs("compress", lzwCompressed(text)).decoded, text);
    EXPECT_EQ(decodeAs("gzip", gzipped(text)).message(), "");
    EXPECT_EQ(decodeAs("deflate", bareDeflated(text)).message(), "");
    EXPECT_EQ(decodeAs("compress", lzwCompressed(text)).message(), "");
  }
}

TEST(ContentDecoderTest, aBodyWithoutAnyByteIsComplete) {
  for (const char* coding : {"gzip", "deflate", "compress", "gzip, deflate"}) {
    EXPECT_EQ(decodeAs(coding, "").message(), "") << coding;
  }
}

TEST(ContentDecoderTest, decodesSeveralCodingsLastOneFirst) {
  const std::string text = variedText(5000, 2);

  EXPECT_EQ(decodeAs("gzip, deflate", zlibDeflated(gzipped(text))).decoded, text);
  EXPECT_EQ(decode({{"Content-Encoding", "compress, identity"}}, lzwCompressed(text)).decoded, text);
  HTTPHeaderFields twoFields;
  twoFields.add("Content-Encoding", "compress");
  twoFields.add("content-encoding", "gzip");
  EXPECT_EQ(decode(twoFields, gzipped(lzwCompressed(text)), 3).decoded, text);
  EXPECT_EQ(decodeAs("gzip,gzip,gzip,gzip,gzip", gzipped(gzipped(gzipped(gzipped(gzipped(text)))))).decoded, text);
}

TEST(ContentDecoderTest, noticesThatAnInnerCodingEndsEarly) {
  const std::string text = variedText(5000, 3);
  const std::string inner = gzipped(text).substr(0, 100);

  EXPECT_EQ(decodeAs("gzip, deflate", zlibDeflated(inner)).message(), "the gzip data ends early");
  EXPECT_EQ(decodeAs("gzip, deflate", zlibDeflated("")).message(), "the gzip data ends early");
}

TEST(ContentDecoderTest, refusesMoreThanFiveCodings) {
  const DecodedBody outcome = decodeAs("gzip,gzip,gzip,gzip,gzip,gzip", "");

  EXPECT_EQ(outcome.code(), URLErrorCode::cannotParseResponse);
  EXPECT_EQ(outcome.message(), "the response has 6 content codings, more than 5");
}

TEST(ContentDecoderTest, refusesACodingItDoesNotKnow) {
  for (const char* coding : {"br", "zstd", "gzip, br", "gzipped", "\"gzip\"", "gzip;q=1"}) {
    EXPECT_EQ(decodeAs(coding, "").code(), URLErrorCode::cannotDecodeRawData) << coding;
  }
  EXPECT_EQ(decodeAs("br", "").message(), "the content coding \"br\" is not known");
}

TEST(ContentDecoderTest, joinsTheMembersOfAGzipBody) {
  const std::string body = joined({gzipped("one "), gzipped(""), gzippedWithEverything("two "), gzipped("three")});
  for (const std::size_t pieceSize : {1U, 5U, 1000U}) {
    EXPECT_EQ(decodeAs("gzip", body, pieceSize).decoded, "one two three");
    EXPECT_EQ(decodeAs("gzip", body, pieceSize).message(), "");
  }
}

TEST(ContentDecoderTest, refusesBytesAfterTheEnd) {
  for (const std::string& garbage :
       {std::string("x"), std::string(1, '\0'), std::string("\x1F"), std::string("\x1F\x8C")}) {
    EXPECT_EQ(decodeAs("gzip", gzipped("text") + garbage, 1).code(), URLErrorCode::cannotDecodeContentData);
    EXPECT_EQ(decodeAs("gzip", gzipped("text") + garbage).code(), URLErrorCode::cannotDecodeContentData);
    EXPECT_EQ(decodeAs("deflate", zlibDeflated("text") + garbage).code(), URLErrorCode::cannotDecodeContentData);
    EXPECT_EQ(decodeAs("deflate", bareDeflated("text") + garbage, 1).code(), URLErrorCode::cannotDecodeContentData);
  }
  EXPECT_EQ(decodeAs("gzip", gzipped("text") + "x").message(), "the gzip data is damaged: bytes follow its end");
}

TEST(ContentDecoderTest, noticesEveryTruncationOfChecksummedData) {
  const std::string text = variedText(300, 4);
  for (const auto& [coding, body] :
       std::vector<std::pair<const char*, std::string>>{{"gzip", gzipped(text)},
                                                        {"gzip", gzippedWithEverything(text)},
                                                        {"deflate", zlibDeflated(text)},
                                                        {"deflate", bareDeflated(text)}}) {
    for (std::size_t count = 1; count < body.size(); ++count) {
      const DecodedBody outcome = decodeAs(coding, body.substr(0, count), count % 2 == 0 ? 1 : 1000);

      EXPECT_EQ(outcome.code(), URLErrorCode::cannotDecodeContentData) << coding << " cut to " << count;
      EXPECT_EQ(outcome.message(), std::string("the ") + coding + " data ends early") << "cut to " << count;
      EXPECT_EQ(outcome.decoded, text.substr(0, outcome.decoded.size()));
    }
  }
}

TEST(ContentDecoderTest, noticesATruncationOfALaterMember) {
  const std::string first = gzipped("first");
  const std::string body = first + gzipped("second");
  for (std::size_t count = first.size() + 1; count < body.size(); ++count) {
    EXPECT_EQ(decodeAs("gzip", body.substr(0, count)).message(), "the gzip data ends early") << count;
  }
}

TEST(ContentDecoderTest, neverTakesFlippedBitsForTheContent) {
  const std::string text = variedText(400, 5);
  for (const auto& [coding, body] : std::vector<std::pair<const char*, std::string>>{
           {"gzip", gzippedWithEverything(text)}, {"deflate", zlibDeflated(text)}}) {
    for (std::size_t bit = 0; bit < body.size() * 8; ++bit) {
      std::string flipped = body;
      flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));

      const DecodedBody outcome = decodeAs(coding, flipped);

      // Bits that carry no content (a time stamp, say) may flip; the content is as it was, or it is refused.
      if (!outcome.failure) {
        EXPECT_TRUE(outcome.decoded == text) << coding << " with bit " << bit << " flipped";
      } else {
        EXPECT_EQ(outcome.code(), URLErrorCode::cannotDecodeContentData);
      }
    }
  }
}

TEST(ContentDecoderTest, saysWhatIsDamaged) {
  std::string wrongSum = gzipped("text");
  wrongSum[wrongSum.size() - 8] = static_cast<char>(wrongSum[wrongSum.size() - 8] ^ 1);
  std::string wrongLength = gzipped("text");
  wrongLength.back() = 1;
  std::string wrongHeader = gzippedWithEverything("text");
  wrongHeader[5] = static_cast<char>(wrongHeader[5] ^ 1);

  EXPECT_EQ(decodeAs("gzip", wrongSum).message(), "the gzip data is damaged: incorrect data check");
  EXPECT_EQ(decodeAs("gzip", wrongLength).message(), "the gzip data is damaged: incorrect length check");
  EXPECT_EQ(decodeAs("gzip", wrongHeader).message(), "the gzip data is damaged: header crc mismatch");
  EXPECT_EQ(decodeAs("gzip", "plain text").message(), "the gzip data is damaged: incorrect header check");
}

TEST(ContentDecoderTest, refusesDeflateDataThatNeedsADictionary) {
  // CMF 0x78, FLG 0xBB with FDICT, then an identifier.
  EXPECT_EQ(decodeAs("deflate", "\x78\xBB\x01\x02\x03\x04").message(),
            "the deflate data is damaged: it needs a dictionary");
}

TEST(ContentDecoderTest, stopsABombAtItsBound) {
  const std::string zeros(4 << 20, '\0');
  const std::string bomb = gzipped(zeros);
  for (const auto& [coding, body] : std::vector<std::pair<const char*, std::string>>{{"gzip", bomb},
                                                                                     {"deflate", zlibDeflated(zeros)},
                                                                                     {"compress", lzwCompressed(zeros)},
                                                                                     {"gzip, gzip", gzipped(bomb)}}) {
    const DecodedBody outcome = decodeAs(coding, body, 1 << 20, 100000);

    EXPECT_EQ(outcome.code(), URLErrorCode::dataLengthExceedsMaximum) << coding;
    EXPECT_EQ(outcome.message(), "the decoded body exceeds 100000 bytes");
    EXPECT_LE(outcome.decoded.size(), 100000U);
    EXPECT_LE(outcome.largestPiece, 200000U);
  }
}

TEST(ContentDecoderTest, stopsABombThatHidesBetweenTwoCodings) {
  // A gzip member of nothing, twenty thousand times: the inner coding never delivers a byte.
  const std::string member = gzipped("");
  std::string nothing;
  for (int i = 0; i < 20000; ++i) nothing += member;

  const DecodedBody outcome = decodeAs("gzip, gzip", gzipped(nothing), 1 << 20, 100000);

  EXPECT_EQ(outcome.code(), URLErrorCode::dataLengthExceedsMaximum);
}

struct Expansion {
  std::int64_t decodedBytes = 0;
  std::optional<LoadFailure> failure;
};

Expansion expand(const char* coding, std::string_view body, bool limitsExpansion) {
  Expansion expansion;
  auto choice = ContentDecoder::make({}, {{"Content-Encoding", coding}},
                                     {.maximumBytes = ample, .limitsExpansion = limitsExpansion});
  expansion.failure = choice.decoder->decode(bytesOf(body), [&](Bytes bytes) {
    expansion.decodedBytes += static_cast<std::int64_t>(bytes.size());
    return std::nullopt;
  });
  if (!expansion.failure) expansion.failure = choice.decoder->finish();
  return expansion;
}

TEST(ContentDecoderTest, stopsLargeContentThatExpandsMoreThanAHundredfold) {
  constexpr std::int64_t free = ContentDecoder::freeExpansionBytes;
  const std::string atTheBound = gzipped(std::string(free, '\0'));
  const std::string bomb = gzipped(std::string(free + (1 << 20), '\0'));

  EXPECT_EQ(expand("gzip", atTheBound, true).failure, std::nullopt);
  for (const auto& [coding, body] : {std::pair("gzip", bomb), std::pair("gzip, gzip", gzipped(bomb))}) {
    const Expansion stopped = expand(coding, body, true);

    ASSERT_TRUE(stopped.failure) << coding;
    EXPECT_EQ(stopped.failure->code, URLErrorCode::dataLengthExceedsMaximum);
    EXPECT_THAT(stopped.failure->message, HasSubstr("expands to more than 100 times its length"));
    EXPECT_LE(stopped.decodedBytes, free);
  }
  EXPECT_EQ(expand("gzip", bomb, false).failure, std::nullopt);
}

TEST(ContentDecoderTest, takesLargeContentThatExpandsLess) {
  // Text and zeros in turn.
  std::string content;
  while (content.size() < (70U << 20)) content += variedText(4000, 7) + std::string(20'000, '\0');

  const Expansion expansion = expand("gzip", gzipped(content), true);

  EXPECT_EQ(expansion.failure, std::nullopt);
  EXPECT_EQ(expansion.decodedBytes, static_cast<std::int64_t>(content.size()));
}

TEST(ContentDecoderTest, takesABodyThatJustFits) {
  const std::string text = variedText(100000, 6);

  EXPECT_EQ(decodeAs("gzip", gzipped(text), 1000, 100000).message(), "");
  EXPECT_EQ(decodeAs("gzip", gzipped(text), 1000, 99999).code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(decodeAs("gzip", gzipped(""), 1000, 0).message(), "");
  EXPECT_EQ(decodeAs("gzip, gzip", gzipped(gzipped(text)), 1000, std::numeric_limits<std::int64_t>::max()).message(),
            "");
}

TEST(ContentDecoderTest, readsWhatTheCompressProgramWrites) {
  const std::string hello = "\x1F\x9D\x90\x68\xCA\xB0\x61\xF3\x06";
  const std::string repeated("\x1F\x9D\x90\x61\x02\x0A\x1C\x08", 8);  // "a", then the strings being defined

  EXPECT_EQ(decodeAs("compress", hello).decoded, "hello");
  EXPECT_EQ(decodeAs("compress", hello).message(), "");
  EXPECT_EQ(decodeAs("compress", repeated).decoded, std::string(10, 'a'));
  EXPECT_EQ(decodeAs("compress", repeated).message(), "");
}

TEST(ContentDecoderTest, followsTheTableThroughEveryWidthAndClear) {
  const std::string text = variedText(250000, 7);
  for (const unsigned width : {9U, 10U, 11U, 13U, 15U, 16U}) {
    for (const bool isBlockMode : {true, false}) {
      const DecodedBody outcome = decodeAs("compress", lzwCompressed(text, width, isBlockMode), 4096);

      EXPECT_EQ(outcome.message(), "") << width;
      EXPECT_TRUE(outcome.decoded == text) << width;
    }
  }
}

TEST(ContentDecoderTest, refusesCompressDataThatCannotBe) {
  EXPECT_EQ(decodeAs("compress", "\x1F\x8B\x90").message(), "the compress data is damaged: its header is unknown");
  EXPECT_EQ(decodeAs("compress", "\x1F\x9D\x88").message(), "the compress data is damaged: its header is unknown")
      << "8 bits";
  EXPECT_EQ(decodeAs("compress", "\x1F\x9D\x91").message(), "the compress data is damaged: its header is unknown")
      << "17 bits";
  EXPECT_EQ(decodeAs("compress", "\x1F\x9D\xB0").message(), "the compress data is damaged: its header is unknown")
      << "a reserved bit";
  EXPECT_EQ(decodeAs("compress", "\x1F\x9D").message(), "the compress data ends early");
  EXPECT_EQ(decodeAs("compress", "\x1F\x9D\x90\x61").message(), "the compress data ends early");
  EXPECT_EQ(decodeAs("compress", std::string_view("\x1F\x9D\x90\x01\x01", 5)).message(),
            "the compress data is damaged: invalid code")
      << "257 before anything was defined";
  EXPECT_EQ(decodeAs("compress", std::string_view("\x1F\x9D\x90\x61\x04\x02", 6)).message(),
            "the compress data is damaged: invalid code")
      << "258 after one byte";
  EXPECT_EQ(decodeAs("compress", std::string_view("\x1F\x9D\x90\x61\x80", 5)).message(),
            "the compress data is damaged: bits follow its end");
}

TEST(ContentDecoderTest, survivesRandomBytes) {
  std::mt19937 random(8);
  const std::string starts[] = {"", "\x1F\x8B\x08", "\x1F\x9D\x90", "\x1F\x9D\x8C", "\x78\x9C"};
  for (int round = 0; round < 6000; ++round) {
    std::string body = starts[random() % std::size(starts)];
    for (auto count = random() % 300; count > 0; --count) body.push_back(static_cast<char>(random()));
    for (const char* coding : {"gzip", "deflate", "compress", "compress, deflate", "gzip, compress"}) {
      const DecodedBody outcome = decodeAs(coding, body, 1 + random() % 64, 1 << 20);

      EXPECT_LE(outcome.decoded.size(), 1U << 20);
      EXPECT_NE(outcome.code(), URLErrorCode::cannotDecodeRawData);
    }
  }
}

TEST(ContentDecoderTest, neverTakesMutatedGzipForTheContent) {
  std::mt19937 random(9);
  const std::string text = variedText(2000, 9);
  const std::string body = gzipped(text);
  for (int round = 0; round < 4000; ++round) {
    std::string mutated = body;
    for (auto count = 1 + random() % 4; count > 0; --count)
      mutated[random() % mutated.size()] = static_cast<char>(random());
    if (random() % 4 == 0) mutated.erase(random() % mutated.size(), random() % 10);

    const DecodedBody outcome = decodeAs("gzip", mutated, 1 + random() % 500);

    if (!outcome.failure) {
      EXPECT_TRUE(outcome.decoded == text);
    }
  }
}

}  // namespace
}  // namespace platform::detail
