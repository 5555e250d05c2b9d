#include <CorvaneQt/Qt.hpp>
#include <QtCore/QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {
namespace {

struct Get : DataGetRequestable<Get> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// An application of the process's own, which Qt wants once, on one thread.
QCoreApplication& application() {
  static int count = 1;
  static char name[] = "QtTest";
  static char* arguments[] = {name, nullptr};
  static QCoreApplication instance(count, arguments);
  return instance;
}

class QtTest : public testkit::ServerTest {
 protected:
  static void SetUpTestSuite() { application(); }

  ~QtTest() override {
    latch.open();
    Corvane::resetSessions();
    platform::DispatchQueue::main().runOnce();
  }

  Get get() const { return {.url = server.url("/")}; }
  /// Runs the event loop until something quits it; false when that takes too long.
  bool run() {
    QTimer patience;
    bool isLate = false;
    QObject::connect(&patience, &QTimer::timeout, [&] {
      isLate = true;
      QCoreApplication::quit();
    });
    patience.start(20'000);
    app.exec();
    return !isLate;
  }
  void holdResponses(int count) {
    for (int number = 0; number < count; ++number) {
      server.enqueue(testkit::MockResponse(200).hold(testkit::Moment::beforeStatusLine, latch));
    }
  }

  QCoreApplication& app = application();
  const testkit::Latch latch;
};

TEST_F(QtTest, completesInTheEventLoopOfAnObject) {
  server.enqueue(testkit::MockResponse(200).text("hello"));
  QObject window;
  const QtQueue queue(&window);
  std::thread::id thread;

  get().send(queue, [&](const DataResponse&) {
    thread = std::this_thread::get_id();
    QCoreApplication::quit();
  });

  EXPECT_TRUE(run());
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(QtTest, completesManyRequestsInTheEventLoop) {
  constexpr int count = 300;
  server.handleAll([](const auto&) { return testkit::MockResponse(200).text("x"); });
  QObject window;
  const QtQueue queue(&window);
  int completed = 0;

  for (int number = 0; number < count; ++number) {
    get().send(queue, [&](const DataResponse& response) {
      completed += response.result ? 1 : 0;
      if (completed == count) QCoreApplication::quit();
    });
  }

  EXPECT_TRUE(run());
  EXPECT_EQ(completed, count);
}

TEST_F(QtTest, completesInTheEventLoopOfAThread) {
  server.enqueue(testkit::MockResponse(200));
  QThread thread;
  thread.start();
  const QtQueue queue(thread);

  const bool isThere = testkit::await<bool>([&](auto done) {
    get().send(queue, [&thread, done](const DataResponse&) { done(QThread::currentThread() == &thread); });
  });

  EXPECT_TRUE(isThere);
  thread.quit();
  thread.wait();
  EXPECT_THROW(queue.sync([] {}), std::runtime_error);
}

TEST_F(QtTest, keepsNothingInAThreadOnceTheQueueIsGone) {
  QThread thread;
  thread.start();
  const testkit::Expectation<void> gone;
  auto* receiver = detail::QtSubmission::receiverIn(thread);
  QObject::connect(receiver, &QObject::destroyed, [gone] { gone(); });
  {
    const detail::QtSubmission submission(receiver, true);
  }

  gone.wait();

  thread.quit();
  thread.wait();
}

TEST_F(QtTest, dropsWhatWaitsWhenTheObjectIsDestroyed) {
  auto window = std::make_unique<QObject>();
  const QtQueue queue(window.get());
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  queue.async([token = std::move(token)] { FAIL() << "dropped blocks do not run"; });

  window.reset();

  EXPECT_TRUE(held.expired());
  EXPECT_THROW(queue.sync([] {}), std::runtime_error);
}

TEST_F(QtTest, survivesTheEndOfTheObjectWhileRequestsAreUnderWay) {
  holdResponses(3);
  auto window = std::make_unique<QObject>();
  {
    const QtQueue queue(window.get());
    for (int number = 0; number < 3; ++number) {
      get().send(queue, [](const DataResponse&) { FAIL() << "the window is gone"; });
    }
  }
  ASSERT_TRUE(server.waitForRequests(3));

  window.reset();
  latch.open();
  ASSERT_TRUE(server.waitUntil([&] { return server.idleConnections() == 3; }));

  QCoreApplication::processEvents();
}

TEST_F(QtTest, survivesTheEndOfTheObjectWhileBlocksAreSubmitted) {
  for (int round = 0; round < 50; ++round) {
    auto window = std::make_unique<QObject>();
    std::jthread submitter([queue = QtQueue(window.get())] {
      for (int number = 0; number < 100; ++number) queue.async([] {});
    });
    window.reset();
  }
}

TEST_F(QtTest, drainsTheMainQueue) {
  server.enqueue(testkit::MockResponse(200));
  const QtMainLoop mainLoop;
  std::thread::id thread;

  get().send([&](const DataResponse&) {
    thread = std::this_thread::get_id();
    QCoreApplication::quit();
  });

  EXPECT_TRUE(run());
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(QtTest, isWokenFromAnyThread) {
  const QtMainLoop mainLoop;
  std::jthread other([] { platform::DispatchQueue::main().sync([] { QCoreApplication::quit(); }); });

  EXPECT_TRUE(run());
}

TEST_F(QtTest, leavesTheMainQueueAloneOnceItIsDetached) {
  bool wasRun = false;
  {
    const QtMainLoop mainLoop;
    platform::DispatchQueue::main().async([&] { wasRun = true; });
  }

  QCoreApplication::processEvents();
  const bool byTheLoop = wasRun;
  platform::DispatchQueue::main().runOnce();

  EXPECT_FALSE(byTheLoop);
  EXPECT_TRUE(wasRun);
}

TEST_F(QtTest, drainsTheMainQueueInsideANestedEventLoopOnceTheBlockIsDone) {
  const QtMainLoop mainLoop;
  std::vector<int> seen;
  platform::DispatchQueue::main().async([&] {
    platform::DispatchQueue::main().async([&] {
      seen.push_back(2);
      QCoreApplication::quit();
    });
    // As a modal dialogue does.
    QCoreApplication::processEvents();
    seen.push_back(1);
  });

  EXPECT_TRUE(run());
  EXPECT_EQ(seen, (std::vector<int>{1, 2}));
}

}  // namespace
}  // namespace corvane
