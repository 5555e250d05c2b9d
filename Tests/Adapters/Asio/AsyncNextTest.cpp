#include <optional>
#include <string>

#include "AsioFixture.hpp"

/// Streamed responses as operations of Asio.
namespace corvane {
namespace {

using testkit::Ending;
using testkit::Moment;

class AsyncNextTest : public AsioTest {
 protected:
  HTTPBodyStream stream() const { return StreamGetRequest(server.url("/")).stream(); }
};

net::awaitable<void> receive(HTTPBodyStream stream, std::string& body, std::string& failure) {
  try {
    while (const auto piece = co_await async_next(stream, net::use_awaitable)) body += piece->view();
  } catch (const Error& error) {
    failure = error.message();
  }
}

TEST_F(AsyncNextTest, isAwaited) {
  server.enqueue(MockResponse().generatedBody(1'000'000));
  std::string body;
  std::string failure;

  net::co_spawn(context, receive(stream(), body, failure), net::detached);

  ASSERT_TRUE(runToTheEnd());
  EXPECT_EQ(body, testkit::generatedBytes(1'000'000));
  EXPECT_EQ(failure, "");
}

TEST_F(AsyncNextTest, throwsWhatNextFailsWith) {
  server.enqueue(MockResponse(404));
  std::string body;
  std::string failure;

  net::co_spawn(context, receive(stream(), body, failure), net::detached);

  ASSERT_TRUE(runToTheEnd());
  EXPECT_EQ(failure, HTTPResponseError::unacceptableStatus(HTTPStatus::notFound).message());
}

TEST_F(AsyncNextTest, callsAHandlerOnTheContext) {
  server.enqueue(MockResponse().body("one\ntwo"));
  auto lines = corvane::lines(stream());
  std::optional<std::string> line;
  int calls = 0;

  async_next(context, lines, [&](const std::exception_ptr& error, std::optional<std::string> item) {
    EXPECT_EQ(messageOf(error), "no error");
    line = std::move(item);
    ++calls;
  });
  EXPECT_EQ(calls, 0);

  ASSERT_TRUE(runToTheEnd());
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(line, "one");
}

TEST_F(AsyncNextTest, isCancelledByItsSlot) {
  server.enqueue(MockResponse().body("never").stall(Moment::afterHead));
  auto pieces = stream();
  net::cancellation_signal signal;
  std::string message;

  async_next(context, pieces,
             net::bind_cancellation_slot(signal.slot(), [&](const std::exception_ptr& error, std::optional<Data>) {
               message = messageOf(error);
             }));
  ASSERT_TRUE(server.waitForStall());
  signal.emit(net::cancellation_type::terminal);

  ASSERT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(AsyncNextTest, cancelsTheStreamWhenTheContextEnds) {
  server.enqueue(MockResponse().body("never").stall(Moment::afterHead));
  auto pieces = stream();
  bool wasCalled = false;
  {
    net::io_context shortLived;
    async_next(shortLived, pieces, [&](const std::exception_ptr&, std::optional<Data>) { wasCalled = true; });
    ASSERT_TRUE(server.waitForStall());
  }

  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_FALSE(wasCalled);
}

}  // namespace
}  // namespace corvane
