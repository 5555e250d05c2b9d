#include "StreamFixture.hpp"

/// Streams whose pieces are asked for.
namespace corvane {
namespace {

using testkit::Latch;
using testkit::MockResponse;
using testkit::Moment;

class BodyStreamTest : public StreamTest {};

TEST_F(BodyStreamTest, givesHeadAndPieces) {
  server.enqueue(MockResponse(206).header("X-A", "1").chunked({"one ", "two"}));

  auto stream = feed("/feed").stream();

  const auto head = stream.head().get();
  EXPECT_EQ(head.status, HTTPStatus::partialContent);
  EXPECT_EQ(head.headers->value("X-A"), "1");
  EXPECT_EQ(head.url, URL(server.url("/feed")));
  EXPECT_EQ(bodyOf(stream), "one two");
  EXPECT_FALSE(stream.next().get());
}

Task<std::string> received(HTTPBodyStream stream) {
  std::string text;
  while (const auto piece = co_await stream.next()) text += piece->view();
  co_return text;
}

TEST_F(BodyStreamTest, isAwaited) {
  server.enqueue(MockResponse().generatedBody(2'000'000));

  EXPECT_EQ(received(feed().stream()).get(), testkit::generatedBytes(2'000'000));
}

TEST_F(BodyStreamTest, givesAPieceWhileTheRestIsNotThere) {
  const Latch rest;
  server.enqueue(MockResponse().chunked({"first", "second"}).hold(Moment::insideBody, rest, 10));
  auto stream = feed().stream();

  EXPECT_EQ(stream.next().get()->text(), "first");
  const auto second = stream.next();
  EXPECT_FALSE(second.isCompleted());
  rest.open();
  EXPECT_EQ(second.get()->text(), "second");
  EXPECT_FALSE(stream.next().get());
}

TEST_F(BodyStreamTest, failsWithTheStatus) {
  server.enqueue(MockResponse(503).text("later"));
  auto stream = feed().stream();

  const Error error = thrownBy([&] { stream.next().get(); });

  EXPECT_EQ(*responseError(&error), HTTPResponseError::unacceptableStatus(HTTPStatus::serviceUnavailable));
  EXPECT_EQ(error.response()->text(), "later");
  EXPECT_EQ(thrownBy([&] { stream.head().get(); }).message(), error.message());
  EXPECT_EQ(thrownBy([&] { stream.next().get(); }).message(), error.message());
}

TEST_F(BodyStreamTest, failsWhereItBreaks) {
  server.enqueue(MockResponse().body("0123456789").dropConnection(Moment::insideBody, 4));
  auto stream = feed().stream();

  EXPECT_EQ(stream.next().get()->text(), "0123");
  const Error error = thrownBy([&] { stream.next().get(); });

  EXPECT_EQ(error.code(), platform::URLErrorCode::networkConnectionLost);
}

TEST_F(BodyStreamTest, isCancelledWhenItIsDestroyed) {
  server.enqueue(MockResponse().generatedBody(100'000'000));
  {
    auto stream = feed().stream();
    EXPECT_TRUE(stream.next().get());
  }
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(BodyStreamTest, isCancelledWhenItIsDestroyedBeforeTheHead) {
  server.enqueue(MockResponse().stall(Moment::beforeStatusLine));
  std::optional<HTTPBodyStream> stream = feed().stream();
  const auto head = stream->head();
  ASSERT_TRUE(server.waitForStall());

  stream.reset();

  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(responseError(head.result().error())->which(), HTTPResponseError::Case::taskCancelled);
}

TEST_F(BodyStreamTest, isCancelledWhileItWaits) {
  server.enqueue(MockResponse().body("never").stall(Moment::afterHead));
  auto stream = feed().stream();
  const auto next = stream.next();
  ASSERT_TRUE(server.waitForStall());

  stream.cancel();

  EXPECT_EQ(responseError(next.result().error())->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(BodyStreamTest, isCancelledByTheTaskThatAwaitsIt) {
  server.enqueue(MockResponse().body("never").stall(Moment::afterHead));
  const auto task = received(feed().stream());
  ASSERT_TRUE(server.waitForStall());

  task.cancel();

  const auto result = task.result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(responseError(result.error())->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(BodyStreamTest, dropsWhatWaitsWhenItIsCancelled) {
  server.enqueue(MockResponse().body("waits").stall(Moment::afterResponse));
  auto stream = feed().stream();
  stream.head().wait();

  stream.cancel();

  for (int i = 0; i < 2; ++i) {
    const Error error = thrownBy([&] { stream.next().get(); });
    EXPECT_EQ(error.code(), Error(HTTPResponseError::taskCancelled()).code()) << error.message();
    EXPECT_TRUE(error.is<HTTPResponseError>());
  }
}

TEST_F(BodyStreamTest, isCancelledWhenNothingShouldBeSent) {
  Feed request = feed();
  request.shouldSend = false;
  auto stream = request.stream();

  const Error error = thrownBy([&] { stream.next().get(); });

  EXPECT_EQ(responseError(&error)->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(BodyStreamTest, keepsTheConnectionWhenItIsComplete) {
  server.enqueue(MockResponse().body("one"));
  server.enqueue(MockResponse().body("two"));
  auto first = feed().stream();
  EXPECT_EQ(bodyOf(first), "one");

  auto second = feed().stream();

  EXPECT_EQ(bodyOf(second), "two");
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(BodyStreamTest, isMadeByTheReadyMadeRequest) {
  server.enqueue(MockResponse().body("ready"));

  auto stream = StreamGetRequest(server.url("/a"), {.queryItems = {{"b", 1}}}).stream();

  EXPECT_EQ(bodyOf(stream), "ready");
  EXPECT_EQ(server.takeRequest().target, "/a?b=1");
}

}  // namespace
}  // namespace corvane
