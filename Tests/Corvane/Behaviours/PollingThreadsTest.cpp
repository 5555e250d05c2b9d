#include <thread>

#include "Corvane/Behaviours/HTTPMockable.hpp"
#include "Corvane/Behaviours/HTTPPolling.hpp"
#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "PollingFixture.hpp"

namespace corvane {
namespace {

/// Ticks a thousand times a second.
struct QuickPoll : DataGetRequestable<QuickPoll>, HTTPMockable<QuickPoll>, HTTPPolling<QuickPoll> {
  static constexpr std::chrono::milliseconds pollingRate{1};
  inline static testkit::Expectation<void> makings;
  static std::optional<QuickPoll> make() {
    makings();
    return QuickPoll();
  }
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Real time, and many threads.
class PollingThreadsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    QuickPoll::makings = {};
    // Once it was drained, the main queue has no timer of its own, which waits for that.
    DispatchQueue::main().runOnce();
  }
  void TearDown() override {
    if (QuickPoll::isPolling()) QuickPoll::stopPolling();
    drainMain();
  }

  static void drainMain() {
    while (DispatchQueue::main().runOnce() > 0) {
    }
  }
  static void onThreads(int count, const std::function<void(int thread)>& work) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < count; ++thread) threads.emplace_back(work, thread);
    for (auto& thread : threads) thread.join();
  }

  /// Faults are part of it: who stops may find that another did.
  const testkit::LogCapture log;
  const DispatchQueue queue{"PollingThreadsTest"};
};

TEST_F(PollingThreadsTest, ticksByTheRealClock) {
  int heard = 0;
  QuickPoll::poll([&](const auto&, const DataResponse& response) { heard += response.result.isSuccess(); });

  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return heard >= 5; }, 20));
}

TEST_F(PollingThreadsTest, startsOneTimerWhoeverComesFirst) {
  constexpr int threadCount = 8;
  platform::detail::ManualClock clock;
  std::atomic<int> called = 0;

  onThreads(threadCount, [&](int) { QuickPoll::poll([&](const auto&, const auto&) { ++called; }); });
  const std::size_t timers = clock.pendingTimers();
  testkit::await<DataResponse>([&](auto done) { QuickPoll().send(queue, done); });
  QuickPoll::stopPolling();

  EXPECT_EQ(timers, 1u);
  EXPECT_EQ(called, threadCount);
}

TEST_F(PollingThreadsTest, stopsOnceWhoeverComesFirst) {
  constexpr int threadCount = 8;
  QuickPoll::poll();

  onThreads(threadCount, [](int) { QuickPoll::stopPolling(); });

  EXPECT_EQ(log->records().size(), std::size_t{threadCount - 1});
  EXPECT_FALSE(QuickPoll::isPolling());
}

TEST_F(PollingThreadsTest, withstandsThatAllIsDoneAtOnceAlsoByHandlers) {
  constexpr int threadCount = 4;
  constexpr int rounds = 150;
  const testkit::Expectation<void> completions;
  std::atomic<int> heard = 0;
  // The handlers of a response run on its queue only, but there are three: so several may be called at a time.
  const auto handler = [&heard](const QuickPoll& request, const DataResponse&) {
    switch (++heard % 8) {
      case 0:
        QuickPoll::poll([&heard](const auto&, const auto&) { ++heard; });
        break;
      case 1:
        QuickPoll::stopPolling();
        break;
      case 2:
        QuickPoll::addPollingHandler([&heard](const auto&, const auto&) { ++heard; });
        break;
      case 3:
        request.send(DispatchQueue::global(), [](const auto&) {});
        break;
      default:
        break;
    }
  };

  onThreads(threadCount, [&](int thread) {
    for (int round = 0; round < rounds; ++round) {
      QuickPoll::poll(handler);
      QuickPoll().send(round % 2 == 0 ? queue : DispatchQueue::global(), [completions](const auto&) { completions(); });
      if (round % 3 == thread % 3) QuickPoll::addPollingHandler(handler);
      if (round % 4 == thread) QuickPoll::stopPolling();
      if (QuickPoll::isPolling() && thread == 0) DispatchQueue::global().async([] { QuickPoll::isPolling(); });
    }
  });

  completions.waitForAll(std::size_t{threadCount} * rounds, std::chrono::seconds(60));
  if (QuickPoll::isPolling()) QuickPoll::stopPolling();
  // What handlers have sent last is answered, and they refer to nothing of this test any more.
  for (int iteration = 0; iteration < 4; ++iteration) {
    detail::mockBackgroundQueue().sync([] {});
    testkit::await<DataResponse>([&](auto done) { QuickPoll().send(queue, done); });
    drainMain();
  }
  EXPECT_EQ(completions.count(), threadCount * rounds);
}

TEST_F(PollingThreadsTest, callsNoHandlerOnAQueueAfterItWasStoppedThere) {
  constexpr int threadCount = 4;
  constexpr int rounds = 100;
  bool isStopped = true;  // on the queue only, as these two
  int callsAfterStop = 0;
  int calls = 0;
  const testkit::Expectation<void> completions;
  std::atomic<bool> isOver = false;

  std::thread switching([&] {
    for (int round = 0; round < rounds; ++round) {
      queue.sync([&] {
        isStopped = false;
        QuickPoll::poll([&](const auto&, const auto&) { ++(isStopped ? callsAfterStop : calls); });
      });
      testkit::await<DataResponse>([&](auto done) { QuickPoll().send(queue, done); });
      queue.sync([&] {
        QuickPoll::stopPolling();
        isStopped = true;
      });
    }
    isOver = true;
  });
  onThreads(threadCount, [&](int) {
    while (!isOver) testkit::await<DataResponse>([&](auto done) { QuickPoll().send(queue, done); });
  });
  switching.join();

  EXPECT_GE(calls, rounds);
  EXPECT_EQ(callsAfterStop, 0);
}

TEST_F(PollingThreadsTest, comesToNoTickOnceItWasStoppedWhateverWasUnderWay) {
  constexpr int rounds = 100;

  for (int round = 0; round < rounds; ++round) {
    platform::detail::ManualClock clock;
    QuickPoll::poll();
    std::thread ticking([&] {
      for (int tick = 0; tick < 5; ++tick) clock.advance(QuickPoll::pollingRate);
    });

    QuickPoll::stopPolling();
    const std::size_t timersAfterStop = clock.pendingTimers();
    ticking.join();
    const std::size_t wakeUpsBefore = clock.wakeUps();
    clock.advance(100);

    EXPECT_EQ(timersAfterStop, 0u);
    EXPECT_EQ(clock.wakeUps(), wakeUpsBefore);
  }
}

}  // namespace
}  // namespace corvane
