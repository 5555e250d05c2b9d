#include "CorvaneTesting/TrustedAuthority.hpp"
#include "HTTP2WritingServer.hpp"
#include "StreamFixture.hpp"

/// Streams over HTTP/2, where a consumer that is slow holds up its stream alone.
namespace corvane {
namespace {

/// More than the window of the connection.
constexpr std::uint64_t bodyBytes = 20'000'000;
/// The window of a stream, what the stream reads ahead, one read of the network, and one frame.
constexpr std::uint64_t mostAhead = (4096 + 256 + 64 + 16) * 1024;

class StreamOverHTTP2Test : public ::testing::Test {
 protected:
  ~StreamOverHTTP2Test() override { Corvane::resetSessions(); }

  HTTPBodyStream stream(std::string_view target) const { return StreamGetRequest(server.url(target)).stream(); }
  std::string other() const { return DataGetRequest(server.url("/other")).send().get().body.text(); }

  const testkit::CertificateAuthority authority;
  const testkit::TrustedAuthority trusted{authority};
  HTTP2WritingServer server{authority, bodyBytes};
};

TEST_F(StreamOverHTTP2Test, handsOverABodyThatIsLargerThanTheWindows) {
  const DispatchQueue queue("StreamOverHTTP2Test");
  std::uint64_t received = 0;
  bool isIntact = true;
  testkit::Expectation<HTTPStreamResponse> done;

  StreamGetRequest(server.url("/body"))
      .stream(
          queue,
          [&](const Data& piece) {
            isIntact = isIntact && piece.view() == testkit::generatedBytes(piece.count(), received);
            received += piece.count();
          },
          done);

  EXPECT_TRUE(done.wait().result);
  EXPECT_EQ(received, bodyBytes);
  EXPECT_TRUE(isIntact);
}

TEST_F(StreamOverHTTP2Test, holdsUpTheServerWhileNoPieceIsAskedFor) {
  auto stream = this->stream("/body");
  stream.head().wait();

  std::uint64_t received = 0;
  for (int i = 0; i < 100; ++i) {
    EXPECT_LE(server.writtenWhenHeldUp(), received + mostAhead);
    const auto piece = stream.next().get();
    ASSERT_TRUE(piece);
    ASSERT_EQ(piece->view(), testkit::generatedBytes(piece->count(), received));
    received += piece->count();
  }
  while (const auto piece = stream.next().get()) received += piece->count();

  EXPECT_EQ(received, bodyBytes);
}

TEST_F(StreamOverHTTP2Test, lastsWhileOthersOfItsConnectionGoOn) {
  auto stream = this->stream("/body");
  EXPECT_LE(server.writtenWhenHeldUp(), mostAhead);

  // The server takes one connection alone.
  for (int i = 0; i < 3; ++i) EXPECT_EQ(other(), "fine");

  EXPECT_EQ(bodyOf(stream), testkit::generatedBytes(bodyBytes));
}

TEST_F(StreamOverHTTP2Test, isCancelledWhileTheServerIsHeldUp) {
  auto stream = this->stream("/body");
  EXPECT_LE(server.writtenWhenHeldUp(), mostAhead);

  stream.cancel();

  EXPECT_TRUE(server.waitUntilReset());
  EXPECT_FALSE(server.hasWrittenAll());
  const auto error = thrownBy([&] { stream.next().get(); });
  EXPECT_EQ(responseError(&error)->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(other(), "fine");
}

TEST_F(StreamOverHTTP2Test, isCancelledInTheMiddleByItsHandler) {
  const DispatchQueue queue("StreamOverHTTP2Test");
  std::stop_source stop;
  std::uint64_t received = 0;
  testkit::Expectation<HTTPStreamResponse> done;

  StreamGetRequest(server.url("/body"))
      .stream(
          {.queue = queue, .stop = stop.get_token()},
          [&](const Data& piece) {
            received += piece.count();
            if (received > bodyBytes / 4) stop.request_stop();
          },
          done);

  const HTTPStreamResponse response = done.wait();
  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(responseError(response.result.error())->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_LE(received, bodyBytes / 4 + platform::URLResponseStream::pieceBytes);
  EXPECT_TRUE(server.waitUntilReset());
  EXPECT_EQ(other(), "fine");
}

TEST_F(StreamOverHTTP2Test, isBrokenWhereTheServerResetsItInTheMiddle) {
  auto stream = this->stream("/broken");

  std::uint64_t received = 0;
  const auto error = thrownBy([&] {
    while (const auto piece = stream.next().get()) received += piece->count();
  });

  EXPECT_GT(received, 0U);
  EXPECT_LT(received, bodyBytes);
  EXPECT_EQ(error.code(), platform::URLErrorCode::networkConnectionLost);
}

}  // namespace
}  // namespace corvane
