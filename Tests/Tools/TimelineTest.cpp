#include "Timeline.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "TimelineDrawing.hpp"
#include "TimingReport.hpp"

namespace {

using namespace std::chrono_literals;
using corvane::ConnectionMetrics;
using corvane::TaskMetrics;
using corvane::TransactionMetrics;
using testing::HasSubstr;
using testing::Not;

TransactionMetrics transaction(std::chrono::nanoseconds start) {
  return {.url = "http://host/p",
          .method = "GET",
          .statusCode = 200,
          .time = {start, start + 10ms},
          .connect = {{start, start + 4ms}},
          .request = {{start + 4ms, start + 4ms}},
          .response = {{start + 8ms, start + 10ms}},
          .connection = std::make_shared<const ConnectionMetrics>(
              ConnectionMetrics{.protocol = "http/1.1", .remoteAddress = {.host = "127.0.0.1", .port = 80}}),
          .bytes = {.requestHead = 100, .responseHead = 40, .responseBody = 60}};
}

std::shared_ptr<TaskMetrics> oneTransaction() {
  return std::make_shared<TaskMetrics>(TaskMetrics{.duration = 10ms, .transactions = {transaction(0ms)}});
}

std::string plain(const Timeline& timeline, int columns = 43) {
  return drawn(timeline, columns, BarStyle::plain, TerminalStyle(-1));
}

TEST(TimelineTest, drawsPhasesToScale) {
  EXPECT_EQ(plain(Timeline::of({oneTransaction()})),
            "GET http://host/p\n"
            "  200, http/1.1, new connection to 127.0...\n"
            "  connect     4.00 ms  ########\n"
            "  wait        4.00 ms          ########\n"
            "  response    2.00 ms                  ####\n"
            "total 10.0 ms, 100 bytes sent, 100 received\n");
}

TEST(TimelineTest, drawsNoBarsWhereThereIsNoRoom) {
  EXPECT_EQ(plain(Timeline::of({oneTransaction()}), 32),
            "GET http://host/p\n"
            "  200, http/1.1, new connecti...\n"
            "  connect     4.00 ms\n"
            "  wait        4.00 ms\n"
            "  response    2.00 ms\n"
            "total 10.0 ms, 100 bytes sent, 100 received\n");
  EXPECT_THAT(plain(Timeline::of({oneTransaction()}), 33), HasSubstr("  connect     4.00 ms  ####\n"));
}

TEST(TimelineTest, drawsEighthsOfAColumn) {
  auto metrics = oneTransaction();
  metrics->transactions[0].connect = {{0ms, 3300us}};

  EXPECT_THAT(drawn(Timeline::of({metrics}), 43, BarStyle::blocks, TerminalStyle(-1)),
              HasSubstr("  connect     3.30 ms  ██████▋\n"));
}

TEST(TimelineTest, showsWhatTookPlaceHoweverShort) {
  auto metrics = oneTransaction();
  metrics->transactions[0].response = {{9990us, 10ms}};

  EXPECT_THAT(plain(Timeline::of({metrics})), HasSubstr("  response    0.01 ms                     #\n"));
}

TEST(TimelineTest, leavesOutWhatTookNoTime) {
  EXPECT_THAT(plain(Timeline::of({oneTransaction()})), Not(HasSubstr("  request ")));
}

TEST(TimelineTest, tellsOfRedirectsAndReusedConnections) {
  auto metrics = oneTransaction();
  metrics->duration = 20ms;
  metrics->redirectCount = 1;
  TransactionMetrics second = transaction(10ms);
  second.isConnectionReused = true;
  second.connect.reset();
  metrics->transactions.push_back(second);

  const std::string text = plain(Timeline::of({metrics}), 80);

  EXPECT_THAT(text, HasSubstr("reused connection to 127.0.0.1:80\n"));
  EXPECT_THAT(text, HasSubstr("total 20.0 ms, 1 redirect, 200 bytes sent"));
}

TEST(TimelineTest, showsHowLongAttemptsAreApart) {
  auto first = oneTransaction();
  auto second = oneTransaction();
  second->start = first->start + 100ms;

  const Timeline timeline = Timeline::of({first, nullptr, second});

  EXPECT_EQ(timeline.duration, 110ms);
  EXPECT_THAT(timeline.summary, HasSubstr("110 ms, 2 attempts"));
  EXPECT_EQ(timeline.entries.at(1).phases.at(0).start, 100ms);
}

TEST(TimelineTest, ofNothingHasATotalOnly) { EXPECT_EQ(plain(Timeline::of({})).find("total 0.00 ms"), 0U); }

TEST(TimelineTest, writesDurationsWithThreeDigits) {
  EXPECT_EQ(readable(42us), "0.04 ms");
  EXPECT_EQ(readable(9'994us), "9.99 ms");
  EXPECT_EQ(readable(12'345us), "12.3 ms");
  EXPECT_EQ(readable(123'456us), "123 ms");
  EXPECT_EQ(readable(1'240ms), "1.24 s");
}

TEST(TimingReportTest, hasTheSameFigures) {
  FinishedExchange exchange{.number = 1,
                            .url = "http://host/p",
                            .response = ToolResponse({}, {}, nullptr, corvane::Error("none", 0, "")),
                            .seconds = 0};
  auto metrics = oneTransaction();
  metrics->transactions.push_back(transaction(10ms));
  metrics->transactions.back().connection = std::make_shared<const ConnectionMetrics>(
      ConnectionMetrics{.protocol = "http/1.1", .remoteAddress = {.host = "/run/\xFF", .port = 0}});
  exchange.response.metrics = metrics;

  const std::string report = timingReport(exchange);

  EXPECT_THAT(report, HasSubstr(R"("connect":{"start":0.000000,"end":0.004000})"));
  EXPECT_THAT(report, HasSubstr(R"("tls":null)"));
  EXPECT_THAT(report, HasSubstr(R"("remoteAddress":"127.0.0.1:80")"));
  EXPECT_THAT(report, HasSubstr(R"("responseBody":60)"));
  // A path may have any bytes.
  EXPECT_THAT(report, HasSubstr("\"remoteAddress\":\"/run/\xEF\xBF\xBD\""));
}

}  // namespace
