#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Corvane/Transport/Internal/ProgressRelay.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "TransferFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

class HTTPProgressHandlerTest : public TransferTest {};

TEST_F(HTTPProgressHandlerTest, isEmptyWhenItIsMadeOfAFunctionThatIsNull) {
  const std::function<void(HTTPProgress)> function;
  void (*const pointer)(HTTPProgress) = nullptr;

  EXPECT_FALSE(HTTPProgressHandler(function));
  EXPECT_FALSE(HTTPProgressHandler(pointer));
  EXPECT_FALSE(HTTPProgressHandler(platform::UniqueFunction<void(HTTPProgress)>()));
  EXPECT_TRUE(HTTPProgressHandler([](const HTTPProgress&) {}));
}

class TaskWithProgress final : public platform::URLSessionTask {
 public:
  void resume() override {}
  void cancel() override {}
  State state() const override { return State::running; }
  const platform::URLRequest& originalRequest() const override { return request_; }
  std::uint64_t taskIdentifier() const override { return 1; }
  std::shared_ptr<platform::Progress> progress() override { return progress_; }

 private:
  const platform::URLRequest request_{URL("http://127.0.0.1/")};
  const std::shared_ptr<platform::Progress> progress_ = platform::Progress::make();
};

TEST_F(HTTPProgressHandlerTest, isToldOfTheNewestOnlyOfWhatComesWhileItIsBusy) {
  const auto task = std::make_shared<TaskWithProgress>();
  std::vector<std::int64_t> told;
  const auto relay = detail::progressRelay([&](const HTTPProgress& now) { told.push_back(now.completedBytes()); });
  const auto observation = relay->observe(task, queue);

  queue.sync([&] {
    for (int number = 1; number <= 100; ++number) task->progress()->updateBytes(number, 100);
  });
  queue.sync([] {});
  task->progress()->updateBytes(50, 100);
  queue.sync([] {});

  EXPECT_EQ(told, (std::vector<std::int64_t>{100, 50}));
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
  const Latch isListening;
  const Latch latch;
  server.enqueue(MockResponse(200)
                     .generatedBody(100'000)
                     .hold(Moment::beforeStatusLine, isListening)
                     .hold(Moment::insideBody, latch, 1000));
  const DispatchQueue handlers("handlers");
  int secondCalls = 0;
  const auto future = DownloadGetRequest(server.url("/")).send();
  future.during(handlers, [&](const HTTPProgress&) {
    if (latch.isOpen()) return;
    future.during(handlers, [&](const HTTPProgress&) { ++secondCalls; });
    latch.open();
  });
  isListening.open();

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
