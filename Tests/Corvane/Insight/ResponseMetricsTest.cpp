#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Corvane/Corvane.hpp"
#include "Corvane/Insight/HTTPMetrics.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "CorvaneTesting/TestServer.hpp"

/// The metrics that responses and errors have.
namespace corvane {
namespace {

using testkit::MockResponse;
using testkit::Moment;
using testkit::TestServer;

class ResponseMetricsTest : public ::testing::Test {
 protected:
  ~ResponseMetricsTest() override { Corvane::resetSessions(); }

  TestServer server_;
};

TEST_F(ResponseMetricsTest, areInTheResponseOfEachKindOfRequest) {
  server_.enqueue(MockResponse(200).text("data"));
  server_.enqueue(MockResponse(200).json(R"("text")"));
  server_.enqueue(MockResponse(200).text("file"));

  const auto data = DataGetRequest(server_.url()).send().get().metrics;
  const auto json = JSONGetRequest<std::string>(server_.url()).send().get().metrics;
  const auto file = DownloadGetRequest<std::string>(server_.url()).send().get().metrics;

  ASSERT_TRUE(data && json && file);
  EXPECT_EQ(data->transactions.at(0).bytes.decodedBody, 4U);
  EXPECT_TRUE(json->transactions.at(0).isConnectionReused);
  EXPECT_EQ(file->transactions.at(0).bytes.responseBody, 4U);
}

TEST_F(ResponseMetricsTest, areInAStreamThatWasReadToItsEnd) {
  server_.enqueue(MockResponse(200).gzipBody("pieces"));

  std::shared_ptr<const TaskMetrics> metrics;
  testkit::Expectation<void> ended;
  StreamGetRequest(server_.url())
      .stream(
          DispatchQueue::global(), [](const Data&) {},
          [&](const auto& response) {
            metrics = response.metrics;
            ended.fulfil();
          });
  ended.wait();

  ASSERT_TRUE(metrics);
  EXPECT_GT(metrics->transactions.at(0).bytes.responseBody, 6U);
  EXPECT_FALSE(metrics->transactions.at(0).bytes.decodedBody);
}

TEST_F(ResponseMetricsTest, areInTheFailedResponseAndInItsError) {
  const auto response = DataGetRequest(testkit::refusedUrl()).send(wholeResponse).get();

  ASSERT_TRUE(response.metrics);
  EXPECT_EQ(response.result.error()->metrics(), response.metrics.get());
  EXPECT_TRUE(response.metrics->transactions.at(0).connect);
}

TEST_F(ResponseMetricsTest, areInTheErrorThatAFutureThrows) {
  server_.enqueue(MockResponse(404));

  try {
    DataGetRequest(server_.url()).send().get();
    FAIL() << "404 is no success";
  } catch (const Error& error) {
    ASSERT_TRUE(error.metrics());
    EXPECT_EQ(error.metrics()->transactions.at(0).statusCode, 404);
  }
}

TEST_F(ResponseMetricsTest, areInTheErrorOfACancelledRequest) {
  server_.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  auto future = DataGetRequest(server_.url()).send();
  ASSERT_TRUE(server_.waitForStall());

  future.cancel();

  const auto result = future.result();
  ASSERT_TRUE(result.error() && result.error()->metrics());
  EXPECT_TRUE(result.error()->metrics()->transactions.at(0).request);
}

}  // namespace
}  // namespace corvane
