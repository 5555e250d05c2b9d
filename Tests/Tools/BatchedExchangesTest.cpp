#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "CommandLine.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "ExchangeRun.hpp"
#include "TestSupport/StandardRoutes.hpp"

namespace {

using corvane::testkit::installStandardRoutes;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ServerTest;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class BatchedExchangesTest : public ServerTest {
 protected:
  /// What came, in that order: "1: http://... 200".
  std::vector<std::string> exchanges(const CommandLine& line) {
    const ToolOptions options = ToolOptions::from(line);
    std::vector<std::string> finished;
    ExchangeRun(options, nullptr, {[&](const FinishedExchange& exchange) {
                  finished.push_back(std::to_string(exchange.number) + ": " + exchange.url.path() + " " +
                                     std::to_string(exchange.response.statusCode().value_or(0)));
                }})
        .run();
    return finished;
  }
};

TEST_F(BatchedExchangesTest, sendsSeveralURLsOneAfterTheOther) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(404));
  server.enqueue(MockResponse(201));

  const auto all = exchanges({.url = server.url("/a"), .furtherURLs = {server.url("/b"), server.url("/c")}});

  EXPECT_THAT(all, ElementsAre("1: /a 200", "2: /b 404", "3: /c 201"));
}

TEST_F(BatchedExchangesTest, repeatsTheList) {
  server.handleAll([](const auto&) { return MockResponse(200); });

  const auto all = exchanges({.url = server.url("/a"), .furtherURLs = {server.url("/b")}, .repeat = 2});

  EXPECT_THAT(all, ElementsAre("1: /a 200", "2: /b 200", "3: /a 200", "4: /b 200"));
}

TEST_F(BatchedExchangesTest, hasAtMostSoManyUnderWay) {
  const Latch latch;
  server.handleAll([&](const auto&) { return MockResponse(200).body("content").hold(Moment::insideBody, latch); });
  corvane::DispatchQueue::global().async([&] {
    EXPECT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 2; }));
    EXPECT_EQ(server.headCount(), 2);
    latch.open();
  });

  const auto all = exchanges(
      {.url = server.url("/a"), .furtherURLs = {server.url("/b"), server.url("/c"), server.url("/d")}, .parallel = 2});

  EXPECT_THAT(all, UnorderedElementsAre("1: /a 200", "2: /b 200", "3: /c 200", "4: /d 200"));
}

TEST_F(BatchedExchangesTest, sendsASingleURLAsOftenAsThereAreInParallel) {
  server.handleAll([](const auto&) { return MockResponse(200); });

  const auto all = exchanges({.url = server.url("/a"), .repeat = 2, .parallel = 3});

  EXPECT_EQ(all.size(), 6U);
  EXPECT_EQ(server.requestCount(), 6);
}

TEST_F(BatchedExchangesTest, attemptsEachOfThemAgain) {
  installStandardRoutes(server);

  const auto all = exchanges({.url = server.url("/flaky/1"),
                              .furtherURLs = {server.url("/status/404"), server.url("/flaky/2")},
                              .retry = "interval=0.01,limit=3,delta=0,transient",
                              .parallel = 3});

  EXPECT_THAT(all, UnorderedElementsAre("1: /flaky/1 200", "2: /status/404 404", "3: /flaky/2 200"));
}

}  // namespace
