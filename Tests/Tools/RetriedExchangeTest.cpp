#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "CommandLine.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "ExchangeRun.hpp"

namespace {

using corvane::HTTPResponseError;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ServerTest;
using ::testing::ElementsAre;

class RetriedExchangeTest : public ServerTest {
 protected:
  FinishedExchange exchange(const CommandLine& line) {
    const ToolOptions options = ToolOptions::from(line);
    std::optional<FinishedExchange> finished;
    const ExchangeListener listener{
        .finished = [&](const FinishedExchange& exchange) { finished = exchange; },
        .attemptFailed = [this](const corvane::URL&,
                                const FailedAttempt& attempt) { told.push_back(attempt.problem); }};
    ExchangeRun(options, nullptr, listener).run();
    return finished.value();
  }

  /// Of failed attempts, as they came.
  std::vector<std::string> told;
};

TEST_F(RetriedExchangeTest, attemptsAgainUntilAResponseWillDo) {
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200).body("done"));

  const FinishedExchange all = exchange({.url = server.url("/r"), .retry = "interval=0.01,limit=5,delta=0"});

  EXPECT_EQ(all.response.data->view(), "done");
  EXPECT_EQ(all.attempts, 3);
  ASSERT_EQ(all.failures.size(), 2U);
  EXPECT_EQ(all.failures[0].number, 1);
  EXPECT_FALSE(all.failures[0].status);
  EXPECT_EQ(all.failures[1].number, 2);
  EXPECT_EQ(all.failures[1].status, 503);
  EXPECT_THAT(told, ElementsAre(all.failures[0].problem, all.failures[1].problem));
}

TEST_F(RetriedExchangeTest, hasTheLastResponseOfThoseThatAllFail) {
  server.handleAll([](const auto&) { return MockResponse(404).body("nothing here"); });

  const FinishedExchange all = exchange({.url = server.url("/r"), .retry = "interval=0.01,limit=1,delta=0"});

  EXPECT_EQ(all.response.statusCode(), 404);
  EXPECT_EQ(all.response.data->view(), "nothing here");
  EXPECT_EQ(all.attempts, 3);
  EXPECT_EQ(all.failures.size(), 2U);
}

TEST_F(RetriedExchangeTest, takesAResponseAtTheLimitForASuccess) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200));

  const FinishedExchange all = exchange({.url = server.url("/r"), .retry = "interval=0.01,limit=1,delta=0"});

  EXPECT_FALSE(all.response.result.error());
  EXPECT_EQ(all.attempts, 2);
}

TEST_F(RetriedExchangeTest, leavesFailuresThatStayWhenAskedTo) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(404));

  const FinishedExchange all = exchange({.url = server.url("/r"), .retry = "interval=0.01,limit=5,delta=0,transient"});

  EXPECT_EQ(all.response.statusCode(), 404);
  EXPECT_EQ(all.attempts, 2);
  EXPECT_EQ(all.failures.size(), 1U);
}

TEST_F(RetriedExchangeTest, sendsTheBodyWithEachAttempt) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200));

  exchange({.url = server.url("/r"), .data = "body", .retry = "interval=0.01,limit=1,delta=0"});

  EXPECT_EQ(server.takeRequest().body, "body");
  EXPECT_EQ(server.takeRequest().body, "body");
}

TEST_F(RetriedExchangeTest, countsTheAttemptsOfATransfer) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200));

  const FinishedExchange all =
      exchange({.url = server.url("/r"), .formSections = {"a=b"}, .retry = "interval=0.01,limit=1,delta=0"});

  EXPECT_FALSE(all.response.result.error());
  EXPECT_EQ(all.attempts, 2);
}

TEST_F(RetriedExchangeTest, endsAWaitWhenItIsCancelled) {
  server.enqueue(MockResponse(503));

  const FinishedExchange all =
      exchange({.url = server.url("/r"), .cancelAfter = 0.2, .retry = "interval=1000,limit=1"});

  const auto* error = all.response.result.error()->as<HTTPResponseError>();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(all.attempts, 1);
  EXPECT_EQ(all.failures.size(), 1U);
}

TEST_F(RetriedExchangeTest, endsAWaitWhenTheRunIsStopped) {
  server.enqueue(MockResponse(503));
  const ToolOptions options = ToolOptions::from({.url = server.url("/r"), .retry = "interval=1000,limit=1"});
  int reports = 0;
  ExchangeRun* current = nullptr;
  ExchangeRun run(
      options, nullptr,
      {.finished = [&](const FinishedExchange&) { ++reports; },
       .attemptFailed = [&](const auto&,
                            const auto&) { corvane::DispatchQueue::main().async([&current] { current->stop(); }); }});
  current = &run;

  run.run();

  EXPECT_EQ(reports, 0);
  EXPECT_EQ(server.requestCount(), 1);
}

}  // namespace
