#include "StreamFixture.hpp"

/// Streams that are handed to a handler.
namespace corvane {
namespace {

using testkit::Ending;
using testkit::Latch;
using testkit::MockResponse;
using testkit::Moment;

class StreamHandlerTest : public StreamTest {};

TEST_F(StreamHandlerTest, handsOverTheBodyAndThenTheEnd) {
  server.enqueue(MockResponse(200).header("X-A", "1").chunked({"one ", "two ", "three"}));

  const auto outcome = streamed(feed("/feed"));

  EXPECT_EQ(outcome.message(), "");
  EXPECT_EQ(outcome.body(), "one two three");
  EXPECT_EQ(outcome.response.status, HTTPStatus::success);
  EXPECT_EQ(outcome.response.headers->value("X-A"), "1");
  EXPECT_EQ(outcome.response.url, URL(server.url("/feed")));
  EXPECT_FALSE(outcome.response.data);
}

TEST_F(StreamHandlerTest, handsOverAPieceWhileTheRestIsNotThere) {
  const Latch rest;
  server.enqueue(MockResponse().chunked({"first", "second"}).hold(Moment::insideBody, rest, 10));
  testkit::Expectation<HTTPStreamResponse> done;
  testkit::Expectation<std::string> pieces;

  feed().stream(queue, [=](const Data& piece) { pieces.fulfil(piece.text()); }, done);

  EXPECT_EQ(pieces.wait(), "first");
  EXPECT_FALSE(done.isFulfilled());
  rest.open();
  EXPECT_TRUE(done.wait().result);
  EXPECT_EQ(pieces.waitForAll(2).back(), "second");
}

TEST_F(StreamHandlerTest, callsOneAtATimeOnTheQueue) {
  server.enqueue(MockResponse().generatedBody(3'000'000));
  std::atomic<int> running = 0;
  std::string body;
  testkit::Expectation<HTTPStreamResponse> done;

  feed().stream(
      queue,
      [&](const Data& piece) {
        EXPECT_EQ(++running, 1);
        EXPECT_TRUE(queue.isCurrent());
        EXPECT_LE(piece.count(), platform::URLResponseStream::pieceBytes);
        EXPECT_FALSE(done.isFulfilled());
        body += piece.view();
        --running;
      },
      [&](HTTPStreamResponse response) {
        EXPECT_TRUE(queue.isCurrent());
        done.fulfil(std::move(response));
      });

  EXPECT_TRUE(done.wait().result);
  EXPECT_EQ(body, testkit::generatedBytes(3'000'000));
}

TEST_F(StreamHandlerTest, endsAtOnceWithoutABody) {
  server.enqueue(MockResponse(204));

  const auto outcome = streamed(feed());

  EXPECT_EQ(outcome.message(), "");
  EXPECT_TRUE(outcome.pieces.empty());
  EXPECT_EQ(outcome.response.status, HTTPStatus::noContent);
}

TEST_F(StreamHandlerTest, endsWithoutABodyWhateverItsCoding) {
  server.enqueue(MockResponse(204).header("Content-Encoding", "unknown"));

  EXPECT_EQ(streamed(feed()).message(), "");
}

TEST_F(StreamHandlerTest, takesACutOffBodyForAFailure) {
  server.enqueue(MockResponse().body("0123456789").dropConnection(Moment::insideBody, 4));

  const auto outcome = streamed(feed());

  ASSERT_TRUE(outcome.error());
  EXPECT_EQ(outcome.body(), "0123");
  EXPECT_EQ(outcome.error()->code(), platform::URLErrorCode::networkConnectionLost);
  EXPECT_TRUE(outcome.error()->is<CFNetworkErrors>());
  EXPECT_EQ(outcome.response.status, HTTPStatus::success);
  ASSERT_TRUE(outcome.error()->response());
  EXPECT_EQ(outcome.error()->response()->statusCode(), 200);
}

TEST_F(StreamHandlerTest, givesAnUnacceptableStatusWithItsBody) {
  server.enqueue(MockResponse(404).text("no such feed"));

  const auto outcome = streamed(feed());

  ASSERT_TRUE(responseError(outcome.error()));
  EXPECT_EQ(*responseError(outcome.error()), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_TRUE(outcome.pieces.empty());
  EXPECT_EQ(outcome.error()->response()->text(), "no such feed");
  EXPECT_EQ(outcome.response.data->text(), "no such feed");
}

TEST_F(StreamHandlerTest, keepsTheBeginningOfALongErrorBody) {
  server.enqueue(MockResponse(500).generatedBody(10'000'000));

  const auto outcome = streamed(feed());

  ASSERT_TRUE(responseError(outcome.error()));
  EXPECT_EQ(outcome.error()->response()->body()->text(), testkit::generatedBytes(64 * 1024));
}

TEST_F(StreamHandlerTest, followsRedirects) {
  server.enqueue(MockResponse(302).header("Location", "/elsewhere").body("unwanted"));
  server.enqueue(MockResponse().body("wanted"));

  const auto outcome = streamed(feed());

  EXPECT_EQ(outcome.body(), "wanted");
  EXPECT_EQ(outcome.response.url, URL(server.url("/elsewhere")));
}

TEST_F(StreamHandlerTest, decodesTheBody) {
  const std::string text = testkit::generatedBytes(1'000'000);
  server.enqueue(MockResponse().gzipBody(text));

  const auto outcome = streamed(feed());

  EXPECT_EQ(outcome.message(), "");
  EXPECT_EQ(outcome.body(), text);
}

TEST_F(StreamHandlerTest, takesDamagedContentForAFailure) {
  server.enqueue(MockResponse().header("Content-Encoding", "gzip").body("no gzip at all"));

  const auto outcome = streamed(feed());

  ASSERT_TRUE(outcome.error());
  EXPECT_EQ(outcome.error()->code(), platform::URLErrorCode::cannotDecodeContentData);
}

TEST_F(StreamHandlerTest, endsABodyBeyondTheLimitOfTheRequest) {
  server.enqueue(MockResponse().gzipBody(testkit::generatedBytes(1'000'000)));
  Feed request = feed();
  request.maximumBodyBytes = 300'000;

  const auto outcome = streamed(request);

  ASSERT_TRUE(outcome.error());
  EXPECT_EQ(outcome.error()->code(), platform::URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_LE(outcome.body().size(), 300'000U);
}

TEST_F(StreamHandlerTest, handsOverNothingBeyondTheLimitOfTheRequest) {
  const std::string chunk(200'000, 'x');
  server.enqueue(MockResponse().chunked({chunk, chunk, chunk}));
  Feed request = feed();
  request.maximumBodyBytes = 300'000;

  const auto outcome = streamed(request);

  ASSERT_TRUE(outcome.error());
  EXPECT_EQ(outcome.error()->code(), platform::URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_LE(outcome.body().size(), 300'000U);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(StreamHandlerTest, isCancelledInTheMiddle) {
  server.enqueue(MockResponse().chunked({"first", "never"}).stall(Moment::insideBody, 10));
  const Feed request = feed();
  testkit::Expectation<HTTPStreamResponse> done;

  request.stream(queue, [=](const Data&) { request.cancel(); }, done);

  ASSERT_TRUE(responseError(done.wait().result.error()));
  EXPECT_EQ(responseError(done.wait().result.error())->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(StreamHandlerTest, isStoppedWithABodyThatHasArrived) {
  server.enqueue(MockResponse().generatedBody(150'000));
  std::stop_source stop;
  std::atomic<int> pieces = 0;
  testkit::Expectation<HTTPStreamResponse> done;

  feed().stream(
      {.queue = queue, .stop = stop.get_token()},
      [&](const Data&) {
        ++pieces;
        EXPECT_TRUE(server.waitUntil([&] { return server.idleConnections() == 1; }));
        stop.request_stop();
      },
      done);

  ASSERT_TRUE(responseError(done.wait().result.error()));
  EXPECT_EQ(responseError(done.wait().result.error())->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(pieces, 1);
}

TEST_F(StreamHandlerTest, isStoppedByTheStopOfTheCall) {
  server.enqueue(MockResponse().body("never").stall(Moment::afterHead));
  std::stop_source stop;
  testkit::Expectation<HTTPStreamResponse> done;

  feed().stream({.queue = queue, .stop = stop.get_token()}, [](const Data&) {}, done);
  ASSERT_TRUE(server.waitForStall());
  stop.request_stop();

  EXPECT_EQ(responseError(done.wait().result.error())->which(), HTTPResponseError::Case::taskCancelled);
}

TEST_F(StreamHandlerTest, endsWhenTheDeadlinePasses) {
  server.enqueue(MockResponse().chunked({"first", "never"}).stall(Moment::insideBody, 10));

  const auto outcome = streamed(feed(), {.deadline = std::chrono::milliseconds(200)});

  ASSERT_TRUE(outcome.error());
  EXPECT_EQ(outcome.error()->code(), platform::URLErrorCode::timedOut);
  EXPECT_EQ(outcome.body(), "first");
}

TEST_F(StreamHandlerTest, isSentWithWhatTheRequestSays) {
  struct Refused : DataGetRequestable<Refused>, HTTPStreaming<Refused> {
    URL url = "http://127.0.0.1:1/";
    HTTPHeaders sharedHeaders() const { return {}; }
    void validate() const { throw Error("test", 7, "not today"); }
    using DataGetRequestable::validate;
  };

  const auto outcome = streamed(Refused());

  EXPECT_EQ(outcome.message(), "not today");
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(StreamHandlerTest, endsTogetherWithItsSession) {
  server.enqueue(MockResponse().chunked({"first", "never"}).stall(Moment::insideBody, 10));
  testkit::Expectation<HTTPStreamResponse> done;

  feed().stream(queue, [](const Data&) { Corvane::resetSessions(); }, done);

  EXPECT_EQ(responseError(done.wait().result.error())->which(), HTTPResponseError::Case::taskCancelled);
}

}  // namespace
}  // namespace corvane
