#include "SessionTest.hpp"
#include "TestSupport/HeldLookUps.hpp"
#include "TestSupport/NetworkTime.hpp"

namespace platform {
namespace {

using corvane::testkit::HeldLookUps;

class ResolvingTest : public SessionTest {
 protected:
  /// For a name of this test alone: the look-up that another left behind may serve all that ask for the same name.
  URLRequest heldRequest(double timeout = 60) const {
    return {URL("http://" + heldName + ":1/"), URLRequestCachePolicy::useProtocolCachePolicy, timeout};
  }
  std::vector<std::unique_ptr<Load>> loadHeld(int count) {
    std::vector<std::unique_ptr<Load>> loads;
    for (int i = 0; i < count; ++i) {
      loads.push_back(std::make_unique<Load>(session, heldRequest()));
      loads.back()->resume();
    }
    return loads;
  }
  /// Nothing in this test was waiting for the resolver, if the resolver has not moved.
  void expectStillHeld(int count) { EXPECT_EQ(lookUps.waiting(), count); }

  HeldLookUps lookUps;
  const std::string heldName = [] {
    static int count = 0;
    return "test" + std::to_string(++count) + "." + HeldLookUps::name;
  }();
};

TEST_F(ResolvingTest, cancellingDoesNotWaitForTheResolver) {
  Load loading(session, heldRequest());
  loading.resume();
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  expectStillHeld(1);
  EXPECT_EQ(loading.completions(), 1);
}

TEST_F(ResolvingTest, aTimeOutDoesNotWaitForTheResolver) {
  corvane::testkit::NetworkTime time;
  Load loading(session, heldRequest());
  loading.resume();
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  time.pass(std::chrono::seconds(60));
  const Loaded loaded = loading.wait();

  EXPECT_EQ(loaded.code(), URLErrorCode::timedOut);
  EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), false);
  expectStillHeld(1);
  EXPECT_EQ(loading.completions(), 1);
}

TEST_F(ResolvingTest, invalidatingASessionDoesNotWaitForTheResolver) {
  const auto held = loadHeld(5);
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  session->invalidateAndCancel();

  for (const auto& loading : held) EXPECT_EQ(loading->wait().code(), URLErrorCode::cancelled);
  expectStillHeld(1);
}

TEST_F(ResolvingTest, aHundredOfThemHoldNobodyUp) {
  const auto held = loadHeld(100);
  // One look-up serves all that ask for the same name.
  ASSERT_TRUE(lookUps.waitForWaiting(1));
  server.handleAll([](const auto&) { return corvane::testkit::MockResponse(200).body("here"); });

  for (int i = 0; i < 20; ++i) EXPECT_EQ(load("/").body(), "here");

  for (const auto& loading : held) loading->cancel();
  for (const auto& loading : held) EXPECT_EQ(loading->wait().code(), URLErrorCode::cancelled);
  EXPECT_EQ(lookUps.waiting(), 1);
  for (const auto& loading : held) EXPECT_EQ(loading->completions(), 1);
}

TEST_F(ResolvingTest, whatTheResolverSaysLaterTouchesNobody) {
  const auto held = loadHeld(10);
  ASSERT_TRUE(lookUps.waitForWaiting(1));
  for (const auto& loading : held) loading->cancel();
  for (const auto& loading : held) EXPECT_EQ(loading->wait().code(), URLErrorCode::cancelled);
  lookUps.release();
  server.handleAll([](const auto&) { return corvane::testkit::MockResponse(200).body("here"); });

  for (int i = 0; i < 20; ++i) EXPECT_EQ(load("/").body(), "here");
}

TEST_F(ResolvingTest, namesAreServedTogetherAndInTurn) {
  server.handleAll([](const auto&) { return corvane::testkit::MockResponse(200).body("here"); });
  const URLRequest named(URL(server.url("/", HeldLookUps::localName)));

  for (int i = 0; i < 20; ++i) {
    // Sessions of their own, so that each looks the name up and connects.
    std::vector<std::unique_ptr<Load>> loads;
    for (int j = 0; j < 5; ++j) loads.push_back(std::make_unique<Load>(makeSession(), named));
    for (const auto& loading : loads) loading->resume();
    for (const auto& loading : loads) ASSERT_EQ(loading->wait().body(), "here");
  }
}

TEST_F(ResolvingTest, aNameThatDoesNotExistIsAnError) {
  const Loaded loaded = load(URLRequest(URL("http://" + std::string(HeldLookUps::missingName) + "/")));

  // A machine without a network cannot know.
  EXPECT_TRUE(loaded.code() == URLErrorCode::cannotFindHost || loaded.code() == URLErrorCode::notConnectedToInternet)
      << loaded.code();
}

}  // namespace
}  // namespace platform
