#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "SessionTest.hpp"

namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;

class CancellationTest : public SessionTest {
 protected:
  static void expectCancelled(const Loaded& loaded) {
    ASSERT_TRUE(loaded.error);
    EXPECT_EQ(loaded.error->domain(), NSURLErrorDomain);
    EXPECT_EQ(loaded.code(), URLErrorCode::cancelled);
  }
};

TEST_F(CancellationTest, endsATaskThatWaitsForAResponse) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  loading.cancel();

  expectCancelled(loading.wait());
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(CancellationTest, endsATaskInsideTheBody) {
  server.enqueue(MockResponse(200).generatedBody(1 << 20).stall(Moment::insideBody));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  loading.cancel();

  expectCancelled(loading.wait());
}

TEST_F(CancellationTest, endsATaskThatWasNeverResumed) {
  Load loading(session, URLRequest(URL(server.url("/"))));

  loading.cancel();
  loading.resume();

  expectCancelled(loading.wait());
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(CancellationTest, aTaskThatCannotBeSentEndsOnceWhenItIsCancelledAtOnce) {
  for (int i = 0; i < 100; ++i) {
    Load hopeless(session, URLRequest("http:///without-a-host"));
    hopeless.resume();
    hopeless.cancel();
    const std::int64_t code = hopeless.wait().code();

    EXPECT_TRUE(code == URLErrorCode::cancelled || code == URLErrorCode::badURL) << code;
    EXPECT_EQ(hopeless.completions(), 1);
  }
}

TEST_F(CancellationTest, endsATaskThatWaitsForItsTurn) {
  session = makeSession({.httpMaximumConnectionsPerHost = 1});
  Latch latch;
  server.enqueue(MockResponse(200).body("first").hold(Moment::beforeStatusLine, latch));
  Load first(session, URLRequest(URL(server.url("/"))));
  Load second(session, URLRequest(URL(server.url("/"))));
  first.resume();
  ASSERT_TRUE(server.waitForStall());
  second.resume();

  second.cancel();

  expectCancelled(second.wait());
  latch.open();
  EXPECT_EQ(first.wait().body(), "first");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(CancellationTest, afterCompletionDoesNothing) {
  server.enqueue(MockResponse(200).body("done"));
  Load loading(session, URLRequest(URL(server.url("/"))));
  EXPECT_EQ(loading.resume().wait().body(), "done");

  loading.cancel();

  EXPECT_EQ(loading.task().state(), URLSessionTask::State::completed);
  EXPECT_EQ(loading.completions(), 1);
}

TEST_F(CancellationTest, sweptAcrossARequestsLifeCompletesEachTaskOnce) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body(std::string(2000, 'x')); });
  std::vector<std::unique_ptr<Load>> loads;
  for (int i = 0; i < 300; ++i) {
    auto& loading = *loads.emplace_back(std::make_unique<Load>(session, URLRequest(URL(server.url("/")))));
    loading.resume();
    // Busy work of growing length moves the moment of cancelling through the exchange.
    for (std::atomic<int> spin = 0; spin < i * 100; ++spin) {
    }
    loading.cancel();
  }
  int cancelled = 0;
  for (auto& loading : loads) {
    const Loaded loaded = loading->wait();
    if (loaded.error) {
      EXPECT_EQ(loaded.code(), URLErrorCode::cancelled) << loaded.message();
      ++cancelled;
    } else {
      EXPECT_EQ(loaded.body().size(), 2000u);
    }
  }
  EXPECT_GT(cancelled, 0);
  for (auto& loading : loads) EXPECT_EQ(loading->completions(), 1);
  EXPECT_EQ(load("/").body().size(), 2000u);
}

class InvalidationTest : public CancellationTest {
 protected:
  struct Delegate : URLSessionDelegate {
    void didBecomeInvalid(const std::shared_ptr<URLSession>& session, const std::optional<Error>& error) override {
      EXPECT_FALSE(error);
      told.set_value(session.get());
    }
    std::promise<URLSession*> told;
  };
  std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
};

TEST_F(InvalidationTest, cancelEndsRunningTasksAndTellsTheDelegate) {
  session = makeSession({}, delegate);
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  session->invalidateAndCancel();

  expectCancelled(loading.wait());
  EXPECT_EQ(delegate->told.get_future().get(), session.get());
  expectCancelled(load("/after"));
}

TEST_F(InvalidationTest, finishLetsRunningTasksFinish) {
  session = makeSession({}, delegate);
  Latch latch;
  server.enqueue(MockResponse(200).body("finished").hold(Moment::beforeStatusLine, latch));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  session->finishTasksAndInvalidate();
  expectCancelled(load("/after"));
  EXPECT_FALSE(loading.isDone());
  latch.open();

  EXPECT_EQ(loading.wait().body(), "finished");
  EXPECT_EQ(delegate->told.get_future().get(), session.get());
}

TEST_F(InvalidationTest, ofAnIdleSessionClosesItsConnections) {
  server.enqueue(MockResponse(200));
  load("/");

  session->invalidateAndCancel();

  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(InvalidationTest, aDroppedSessionClosesItsConnections) {
  server.enqueue(MockResponse(200));
  load("/");

  session.reset();

  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(InvalidationTest, aDroppedSessionFinishesItsTasks) {
  Latch latch;
  server.enqueue(MockResponse(200).body("finished").hold(Moment::beforeStatusLine, latch));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  session.reset();
  ASSERT_TRUE(server.waitForStall());

  latch.open();

  EXPECT_EQ(loading.wait().body(), "finished");
}

TEST_F(CancellationTest, mayOvertakeTheStart) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200); });
  constexpr int times = 1000;
  std::vector<std::weak_ptr<URLSessionTask>> tasks;
  std::atomic<int> completions = 0;
  for (int i = 0; i < times; ++i) {
    const auto task = session->dataTask(URLRequest(URL(server.url("/"))), [&](auto, auto, auto) { ++completions; });
    tasks.push_back(task);
    std::thread canceller([&] {
      while (task->state() == URLSessionTask::State::suspended) {
      }
      task->cancel();
    });
    task->resume();
    canceller.join();
  }

  // After everything that was asked of the session before.
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (completions < times && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
  Load(session, URLRequest(URL(server.url("/")))).resume().wait();

  EXPECT_EQ(completions, times);
  EXPECT_TRUE(std::all_of(tasks.begin(), tasks.end(), [](const auto& task) { return task.expired(); }));
}

}  // namespace
}  // namespace platform
