#include <chrono>
#include <memory>
#include <variant>
#include <vector>

#include "AsioFixture.hpp"

namespace corvane {
namespace {

using net::awaitable;
using net::use_awaitable;

class AsyncSendCancellationTest : public AsioTest {
 protected:
  net::cancellation_signal signal;
  std::string message;

  auto noting() {
    return net::bind_cancellation_slot(
        signal.slot(), [this](std::exception_ptr error, const HTTPResponse<Data>&) { message = messageOf(error); });
  }
  /// Has the context do something once the server has the request.
  template <class Action>
  std::jthread onceItArrived(Action action) {
    return std::jthread([this, action] {
      server.takeRequest();
      net::post(context, action);
    });
  }
};

TEST_F(AsyncSendCancellationTest, cancelsTheRequestByItsSlot) {
  holdResponses();
  async_send(context, get(), noting());

  const auto canceller = onceItArrived([this] { signal.emit(net::cancellation_type::terminal); });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
  EXPECT_FALSE(signal.slot().has_handler());
}

TEST_F(AsyncSendCancellationTest, cancelsARequestThatIsJustBeingSent) {
  holdResponses();

  async_send(context, get(), noting());
  signal.emit(net::cancellation_type::all);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
}

TEST_F(AsyncSendCancellationTest, goesOnWhenOnlyAStopWithoutEffectIsAskedFor) {
  holdResponses();
  async_send(context, get(), noting());

  const auto canceller = onceItArrived([this] {
    signal.emit(net::cancellation_type::total);
    latch.open();
  });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, "no error");
}

TEST_F(AsyncSendCancellationTest, doesNothingAfterTheHandlerWasCalled) {
  server.enqueue(MockResponse(200));
  async_send(context, get(), noting());
  ASSERT_TRUE(runToTheEnd());

  signal.emit(net::cancellation_type::all);

  EXPECT_EQ(message, "no error");
}

TEST_F(AsyncSendCancellationTest, cancelsTheRequestThatLosesAgainstATimer) {
  using namespace net::experimental::awaitable_operators;
  holdResponses();
  std::size_t winner = 99;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        net::steady_timer timer(context, std::chrono::milliseconds(20));
        winner = (co_await (async_send(get(), use_awaitable) || timer.async_wait(use_awaitable))).index();
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(winner, 1U);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(AsyncSendCancellationTest, leavesTheTimerBehindThatLosesAgainstTheRequest) {
  using namespace net::experimental::awaitable_operators;
  server.enqueue(MockResponse(200).text("fast"));
  std::string text;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        net::steady_timer timer(context, std::chrono::hours(1));
        const auto result = co_await (async_send(get(), use_awaitable) || timer.async_wait(use_awaitable));
        text = std::get<0>(result).body.text();
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(text, "fast");
}

TEST_F(AsyncSendCancellationTest, endsTheRaceAgainstATimerWhenItFails) {
  using namespace net::experimental::awaitable_operators;
  constexpr auto token = net::experimental::as_tuple(use_awaitable);
  server.enqueue(MockResponse(503));

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        net::steady_timer timer(context, std::chrono::hours(1));
        const auto first = co_await (async_send(get(), token) || timer.async_wait(token));
        message = messageOf(std::get<0>(std::get<0>(first)));
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, "HTTPStatus: serviceUnavailable:503 is unacceptable");
}

TEST_F(AsyncSendCancellationTest, reachesTheRequestThatASpawnedCoroutineAwaits) {
  holdResponses();
  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        try {
          co_await async_send(get(), use_awaitable);
        } catch (const Error& error) {
          message = error.message();
        }
      },
      net::bind_cancellation_slot(signal.slot(), net::detached));

  const auto canceller = onceItArrived([this] { signal.emit(net::cancellation_type::terminal); });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
}

TEST_F(AsyncSendCancellationTest, cancelsEveryRequestOfABatch) {
  holdResponses(3);
  std::vector<DataResponse> responses;
  const std::vector<Get> requests(3, get());
  async_send(context, requests, HTTPBatchMode::parallel(),
             net::bind_cancellation_slot(signal.slot(), [&](std::exception_ptr, std::vector<DataResponse> list) {
               responses = std::move(list);
             }));

  const auto canceller = onceItArrived([this] { signal.emit(net::cancellation_type::terminal); });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(responses.size(), 3U);
  for (const auto& response : responses) EXPECT_EQ(response.result.error()->message(), cancelledMessage);
}

}  // namespace
}  // namespace corvane
