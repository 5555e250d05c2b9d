#include <atomic>
#include <memory>
#include <vector>

#include "CorvaneTesting/ServerTest.hpp"
#include "MockNetworkFixture.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

/// Failures, delays, and the end of a `MockNetwork`.
namespace corvane::testkit {
namespace {

using platform::URLErrorCode::cannotConnectToHost;
using platform::URLErrorCode::cannotFindHost;
using platform::URLErrorCode::networkConnectionLost;
using platform::URLErrorCode::timedOut;

Error errorOf(const auto& result) { return result.error() ? *result.error() : Error("no error", 0, "no error"); }

class MockNetworkFailureTest : public MockNetworkTest {
 protected:
  Error sentWith(NetworkResponse response) {
    network.onAll().respond(std::move(response));
    return errorOf(DataGetRequest("https://a.example/").send().result());
  }
};

TEST_F(MockNetworkFailureTest, isAnErrorAsItIs) {
  const Error error = sentWith(NetworkResponse::error(Error("org.example", 42, "made up")));

  EXPECT_EQ(error.domain(), "org.example");
  EXPECT_EQ(error.code(), 42);
}

TEST_F(MockNetworkFailureTest, isALostConnection) {
  const Error error = sentWith(NetworkResponse::connectionLost());

  EXPECT_EQ(*error.as<CFNetworkErrors>(), CFNetworkErrors(networkConnectionLost));
}

TEST_F(MockNetworkFailureTest, isAConnectionThatCannotBeMade) {
  EXPECT_EQ(*sentWith(NetworkResponse::cannotConnect()).as<CFNetworkErrors>(), CFNetworkErrors(cannotConnectToHost));
  EXPECT_EQ(*sentWith(NetworkResponse::hostNotFound()).as<CFNetworkErrors>(), CFNetworkErrors(cannotFindHost));
}

TEST_F(MockNetworkFailureTest, isATimeout) {
  EXPECT_EQ(*sentWith(NetworkResponse::timeout()).as<CFNetworkErrors>(), CFNetworkErrors(timedOut));
}

TEST_F(MockNetworkFailureTest, breaksInsideTheBody) {
  const Error error = sentWith(NetworkResponse().text("half of it").breakAfter(4));

  EXPECT_EQ(*error.as<CFNetworkErrors>(), CFNetworkErrors(networkConnectionLost));
  ASSERT_TRUE(error.response());
  EXPECT_EQ(error.response()->body()->text(), "half");
}

TEST_F(MockNetworkFailureTest, waitsByTheClockOfTheTest) {
  ManualTime time;
  network.onAll().respond(NetworkResponse().json(ada).delay(30));

  const auto future = GetMockedUser().send();
  ASSERT_TRUE(time.waitForTimers(1));
  EXPECT_FALSE(future.isCompleted());
  time.advanceToNextTimer();

  EXPECT_EQ(future.get().body.name, "Ada");
  EXPECT_EQ(time.waits(), std::vector<platform::Seconds>{30});
}

TEST_F(MockNetworkFailureTest, delaysFailuresToo) {
  ManualTime time;
  network.onAll().respond(NetworkResponse::cannotConnect().delay(5));

  const auto future = GetMockedUser().send();
  ASSERT_TRUE(time.waitForTimers(1));
  time.advance(5);

  EXPECT_EQ(*errorOf(future.result()).as<CFNetworkErrors>(), CFNetworkErrors(cannotConnectToHost));
}

TEST_F(MockNetworkFailureTest, isAConnectionThatIsNotMadeInTime) {
  for (const NetworkResponse& failure : {NetworkResponse::cannotConnect(), NetworkResponse::hostNotFound()}) {
    ManualTime time;
    network.onAll().respond(NetworkResponse(failure).delay(platform::Seconds::unlimited()));

    const auto future = GetMockedUser{.timeoutInterval = 5}.send();
    ASSERT_TRUE(time.waitForTimers(1));
    EXPECT_EQ(time.waits(), std::vector<platform::Seconds>{5});
    time.advanceToNextTimer();

    const Error error = errorOf(future.result());
    EXPECT_EQ(*error.as<CFNetworkErrors>(), CFNetworkErrors(timedOut));
    const auto userInfo = error.userInfo();
    ASSERT_TRUE(userInfo.contains(platform::URLErrorKey::requestWasSent));
    EXPECT_EQ(userInfo.find(platform::URLErrorKey::requestWasSent)->boolean(), false);
  }
}

TEST_F(MockNetworkFailureTest, isCutShortByTheTimeoutOfTheRequest) {
  network.onAll().respond(NetworkResponse().delay(platform::Seconds::unlimited()));

  const auto result = GetMockedUser{.timeoutInterval = 0.05}.send().result();

  EXPECT_EQ(*errorOf(result).as<CFNetworkErrors>(), CFNetworkErrors(timedOut));
}

TEST_F(MockNetworkFailureTest, isCancelledWhileTheResponseIsDue) {
  network.onAll().respond(NetworkResponse().delay(platform::Seconds::unlimited()));
  const GetMockedUser request;
  const auto future = request.send();
  ASSERT_TRUE(network.waitForRequests(1));

  request.cancel();

  EXPECT_EQ(*errorOf(future.result()).as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
}

TEST(MockNetworkEndTest, failsWhatIsStillDue) {
  const ForbiddenNetwork forbidden;
  const Expectation<JSONResponse<MockedUser>> finished;
  const DispatchQueue queue("test");
  {
    MockNetwork network;
    network.onAll().respond(NetworkResponse().delay(platform::Seconds::unlimited()));
    GetMockedUser().send({.queue = queue}, finished);
    ASSERT_TRUE(network.waitForRequests(1));
  }

  const auto response = finished.wait();
  queue.sync([] {});
  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(),
            "the MockNetwork ended before it responded to GET https://users.example.com/users/7");
  EXPECT_EQ(finished.count(), 1);
}

TEST(MockNetworkEndTest, leavesEachSendOneOutcomeWhereverItIs) {
  const ForbiddenNetwork forbidden;
  for (int round = 0; round < 20; ++round) {
    const Expectation<JSONResponse<MockedUser>> finished;
    const DispatchQueue queue("test");
    {
      MockNetwork network;
      network.on("/users/7").respond(NetworkResponse().json("{}").delay(0.0005));
      for (int i = 0; i < 10; ++i) GetMockedUser().send({.queue = queue}, finished);
      if (round % 2 != 0) {
        ASSERT_TRUE(network.waitForRequests(3));
      }
    }
    for (const auto& response : finished.waitForAll(10)) EXPECT_TRUE(response.result.error());
    queue.sync([] {});
    EXPECT_EQ(finished.count(), 10);
  }
}

TEST(MockNetworkEndTest, callsNoFunctionOfTheTestAfterwards) {
  const ForbiddenNetwork forbidden;
  const DispatchQueue queue("test");
  const Expectation<DataResponse> finished;
  std::atomic<int> calls = 0;
  {
    MockNetwork network;
    network.onAll().respond([&calls](const SentRequest&) {
      ++calls;
      return NetworkResponse();
    });
    for (int i = 0; i < 10; ++i) DataGetRequest("https://a.example/").send({.queue = queue}, finished);
    ASSERT_TRUE(network.waitForRequests(1));
  }
  const int callsAtTheEnd = calls;

  finished.waitForAll(10);
  EXPECT_TRUE(DataGetRequest("https://a.example/").send().result().error());
  EXPECT_EQ(calls, callsAtTheEnd);
}

/// Without a `ForbiddenNetwork`.
class MockNetworkBesideAServerTest : public ServerTest {};

TEST_F(MockNetworkBesideAServerTest, letsNothingOutThatIsAskedForAfterItsEnd) {
  auto ended = std::make_unique<MockNetwork>();
  ended->onAll().respond(NetworkResponse());
  MockNetwork newer;  // is asked first, and holds the request until the older one has ended
  const Expectation<void> asked;
  const platform::DispatchSemaphore goOn(0);
  newer
      .on([=](const SentRequest&) {
        asked();
        goOn.wait();
        return false;
      })
      .respond(NetworkResponse());
  const auto future = DataGetRequest(server.url("/")).send();
  asked.wait();

  ended.reset();
  goOn.signal();

  EXPECT_EQ(errorOf(future.result()).message(), "the MockNetwork ended before it responded to GET " + server.url("/"));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST(MockNetworkEndTest, mayComeInsideOfAHandler) {
  const ForbiddenNetwork forbidden;
  auto network = std::make_unique<MockNetwork>();
  network->onAll().respond([&](const SentRequest&) {
    network.reset();
    return NetworkResponse().text("the last");
  });

  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "the last");
}

}  // namespace
}  // namespace corvane::testkit
