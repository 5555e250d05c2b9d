#include "Platform/Loading/Internal/TaskCore.hpp"

#include <memory>
#include <string>

#include "CorvaneTesting/Ports.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "SessionTest.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace platform::detail {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using State = URLSessionTask::State;

constexpr Seconds longEnough = 20;

class TaskCoreTest : public SessionTest {
 protected:
  TaskCoreTest() { session = URLSession::make({}, nullptr, delegateQueue); }

  /// Keeps completions from being called until it is opened. Returns when it holds the queue.
  DispatchSemaphore blockDelegateQueue() const {
    const DispatchSemaphore isBlocked(0);
    const DispatchSemaphore mayGoOn(0);
    delegateQueue.async([=] {
      isBlocked.signal();
      EXPECT_TRUE(mayGoOn.wait(longEnough));
    });
    EXPECT_TRUE(isBlocked.wait(longEnough));
    return mayGoOn;
  }
  /// Returns when every completion that is due has been called, and dropped.
  void finishCompletions() const {
    delegateQueue.sync([] {});
  }

  const DispatchQueue delegateQueue{"test.delegate"};
};

TEST_F(TaskCoreTest, isSuspendedThenRunningThenCompleted) {
  Latch latch;
  server.enqueue(MockResponse(200).body("done").hold(Moment::beforeStatusLine, latch));
  Load loading(session, URLRequest(URL(server.url())));
  EXPECT_EQ(loading.task().state(), State::suspended);

  loading.resume();
  ASSERT_TRUE(server.waitForStall());
  EXPECT_EQ(loading.task().state(), State::running);

  latch.open();
  EXPECT_EQ(loading.wait().body(), "done");
  EXPECT_EQ(loading.task().state(), State::completed);
}

TEST_F(TaskCoreTest, isCompletedWhenItsCompletionIsCalled) {
  server.enqueue(MockResponse(200));
  std::promise<State> seen;
  std::shared_ptr<URLSessionTask> task;
  task = session->dataTask({URL(server.url())}, [&](auto, auto, auto) { seen.set_value(task->state()); });

  task->resume();

  EXPECT_EQ(seen.get_future().get(), State::completed);
}

TEST_F(TaskCoreTest, sendsOnceHoweverOftenItIsResumed) {
  server.enqueue(MockResponse(200).body("once"));
  Load loading(session, URLRequest(URL(server.url())));

  for (int time = 0; time < 5; ++time) loading.resume();

  EXPECT_EQ(loading.wait().body(), "once");
  loading.resume();
  finishCompletions();
  EXPECT_EQ(loading.completions(), 1);
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(TaskCoreTest, cancelledWhileSuspendedCompletesOnce) {
  Load loading(session, URLRequest(URL(server.url())));

  loading.cancel();
  EXPECT_NE(loading.task().state(), State::suspended);

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  EXPECT_EQ(loading.task().state(), State::completed);
  loading.cancel();
  loading.resume();
  finishCompletions();
  EXPECT_EQ(loading.completions(), 1);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(TaskCoreTest, cancelledWhileRunningCompletesOnce) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, URLRequest(URL(server.url())));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  loading.cancel();
  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  finishCompletions();
  EXPECT_EQ(loading.completions(), 1);
  EXPECT_EQ(loading.task().state(), State::completed);
}

TEST_F(TaskCoreTest, cancelledWhileItsCompletionIsDueSucceedsAllTheSame) {
  server.enqueue(MockResponse(200).body("arrived"));
  const DispatchSemaphore mayComplete = blockDelegateQueue();
  // Beside it, on a queue of its own, a later exchange shows that the first one is over.
  const auto other = URLSession::make({}, nullptr, DispatchQueue("test.other"));
  server.handle("/other", [](const auto&) { return MockResponse(204); });
  Load loading(session, URLRequest(URL(server.url())));
  loading.resume();
  while (loading.task().state() != State::completed) {
    ASSERT_EQ(Load(other, URLRequest(URL(server.url("/other")))).resume().wait().code(), 0);
  }

  loading.cancel();
  EXPECT_EQ(loading.task().state(), State::completed);
  EXPECT_FALSE(loading.isDone());

  mayComplete.signal();
  EXPECT_EQ(loading.wait().body(), "arrived");
  finishCompletions();
  EXPECT_EQ(loading.completions(), 1);
}

TEST_F(TaskCoreTest, cancelledInItsOwnCompletionIsNotCalledAgain) {
  server.enqueue(MockResponse(200));
  std::promise<void> called;
  int completions = 0;
  std::shared_ptr<URLSessionTask> task;
  task = session->dataTask({URL(server.url())}, [&](auto, auto, auto) {
    ++completions;
    task->cancel();
    task->resume();
    called.set_value();
  });

  task->resume();
  called.get_future().wait();

  finishCompletions();
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(task->state(), State::completed);
}

TEST_F(TaskCoreTest, cancelledWhileItLoadsAFileCompletesOnce) {
  const corvane::testkit::TemporaryDirectory files;
  const URL file = URL::file(files.write("file", std::string(8 << 20, 'x')));

  for (int time = 0; time < 50; ++time) {
    Load loading(session, URLRequest(file));
    loading.resume();
    loading.cancel();
    const Loaded loaded = loading.wait();
    finishCompletions();
    // Which of the two was first is not for a test to say.
    if (loaded.error) {
      EXPECT_EQ(loaded.code(), URLErrorCode::cancelled);
    } else {
      EXPECT_EQ(loaded.body().size(), 8U << 20);
    }
    EXPECT_EQ(loading.completions(), 1);
  }
}

TEST_F(TaskCoreTest, failsOnASessionThatWasInvalidatedBefore) {
  session->finishTasksAndInvalidate();
  Load loading(session, URLRequest(URL(server.url())));

  EXPECT_EQ(loading.resume().wait().code(), URLErrorCode::cancelled);

  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(TaskCoreTest, keepsItsSessionUntilItsCompletionWasCalled) {
  Latch latch;
  server.enqueue(MockResponse(200).body("kept").hold(Moment::beforeStatusLine, latch));
  Load loading(session, URLRequest(URL(server.url())));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());
  const std::weak_ptr<URLSession> observed = session;

  session = nullptr;
  EXPECT_FALSE(observed.expired());

  latch.open();
  EXPECT_EQ(loading.wait().body(), "kept");
  finishCompletions();
  EXPECT_TRUE(observed.expired());
}

TEST_F(TaskCoreTest, dropsItsCompletionOnTheDelegateQueue) {
  server.enqueue(MockResponse(200));
  struct Witness {
    DispatchQueue expected;
    std::promise<bool>& droppedThere;
    ~Witness() { droppedThere.set_value(expected.isCurrent()); }
  };
  std::promise<bool> droppedThere;
  std::unique_ptr<Witness> witness(new Witness{delegateQueue, droppedThere});

  const auto task = session->dataTask({URL(server.url())}, [witness = std::move(witness)](auto, auto, auto) {});
  task->resume();

  EXPECT_TRUE(droppedThere.get_future().get());
}

TEST_F(TaskCoreTest, isGoneWithItsLastHandleWhenItNeverRan) {
  const std::size_t before = LiveCount<TaskCore>::value();
  bool isCalled = false;
  auto task = session->dataTask({URL(server.url())}, [&](auto, auto, auto) { isCalled = true; });
  EXPECT_EQ(LiveCount<TaskCore>::value(), before + 1);

  task = nullptr;

  EXPECT_EQ(LiveCount<TaskCore>::value(), before);
  finishCompletions();
  EXPECT_FALSE(isCalled);
}

}  // namespace
}  // namespace platform::detail
