#include <gmock/gmock.h>

#include "CorvaneTesting/ManualTime.hpp"
#include "StreamFixture.hpp"

/// Events over one connection after the other.
namespace corvane {
namespace {

using ::testing::ElementsAre;
using testkit::Latch;
using testkit::MockResponse;
using testkit::Moment;

MockResponse stream(std::string text) {
  return MockResponse().contentType("text/event-stream; charset=utf-8").chunked({std::move(text)});
}

std::string dataOf(const std::optional<ServerSentEvent>& event) { return event ? event->data : "<end>"; }

class ServerSentEventsTest : public StreamTest {};

TEST_F(ServerSentEventsTest, givesTheEventsOfAResponse) {
  server.enqueue(stream("event: add\ndata: 1\nid: a\n\ndata: 2\n\ndata: dropped"));

  auto events = serverSentEvents(feed());

  EXPECT_THAT(itemsOf(events), ElementsAre(ServerSentEvent{"add", "1", "a"}, ServerSentEvent{"message", "2", "a"}));
  const auto request = server.takeRequest();
  EXPECT_EQ(request.header("Accept"), "text/event-stream");
  EXPECT_EQ(request.header("Cache-Control"), "no-store");
  EXPECT_FALSE(request.header("Last-Event-ID"));
}

TEST_F(ServerSentEventsTest, givesAnEventWhileTheRestIsNotThere) {
  const Latch rest;
  server.enqueue(MockResponse()
                     .contentType("text/event-stream")
                     .chunked({"data: 1\n\n", "data: 2\n\n"})
                     .hold(Moment::insideBody, rest, 14));
  auto events = serverSentEvents(feed());

  EXPECT_EQ(dataOf(events.next().get()), "1");
  const auto second = events.next();
  EXPECT_FALSE(second.isCompleted());
  rest.open();
  EXPECT_EQ(dataOf(second.get()), "2");
}

TEST_F(ServerSentEventsTest, refusesAnotherContentType) {
  server.enqueue(MockResponse().json("{}"));
  auto events = serverSentEvents(feed(), {.reconnects = true});

  const auto error = thrownBy([&] { events.next().get(); });

  ASSERT_TRUE(error.is<HTTPStreamError>());
  EXPECT_EQ(*error.as<HTTPStreamError>(), HTTPStreamError::unexpectedContentType("application/json"));
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(ServerSentEventsTest, refusesAStatusThatIsNotAcceptable) {
  server.enqueue(MockResponse(503));
  auto events = serverSentEvents(feed(), {.reconnects = true});

  const auto error = thrownBy([&] { events.next().get(); });

  EXPECT_EQ(*responseError(&error), HTTPResponseError::unacceptableStatus(HTTPStatus::serviceUnavailable));
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(ServerSentEventsTest, asksAgainForWhatFollows) {
  server.enqueue(stream("retry: 1\ndata: 1\nid: a b\n\n"));
  server.enqueue(MockResponse()
                     .contentType("text/event-stream")
                     .body("data: 2\n\ndata: lost")
                     .dropConnection(Moment::insideBody, 15));
  server.enqueue(stream("data: 3\n\n"));
  server.enqueue(MockResponse(204));
  auto events = serverSentEvents(feed(), {.reconnects = true});

  EXPECT_THAT(itemsOf(events),
              ElementsAre(ServerSentEvent{"message", "1", "a b"}, ServerSentEvent{"message", "2", "a b"},
                          ServerSentEvent{"message", "3", "a b"}));
  EXPECT_FALSE(server.takeRequest().header("Last-Event-ID"));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(server.takeRequest().header("Last-Event-ID"), "a b");
}

TEST_F(ServerSentEventsTest, waitsBeforeItAsksAgain) {
  testkit::ManualTime time;
  server.enqueue(stream("data: 1\n\n"));
  server.enqueue(stream("data: 2\n\n"));
  auto events = serverSentEvents(feed(), {.reconnects = true});
  EXPECT_EQ(dataOf(events.next().get()), "1");

  const auto second = events.next();
  ASSERT_TRUE(time.waitForTimers(1));
  time.advance(std::chrono::milliseconds(2999));
  EXPECT_EQ(server.requestCount(), 1);
  time.advance(std::chrono::milliseconds(1));

  EXPECT_EQ(dataOf(second.get()), "2");
}

TEST_F(ServerSentEventsTest, asksAgainAsOftenAsTheLimitSays) {
  server.handleAll([](const auto&) { return stream(": nothing\n\n"); });
  auto events = serverSentEvents(feed(), {.reconnects = true, .wait = 0.001, .reconnectLimit = 2});

  EXPECT_FALSE(events.next().get());

  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(ServerSentEventsTest, endsAsTheLastConnectionDid) {
  server.handleAll([](const auto&) { return MockResponse().dropConnection(Moment::beforeStatusLine); });
  auto events = serverSentEvents(feed(), {.reconnects = true, .wait = 0.001, .reconnectLimit = 1});

  EXPECT_EQ(thrownBy([&] { events.next().get(); }).code(), platform::URLErrorCode::networkConnectionLost);
}

TEST_F(ServerSentEventsTest, isCancelledWhileItWaitsToAskAgain) {
  testkit::ManualTime time;
  server.enqueue(stream("data: 1\n\n"));
  auto events = serverSentEvents(feed(), {.reconnects = true});
  EXPECT_EQ(dataOf(events.next().get()), "1");
  const auto second = events.next();
  ASSERT_TRUE(time.waitForTimers(1));

  second.cancel();

  EXPECT_EQ(responseError(second.result().error())->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(ServerSentEventsTest, isStoppedByTheStopOfTheCall) {
  server.enqueue(stream("data: 1\n\n").stall(Moment::insideBody, 14));
  std::stop_source stop;
  auto events = serverSentEvents(feed(), {.call = {.stop = stop.get_token()}, .reconnects = true});
  EXPECT_EQ(dataOf(events.next().get()), "1");
  const auto second = events.next();

  stop.request_stop();

  EXPECT_EQ(responseError(second.result().error())->which(), HTTPResponseError::Case::taskCancelled);
}

TEST_F(ServerSentEventsTest, isCancelledWhenTheResponseIsOver) {
  for (const bool reconnects : {false, true}) {
    server.enqueue(stream("data: 1\n\n"));
    auto events = serverSentEvents(feed(), {.reconnects = reconnects});
    EXPECT_EQ(dataOf(events.next().get()), "1");
    ASSERT_TRUE(server.waitUntil([&] { return server.idleConnections() >= 1; }));

    events.cancel();

    const auto error = thrownBy([&] { events.next().get(); });
    ASSERT_TRUE(responseError(&error)) << error.message();
    EXPECT_EQ(responseError(&error)->which(), HTTPResponseError::Case::taskCancelled);
  }
}

TEST_F(ServerSentEventsTest, failsWithAnEventThatIsTooLong) {
  server.enqueue(stream("data: 1\n\ndata: 0123456789\n\n"));
  auto events = serverSentEvents(feed(), {.maximumBytes = 10});

  EXPECT_EQ(dataOf(events.next().get()), "1");
  EXPECT_EQ(*thrownBy([&] { events.next().get(); }).as<HTTPStreamError>(), HTTPStreamError::eventTooLong(10));
}

}  // namespace
}  // namespace corvane
