#include "PollRun.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CommandLine.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/StandardRoutes.hpp"

namespace {

using corvane::testkit::installStandardRoutes;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ServerTest;
using ::testing::ElementsAre;

class PollRunTest : public ServerTest {
 protected:
  std::vector<FinishedExchange> exchanges(const CommandLine& line) {
    std::vector<FinishedExchange> finished;
    PollRun(ToolOptions::from(line), {[&](const FinishedExchange& exchange) { finished.push_back(exchange); }}).run();
    return finished;
  }
};

TEST_F(PollRunTest, endsAfterSoManyResponses) {
  server.enqueue(MockResponse(200).body("first"));
  server.enqueue(MockResponse(404).body("second"));
  server.enqueue(MockResponse(200).body("third"));

  const auto all = exchanges({.url = server.url("/p"), .poll = 0.02, .count = 3});

  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(server.requestCount(), 3);
  EXPECT_FALSE(all[2].failures.size());
}

TEST_F(PollRunTest, sendsWhatTheOptionsSay) {
  server.enqueue(MockResponse(200));

  exchanges(
      {.method = "PUT", .url = server.url("/p"), .headers = {"X-Own: 1"}, .data = "body", .poll = 0.02, .count = 1});

  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "PUT");
  EXPECT_EQ(received.header("X-Own"), "1");
  EXPECT_EQ(received.body, "body");
}

TEST_F(PollRunTest, canBeRunAgain) {
  server.handleAll([](const auto&) { return MockResponse(200); });

  EXPECT_EQ(exchanges({.url = server.url("/p"), .poll = 0.02, .count = 2}).size(), 2U);
  EXPECT_EQ(exchanges({.url = server.url("/p"), .poll = 0.02, .count = 1}).size(), 1U);

  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(PollRunTest, sendsNoMoreThanItWasAskedForWhenResponsesAreSlow) {
  const Latch latch;
  server.handleAll([&](const auto&) { return MockResponse(200).body("content").hold(Moment::insideBody, latch); });
  corvane::DispatchQueue::global().async([&] {
    EXPECT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 2; }));
    latch.open();
  });

  const auto all = exchanges({.url = server.url("/p"), .poll = 0.02, .count = 2});

  EXPECT_EQ(all.size(), 2U);
  EXPECT_EQ(server.headCount(), 2);
}

TEST_F(PollRunTest, attemptsEachPollAgain) {
  installStandardRoutes(server);

  const auto all = exchanges(
      {.url = server.url("/flaky/1"), .retry = "interval=0.01,limit=3,delta=0,transient", .poll = 0.5, .count = 2});

  ASSERT_EQ(all.size(), 2U);
  for (const auto& each : all) {
    EXPECT_FALSE(each.response.result.error());
    EXPECT_EQ(each.attempts, 2);
    EXPECT_EQ(each.failures.at(0).status, 503);
  }
}

TEST_F(PollRunTest, cancelsWhatIsUnderWayWhenItIsStopped) {
  const Latch latch;
  server.handleAll([&](const auto&) { return MockResponse(200).body("content").hold(Moment::insideBody, latch); });
  int reports = 0;
  PollRun run(ToolOptions::from({.url = server.url("/p"), .poll = 0.02}),
              {[&](const FinishedExchange&) { ++reports; }});
  corvane::DispatchQueue::global().async([&] {
    EXPECT_TRUE(server.waitUntil([&] { return server.stalledConnections() >= 2; }));
    corvane::DispatchQueue::main().async([&run] { run.stop(); });
  });

  run.run();

  EXPECT_EQ(reports, 0);
}

TEST_F(PollRunTest, canBeStoppedBeforeTheFirstPoll) {
  PollRun run(ToolOptions::from({.url = server.url("/p"), .poll = 1000}), {[](const FinishedExchange&) { FAIL(); }});
  corvane::DispatchQueue::main().async([&run] { run.stop(); });

  run.run();

  EXPECT_EQ(server.requestCount(), 0);
}

}  // namespace
