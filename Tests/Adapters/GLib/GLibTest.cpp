#include <CorvaneGLib/GLib.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {
namespace {

struct Get : DataGetRequestable<Get> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

class GLibTest : public testkit::ServerTest {
 protected:
  /// Made on first use, and kept as long as the process.
  static void SetUpTestSuite() { g_main_context_default(); }

  ~GLibTest() override {
    latch.open();
    Corvane::resetSessions();
    platform::DispatchQueue::main().runOnce();
    g_main_loop_unref(loop);
    g_main_context_unref(context);
  }

  Get get() const { return {.url = server.url("/")}; }
  void quit() const { g_main_loop_quit(loop); }
  /// Runs the loop until something quits it; false when that takes too long.
  bool run() const {
    struct Patience {
      GMainLoop* loop;
      bool isLate = false;
    } patience{loop};
    GSource* timer = g_timeout_source_new_seconds(20);
    const GSourceFunc giveUp = [](gpointer data) -> gboolean {
      auto* waiting = static_cast<Patience*>(data);
      waiting->isLate = true;
      g_main_loop_quit(waiting->loop);
      return G_SOURCE_REMOVE;
    };
    g_source_set_callback(timer, giveUp, &patience, nullptr);
    g_source_attach(timer, context);
    g_main_loop_run(loop);
    g_source_destroy(timer);
    g_source_unref(timer);
    return !patience.isLate;
  }

  GMainContext* const context = g_main_context_new();
  GMainLoop* const loop = g_main_loop_new(context, FALSE);
  const testkit::Latch latch;
};

TEST_F(GLibTest, completesWhereTheContextIsIterated) {
  server.enqueue(testkit::MockResponse(200).text("hello"));
  const GLibQueue queue(context);
  std::thread::id thread;

  get().send(queue, [&](const DataResponse&) {
    thread = std::this_thread::get_id();
    quit();
  });

  EXPECT_TRUE(run());
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(GLibTest, completesManyRequests) {
  constexpr int count = 300;
  server.handleAll([](const auto&) { return testkit::MockResponse(200).text("x"); });
  const GLibQueue queue(context);
  int completed = 0;

  for (int number = 0; number < count; ++number) {
    get().send(queue, [&](const DataResponse& response) {
      completed += response.result ? 1 : 0;
      if (completed == count) quit();
    });
  }

  EXPECT_TRUE(run());
  EXPECT_EQ(completed, count);
}

TEST_F(GLibTest, takesTheDefaultContextForNull) {
  const GLibQueue queue;
  bool wasRun = false;
  queue.async([&] { wasRun = true; });

  const bool ranAtOnce = wasRun;
  g_main_context_iteration(nullptr, FALSE);

  EXPECT_FALSE(ranAtOnce);
  EXPECT_TRUE(wasRun);
}

TEST_F(GLibTest, keepsWhatWaitsUntilTheContextIsIteratedAgain) {
  for (int number = 0; number < 3; ++number) {
    server.enqueue(testkit::MockResponse(200).hold(testkit::Moment::beforeStatusLine, latch));
  }
  const GLibQueue queue(context);
  int completed = 0;
  for (int number = 0; number < 3; ++number) {
    get().send(queue, [&](const DataResponse&) {
      if (++completed == 3) quit();
    });
  }
  ASSERT_TRUE(server.waitForRequests(3));
  queue.async([this] { quit(); });
  ASSERT_TRUE(run());
  const int whileItRan = completed;

  latch.open();

  EXPECT_EQ(whileItRan, 0);
  EXPECT_TRUE(run());
  EXPECT_EQ(completed, 3);
}

TEST_F(GLibTest, outlivesTheLastHandleOfTheUser) {
  GMainContext* own = g_main_context_new();
  {
    const GLibQueue queue(own);
    std::jthread iterating([own, queue] {
      bool isDone = false;
      queue.async([&] { isDone = true; });
      while (!isDone) g_main_context_iteration(own, TRUE);
    });
    g_main_context_unref(own);
  }
}

TEST_F(GLibTest, drainsTheMainQueue) {
  server.enqueue(testkit::MockResponse(200));
  const GLibMainLoop mainLoop(context);
  std::thread::id thread;

  get().send([&](const DataResponse&) {
    thread = std::this_thread::get_id();
    quit();
  });

  EXPECT_TRUE(run());
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(GLibTest, isWokenFromAnyThread) {
  const GLibMainLoop mainLoop(context);
  std::jthread other([this] { platform::DispatchQueue::main().sync([this] { quit(); }); });

  EXPECT_TRUE(run());
}

TEST_F(GLibTest, leavesTheMainQueueAloneOnceItIsDetached) {
  bool wasRun = false;
  {
    const GLibMainLoop mainLoop(context);
    platform::DispatchQueue::main().async([&] { wasRun = true; });
  }

  while (g_main_context_iteration(context, FALSE)) continue;
  const bool byTheLoop = wasRun;
  platform::DispatchQueue::main().runOnce();

  EXPECT_FALSE(byTheLoop);
  EXPECT_TRUE(wasRun);
}

}  // namespace
}  // namespace corvane
