#include "Corvane/Transport/Deadline.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "CallRequests.hpp"
#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "SendFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using platform::URLErrorKey::requestWasSent;
using platform::URLErrorKey::transportMessage;
using ::testing::Each;
using ::testing::SizeIs;
using ::testing::Truly;

constexpr platform::Seconds patience(10);

struct SilentGet : DataGetRequestable<SilentGet> {
  std::shared_ptr<Completion> kept = std::make_shared<Completion>();
  HTTPHeaders sharedHeaders() const { return {}; }
  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue>, Completion completion) const { *kept = std::move(completion); }
};

std::string textOf(const Error& error, const char* key) {
  const auto facts = error.userInfo();
  const auto* value = facts.find(key);
  return value && value->text() ? *value->text() : "no text";
}
bool isOverdue(const Error* error) {
  return error && error->as<CFNetworkErrors>() && error->code() == -1001 &&
         textOf(*error, transportMessage).starts_with("the deadline passed");
}
bool isOverdue(const DataResponse& response) { return isOverdue(response.result.error()); }
template <class Value>
bool isOverdue(const Future<Value>& future) {
  return future.wait(patience) && isOverdue(future.result().error());
}

/// By a clock that stands still.
class DeadlineTest : public SendTest {
 protected:
  void TearDown() override { latch.open(); }
  void holdResponse() { server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch)); }
  PlainGet plainGet() const { return {.url = server.url("/")}; }
  /// Lets so much time pass once somebody waits for it.
  void letPass(double seconds) {
    ASSERT_TRUE(clock.waitForTimers(1));
    clock.advance(seconds);
  }

  const Latch latch;
  platform::detail::ManualClock clock;
};

TEST_F(DeadlineTest, isMadeOfAnyTime) {
  using namespace std::chrono_literals;

  EXPECT_FALSE(Deadline());
  EXPECT_TRUE(Deadline(5));
  EXPECT_TRUE(Deadline(0.5));
  EXPECT_TRUE(Deadline(250ms));
  EXPECT_TRUE(Deadline(platform::Seconds(1)));
  EXPECT_TRUE(Deadline(std::chrono::steady_clock::now() + 1h));
  static_assert(!std::constructible_from<Deadline, std::chrono::system_clock::time_point>);
}

TEST_F(DeadlineTest, endsASendThatIsUnderWay) {
  holdResponse();
  const auto future = plainGet().send({.deadline = 5});
  server.takeRequest();

  letPass(5);

  ASSERT_TRUE(isOverdue(future));
  const Error error = *future.result().error();
  EXPECT_EQ(textOf(error, transportMessage),
            "the deadline passed: the call was not over after 5 seconds, with the request sent");
  EXPECT_TRUE(error.userInfo().find(requestWasSent)->boolean().value_or(false));
}

TEST_F(DeadlineTest, leavesASendAloneThatIsFaster) {
  server.enqueue(MockResponse(200).text("fast"));

  const auto future = plainGet().send({.deadline = 5});

  EXPECT_EQ(future.get().body.text(), "fast");
}

TEST_F(DeadlineTest, letsGoOfItsTimerWithTheSend) {
  server.enqueue(MockResponse(200));
  plainGet().send({.deadline = 3600}).get();

  DispatchQueue::global().sync([] {});
  for (int look = 0; look < 1000 && clock.pendingTimers() > 0; ++look) std::this_thread::yield();
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(DeadlineTest, takesAMomentOfTheSteadyClock) {
  const auto past = std::chrono::steady_clock::now() - std::chrono::seconds(1);

  const auto future = plainGet().send({.deadline = past});

  ASSERT_TRUE(isOverdue(future));
  EXPECT_EQ(textOf(*future.result().error(), transportMessage), "the deadline passed before the call was sent");
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(DeadlineTest, endsAtOnceWhenItIsNoTime) {
  EXPECT_TRUE(isOverdue(plainGet().send({.deadline = 0})));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(DeadlineTest, losesAgainstAStop) {
  holdResponse();
  std::stop_source stop;
  const auto future = plainGet().send({.stop = stop.get_token(), .deadline = 5});
  server.takeRequest();

  stop.request_stop();

  ASSERT_TRUE(future.wait(patience));
  EXPECT_EQ(future.result().error()->message(), HTTPResponseError::taskCancelled().message());
}

TEST_F(DeadlineTest, coversRedirects) {
  server.enqueue(MockResponse(302).header("Location", "/second"));
  holdResponse();
  const auto future = plainGet().send({.deadline = 5});
  server.takeRequest();
  server.takeRequest();

  letPass(5);

  EXPECT_TRUE(isOverdue(future));
}

TEST_F(DeadlineTest, endsADownload) {
  server.enqueue(MockResponse(200).generatedBody(1'000'000).hold(Moment::insideBody, latch));
  const auto future = PlainDownload{.url = server.url("/file")}.send({.deadline = 5});
  server.takeRequest();

  letPass(5);

  EXPECT_TRUE(isOverdue(future));
}

TEST_F(DeadlineTest, endsAMock) {
  const auto future = SlowMock().send({.deadline = 5});

  letPass(5);

  EXPECT_TRUE(isOverdue(future));
}

TEST_F(DeadlineTest, coversTheWaitsOfARetryingSend) {
  server.enqueue(MockResponse(500));
  const auto future = RetriedGet{.url = server.url("/")}.sendAttemptingRetry({.deadline = 5});
  ASSERT_TRUE(clock.waitForTimers(2));

  clock.advance(5);

  ASSERT_TRUE(future.wait(patience));
  EXPECT_TRUE(isOverdue(*future.get().lastResponse()));
  EXPECT_EQ(future.get().failCount(), 2);
}

TEST_F(DeadlineTest, coversTheAttemptsOfARetryingSend) {
  holdResponse();
  const auto future = RetriedGet{.url = server.url("/")}.sendAttemptingRetry({.deadline = 5});
  server.takeRequest();

  letPass(5);

  ASSERT_TRUE(future.wait(patience));
  EXPECT_TRUE(isOverdue(*future.get().lastResponse()));
  EXPECT_EQ(future.get().failCount(), 1);
}

TEST_F(DeadlineTest, coversABatch) {
  for (int count = 0; count < 2; ++count) holdResponse();
  const std::vector<PlainGet> requests(6, plainGet());
  const auto future = send(requests, {.deadline = 5}, HTTPBatchMode::parallel(2));
  server.takeRequest();
  server.takeRequest();

  letPass(5);

  ASSERT_TRUE(future.wait(patience));
  EXPECT_THAT(future.get(), SizeIs(6));
  EXPECT_THAT(future.get(), Each(Truly([](const DataResponse& response) { return isOverdue(response); })));
}

TEST_F(DeadlineTest, endsASendOfATypesOwn) {
  const SilentGet request;
  const auto future = request.send({.deadline = 5});

  letPass(5);

  EXPECT_TRUE(isOverdue(future));
  *request.kept = nullptr;
}

TEST_F(DeadlineTest, isThatOfTheOuterCallWhenThatComesFirst) {
  holdResponse();
  Expectation<DataResponse> completion;
  const PlainGet::Completion outer([](const DataResponse&) {}, detail::SendBounds::add(nullptr, {.deadline = 5}));
  SendOptions options = outer.options(queue);
  std::stop_source stop;
  options.stop = stop.get_token();
  plainGet().send(options, completion);
  server.takeRequest();

  letPass(5);

  EXPECT_TRUE(isOverdue(completion.wait()));
}

}  // namespace
}  // namespace corvane
