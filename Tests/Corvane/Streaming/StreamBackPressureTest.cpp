#include "StreamFixture.hpp"
#include "WritingServer.hpp"

/// A consumer that is slower than the server holds the server up.
namespace corvane {
namespace {

constexpr std::uint64_t bodyBytes = 128'000'000;
/// What the sockets of both sides take at most (tcp_wmem and tcp_rmem of tcp(7)), and what the stream reads ahead.
constexpr std::uint64_t mostAhead = 32'000'000;

class StreamBackPressureTest : public ::testing::Test {
 protected:
  ~StreamBackPressureTest() override { Corvane::resetSessions(); }

  WritingServer server{bodyBytes};
};

TEST_F(StreamBackPressureTest, holdsUpTheServerWhileNoPieceIsAskedFor) {
  auto stream = StreamGetRequest(server.url()).stream();
  stream.head().wait();

  std::uint64_t received = 0;
  for (int i = 0; i < 100; ++i) {
    EXPECT_LT(server.writtenWhenHeldUp(), received + mostAhead);
    const auto piece = stream.next().get();
    ASSERT_TRUE(piece);
    ASSERT_EQ(piece->view(), testkit::generatedBytes(piece->count(), received));
    received += piece->count();
  }
  while (const auto piece = stream.next().get()) received += piece->count();

  EXPECT_EQ(received, bodyBytes);
  EXPECT_TRUE(server.hasWrittenAll());
}

TEST_F(StreamBackPressureTest, holdsUpTheServerWhileTheHandlerWorks) {
  const DispatchQueue queue("StreamBackPressureTest");
  std::uint64_t received = 0;
  int pieces = 0;
  testkit::Expectation<HTTPStreamResponse> done;

  StreamGetRequest(server.url())
      .stream(
          queue,
          [&](const Data& piece) {
            if (++pieces <= 20) {
              EXPECT_LT(server.writtenWhenHeldUp(), received + mostAhead);
            }
            received += piece.count();
          },
          done);

  EXPECT_TRUE(done.wait().result);
  EXPECT_EQ(received, bodyBytes);
}

TEST_F(StreamBackPressureTest, isCancelledWhileTheServerIsHeldUp) {
  auto stream = StreamGetRequest(server.url()).stream();
  EXPECT_LT(server.writtenWhenHeldUp(), mostAhead);

  stream.cancel();

  EXPECT_TRUE(server.waitUntilClosed());
  EXPECT_FALSE(server.hasWrittenAll());
  const auto error = thrownBy([&] { stream.next().get(); });
  EXPECT_EQ(responseError(&error)->which(), HTTPResponseError::Case::taskCancelled);
}

}  // namespace
}  // namespace corvane
