#include <memory>
#include <optional>
#include <stdexcept>

#include "AsioFixture.hpp"

namespace corvane {
namespace {

using platform::DispatchQueue;

class AsioMainLoopTest : public AsioTest {
 protected:
  void TearDown() override { DispatchQueue::main().runOnce(); }
};

TEST_F(AsioMainLoopTest, completesOnTheThreadThatRunsTheContext) {
  server.enqueue(MockResponse(200).text("hello"));
  AsioMainLoop mainLoop(context);
  std::thread::id thread;

  get().send([&](const DataResponse&) {
    thread = std::this_thread::get_id();
    mainLoop.detach();
  });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(AsioMainLoopTest, runsManyCompletionsBesideOtherHandlers) {
  constexpr int count = 500;
  server.handleAll([](const auto&) { return MockResponse(200).text("x"); });
  AsioMainLoop mainLoop(context);
  int completed = 0, posted = 0;

  for (int number = 0; number < count; ++number) {
    get().send([&](const DataResponse& response) {
      net::post(context, [&] { ++posted; });
      completed += response.result ? 1 : 0;
      if (completed == count) mainLoop.detach();
    });
  }

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(completed, count);
  EXPECT_EQ(posted, count);
}

TEST_F(AsioMainLoopTest, isWokenFromAnyThread) {
  AsioMainLoop mainLoop(context);
  std::jthread other([&] {
    const auto thread = DispatchQueue::main().sync([] { return std::this_thread::get_id(); });
    EXPECT_NE(thread, std::this_thread::get_id());
    context.stop();
  });

  EXPECT_TRUE(runToTheEnd());
}

TEST_F(AsioMainLoopTest, letsTheContextEndOnceItIsDetached) {
  std::optional<AsioMainLoop> mainLoop(std::in_place, context);
  const bool hadWork = context.poll() == 0 && !context.stopped();

  mainLoop.reset();
  DispatchQueue::main().async([] {});

  EXPECT_TRUE(hadWork);
  EXPECT_EQ(context.run(), 0U);
  EXPECT_EQ(DispatchQueue::main().runOnce(), 1U);
}

TEST_F(AsioMainLoopTest, outlivesTheContext) {
  std::optional<net::io_context> ending(std::in_place);
  const AsioMainLoop mainLoop(*ending);
  bool wasRun = false;
  DispatchQueue::main().async([&] { wasRun = true; });

  ending.reset();
  DispatchQueue::main().async([] {});

  EXPECT_FALSE(wasRun);
  EXPECT_EQ(DispatchQueue::main().runOnce(), 2U);
}

TEST_F(AsioMainLoopTest, passesTheMainQueueOnToAnotherContext) {
  net::io_context next;
  bool wasRun = false;
  {
    const AsioMainLoop first(context);
    DispatchQueue::main().async([&] { wasRun = true; });
  }

  AsioMainLoop second(next);
  runToTheEnd();
  const bool byTheFirst = wasRun;
  next.poll();

  EXPECT_FALSE(byTheFirst);
  EXPECT_TRUE(wasRun);
}

}  // namespace
}  // namespace corvane
