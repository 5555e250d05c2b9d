#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "TransferFixture.hpp"

namespace corvane {
namespace {

using corvane::testing::await;
using corvane::testing::Latch;
using corvane::testing::MockResponse;
using corvane::testing::Moment;

class HTTPProgressHandlerTest : public TransferTest {};

TEST_F(HTTPProgressHandlerTest, isEmptyWhenItIsMadeOfAFunctionThatIsNull) {
  const std::function<void(HTTPProgress)> function;
  void (*const pointer)(HTTPProgress) = nullptr;

  EXPECT_FALSE(HTTPProgressHandler(function));
  EXPECT_FALSE(HTTPProgressHandler(pointer));
  EXPECT_FALSE(HTTPProgressHandler(platform::UniqueFunction<void(HTTPProgress)>()));
  EXPECT_TRUE(HTTPProgressHandler([](const HTTPProgress&) {}));
}

TEST_F(HTTPProgressHandlerTest, isLetGoOfWhenTheTransferIsOverThoughItKeepsTheProgress) {
  server.enqueue(MockResponse(200).generatedBody(100'000));
  auto last = std::make_shared<std::optional<HTTPProgress>>();
  const std::weak_ptr<std::optional<HTTPProgress>> kept = last;

  await<DownloadResponse<URL>>([&](auto done) {
    DownloadGetRequest(server.url("/")).send(queue, [last](const HTTPProgress& progress) { *last = progress; }, done);
  });
  EXPECT_EQ(last->value().completedBytes(), 100'000);
  last.reset();
  queue.sync([] {});

  EXPECT_TRUE(kept.expired());
}

TEST_F(HTTPProgressHandlerTest, isLetGoOfWhenItsFutureIsCompletedThoughItKeepsTheFuture) {
  server.enqueue(MockResponse(200).generatedBody(100'000));
  const DispatchQueue handlers("handlers");
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> kept = token;
  {
    const auto future = DownloadGetRequest(server.url("/")).send();
    future.during(handlers, [future, token](const HTTPProgress&) {});
    future.get();
    future.during(handlers, [future, token](const HTTPProgress&) { ADD_FAILURE() << "called after the end"; });
  }
  token.reset();

  handlers.sync([] {});

  EXPECT_TRUE(kept.expired());
}

TEST_F(HTTPProgressHandlerTest, mayAddAnotherHandlerToItsFuture) {
  const Latch latch;
  server.enqueue(MockResponse(200).generatedBody(100'000).hold(Moment::insideBody, latch, 1000));
  const DispatchQueue handlers("handlers");
  int secondCalls = 0;
  const auto future = DownloadGetRequest(server.url("/")).send();
  future.during(handlers, [&](const HTTPProgress&) {
    if (latch.isOpen()) return;
    future.during(handlers, [&](const HTTPProgress&) { ++secondCalls; });
    latch.open();
  });

  future.get();
  handlers.sync([] {});

  EXPECT_GE(secondCalls, 1);
}

TEST_F(HTTPProgressHandlerTest, isCalledOnceAtATimeAndNotAfterTheCompletionOnTheGlobalQueue) {
  constexpr std::int64_t size = 200'000;
  const Latch latch;
  server.enqueue(MockResponse(200).generatedBody(size).hold(Moment::insideBody, latch, 1000));
  std::atomic<int> inside = 0;
  std::atomic<bool> overlaps = false;
  std::atomic<bool> isOver = false;
  // Stays inside until all has arrived, so that the end is told of meanwhile.
  const auto handler = [&](const HTTPProgress& progress) {
    if (++inside != 1 || isOver) overlaps = true;
    latch.open();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (progress.completedBytes() < size && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    if (isOver) overlaps = true;
    --inside;
  };

  const auto response = await<DownloadResponse<URL>>([&](auto done) {
    DownloadGetRequest(server.url("/"))
        .send(DispatchQueue::global(), handler, [&, done](DownloadResponse<URL> arrived) mutable {
          if (inside != 0) overlaps = true;
          isOver = true;
          done(std::move(arrived));
        });
  });

  EXPECT_TRUE(response.result.isSuccess());
  EXPECT_FALSE(overlaps);
}

}  // namespace
}  // namespace corvane
