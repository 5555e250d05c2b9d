#include "Corvane/Transport/HTTPService.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <unordered_set>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using platform::DispatchMemoryPressureSource;
using platform::MemoryPressure;
using platform::URLSession;

struct Get : DataGetRequestable<Get> {
  std::optional<std::string> sessionConfigurationIdentifier;
  bool shouldWaitForConnectivity = false;
  URL url = "http://127.0.0.1:1/";
  HTTPHeaders sharedHeaders() const { return {}; }
};

std::shared_ptr<URLSession> sessionFor(const Get& request) { return HTTPService::shared().urlSession(request); }

class HTTPServiceTest : public testkit::ServerTest {
 protected:
  ~HTTPServiceTest() override { Corvane::resetSessions(); }

  Get get() const { return {.url = server.url("/")}; }
  // Sessions are forgotten on the service's queue; the next session comes from the same queue.
  static void waitUntilForgotten(const std::shared_ptr<URLSession>& session, const Get& request) {
    waitUntil([&] { return sessionFor(request) != session; });
  }
  static void waitUntil(const std::function<bool()>& holds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!holds()) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline);
      std::this_thread::yield();
    }
  }
};

TEST_F(HTTPServiceTest, sharesASessionAmongRequestsThatAgree) {
  EXPECT_EQ(sessionFor({}), sessionFor({}));
  EXPECT_EQ(sessionFor({.sessionConfigurationIdentifier = "a"}), sessionFor({.sessionConfigurationIdentifier = "a"}));
}

TEST_F(HTTPServiceTest, keepsASessionForEachKind) {
  const auto plain = sessionFor({});
  const auto named = sessionFor({.sessionConfigurationIdentifier = "a"});
  const auto waiting = sessionFor({.shouldWaitForConnectivity = true});
  const auto emptyName = sessionFor({.sessionConfigurationIdentifier = ""});

  EXPECT_NE(plain, named);
  EXPECT_NE(plain, waiting);
  EXPECT_NE(named, waiting);
  EXPECT_NE(plain, emptyName);
}

TEST_F(HTTPServiceTest, makesASessionAsTheRequestAsks) {
  const auto session = sessionFor({.sessionConfigurationIdentifier = "a", .shouldWaitForConnectivity = true});

  EXPECT_EQ(session->sessionDescription(), "a");
  EXPECT_TRUE(session->configuration().waitsForConnectivity);
  EXPECT_FALSE(sessionFor({})->sessionDescription());
  EXPECT_FALSE(sessionFor({})->configuration().waitsForConnectivity);
}

TEST_F(HTTPServiceTest, makesNewSessionsAfterAMemoryWarningAndLetsTheOldOnesFinish) {
  Latch latch;
  server.enqueue(MockResponse(200).text("late").hold(Moment::beforeStatusLine, latch));
  const auto session = sessionFor(get());
  const auto future = get().send();
  server.takeRequest();

  DispatchMemoryPressureSource::notify(MemoryPressure::warning);
  waitUntilForgotten(session, get());
  Expectation<std::int64_t> refused;
  session
      ->dataTask(URL(server.url("/after")),
                 [refused](auto, auto, std::optional<Error> error) { refused.fulfil(error ? error->code() : 0); })
      ->resume();
  EXPECT_EQ(refused.wait(), -999);
  latch.open();

  EXPECT_EQ(future.get().body.text(), "late");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(HTTPServiceTest, caresForNoOtherMemoryPressure) {
  const auto session = sessionFor({});

  DispatchMemoryPressureSource::notify(MemoryPressure::normal);
  DispatchMemoryPressureSource::notify(MemoryPressure::critical);

  // A warning after them is what makes it go, so both have been looked at by then.
  EXPECT_EQ(sessionFor({}), session);
  DispatchMemoryPressureSource::notify(MemoryPressure::warning);
  waitUntilForgotten(session, {});
}

TEST_F(HTTPServiceTest, cancelsRunningTasksOnResetAndForgetsTheSessions) {
  Latch latch;
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  const auto session = sessionFor(get());
  const auto future = get().send();
  server.takeRequest();

  Corvane::resetSessions();

  EXPECT_NE(sessionFor(get()), session);
  const auto result = future.result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
  latch.open();
}

TEST_F(HTTPServiceTest, forgetsASessionThatSomeoneElseInvalidated) {
  const auto session = sessionFor({});

  session->invalidateAndCancel();

  waitUntilForgotten(session, {});
}

TEST_F(HTTPServiceTest, keepsTheNewerSessionWhenAnOldOneBecomesInvalid) {
  Latch latch;
  server.enqueue(MockResponse(200).text("old").hold(Moment::beforeStatusLine, latch));
  auto oldSession = sessionFor(get());
  const auto future = get().send();
  server.takeRequest();
  DispatchMemoryPressureSource::notify(MemoryPressure::warning);
  waitUntilForgotten(oldSession, get());
  const auto newSession = sessionFor(get());
  const std::weak_ptr<URLSession> observed = std::exchange(oldSession, nullptr);

  latch.open();
  EXPECT_EQ(future.get().body.text(), "old");
  // Its delegate is told, and then it goes.
  waitUntil([&] { return observed.expired(); });

  EXPECT_EQ(sessionFor(get()), newSession);
}

TEST_F(HTTPServiceTest, cancelsNoRequestThatIsJustBeingSentWhenMemoryGetsShort) {
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  constexpr int count = 300;
  std::atomic<bool> isOver = false;
  std::thread warnings([&] {
    while (!isOver) DispatchMemoryPressureSource::notify(MemoryPressure::warning);
  });
  const DispatchQueue queue("HTTPServiceTest");
  Expectation<std::string> answered;

  for (int i = 0; i < count; ++i) {
    get().send(queue, [answered](const DataResponse& response) {
      answered.fulfil(response.result.error() ? response.result.error()->message() : "");
    });
  }

  for (const std::string& problem : answered.waitForAll(count, std::chrono::seconds(60))) EXPECT_EQ(problem, "");
  isOver = true;
  warnings.join();
}

TEST(SessionKeyTest, isHashable) {
  const std::unordered_set<SessionKey> keys{{"a", false}, {"a", true}, {std::nullopt, false}, {"a", false}};

  EXPECT_EQ(keys.size(), 3U);
  EXPECT_TRUE(keys.contains({"a", true}));
}

}  // namespace
}  // namespace corvane
