#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "SendFixture.hpp"
#include "TestSupport/HeldLookUps.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

TEST_F(SendTest, deliversOneCancellation) {
  Latch latch;
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  Expectation<DataResponse> completion;
  const Get request = get();
  request.send(queue, completion);
  server.takeRequest();

  Get(request).cancel();

  EXPECT_EQ(*responseError(completion.wait()), HTTPResponseError::taskCancelled());
  request.cancel();
  latch.open();
  server.enqueue(MockResponse(200));
  responseTo(get());
  EXPECT_EQ(completion.count(), 1);
}

TEST_F(SendTest, doesNotWaitForTheResolverWhenItIsCancelled) {
  const testkit::HeldLookUps lookUps;
  Expectation<DataResponse> completion;
  const Get request{.url = "http://" + std::string(testkit::HeldLookUps::name) + "/"};
  request.send(queue, completion);
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  request.cancel();

  EXPECT_EQ(*responseError(completion.wait()), HTTPResponseError::taskCancelled());
  EXPECT_EQ(lookUps.waiting(), 1);
  EXPECT_EQ(completion.count(), 1);
}

TEST_F(SendTest, doesNotWaitForTheResolverWhenSessionsAreReset) {
  const testkit::HeldLookUps lookUps;
  Expectation<DataResponse> completions;
  const DataGetRequest request("http://reset." + std::string(testkit::HeldLookUps::name) + "/");
  for (int i = 0; i < 5; ++i) request.send(queue, completions);
  const auto future = request.send();
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  Corvane::resetSessions();

  for (const DataResponse& response : completions.waitForAll(5))
    EXPECT_EQ(*responseError(response), HTTPResponseError::taskCancelled());
  ASSERT_TRUE(future.result().error());
  EXPECT_EQ(*future.result().error()->as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
  EXPECT_EQ(lookUps.waiting(), 1);
  EXPECT_EQ(completions.count(), 5);
}

TEST_F(SendTest, cancelsTheLaterOfTwoSendsOfOneRequest) {
  Latch latch;
  server.enqueue(MockResponse(200).text("first").hold(Moment::beforeStatusLine, latch));
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Expectation<DataResponse> first;
  Expectation<DataResponse> second;
  const Get request = get();
  request.send(queue, first);
  server.takeRequest();
  request.send(queue, second);
  server.takeRequest();

  request.cancel();

  EXPECT_EQ(*responseError(second.wait()), HTTPResponseError::taskCancelled());
  EXPECT_FALSE(first.isFulfilled());
  latch.open();
  EXPECT_EQ(first.wait().data->text(), "first");
}

TEST_F(SendTest, cancelsNothingThatWasNotSent) {
  const Get request = get();
  request.cancel();
  server.enqueue(MockResponse(200));

  EXPECT_EQ(responseTo(request).status, HTTPStatus::success);
}

/// Of one send that waits for its response.
template <class Request>
std::int64_t codeOf(const Request& request) {
  const auto result = request.send().result();
  return result.error() ? result.error()->code() : 0;
}

TEST_F(SendTest, repeatsASafeRequestOnceForAThreadThatWaits) {
  server.handle("/warm", [](const auto&) { return MockResponse(200); });
  const std::string bytes = testkit::generatedBytes(1 << 20);
  const DataPutRequest put(server.url("/put"), Data(bytes));

  ASSERT_EQ(codeOf(get("/warm")), 0);
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200));
  EXPECT_EQ(codeOf(put), 0);

  const auto received = server.requests();
  ASSERT_EQ(received.size(), 3u);
  EXPECT_EQ(received[1].connectionNumber, 1);
  EXPECT_EQ(received[1].body, bytes);
  EXPECT_EQ(received[2].connectionNumber, 2);
  EXPECT_EQ(received[2].body, bytes);
}

TEST_F(SendTest, repeatsNothingTwiceForAThreadThatWaits) {
  server.handle("/warm", [](const auto&) { return MockResponse(200); });
  ASSERT_EQ(codeOf(get("/warm")), 0);
  for (int i = 0; i < 3; ++i) server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));

  EXPECT_EQ(codeOf(get()), -1005);

  EXPECT_EQ(server.remainingResponses(), 1u);
}

TEST_F(SendTest, repeatsNoPostForAThreadThatWaits) {
  server.handle("/warm", [](const auto&) { return MockResponse(200); });
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(codeOf(get("/warm")), 0);
    server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
    EXPECT_EQ(codeOf(DataPostRequest(server.url("/post"), Data("x"))), -1005);
  }

  EXPECT_EQ(server.requestCount(), 6);
}

}  // namespace
}  // namespace corvane
