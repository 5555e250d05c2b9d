#include <dlfcn.h>
#include <netdb.h>

#include <string_view>

#include "SessionTest.hpp"
#include "TestSupport/Gate.hpp"

// This test program's own look-up of names: one name waits until the test lets go, all others are looked up as ever.

namespace {

constexpr std::string_view heldName = "held.test";

struct HeldLookUps {
  std::mutex mutex;
  std::condition_variable changed;
  int waiting = 0;
  bool isOpen = false;

  static HeldLookUps& shared() {
    static HeldLookUps& held = *new HeldLookUps;
    return held;
  }
  void wait() {
    std::unique_lock lock(mutex);
    ++waiting;
    changed.notify_all();
    changed.wait(lock, [&] { return isOpen; });
    --waiting;
    changed.notify_all();
  }
  bool waitForWaiting(int count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(20), [&] { return waiting >= count; });
  }
  bool release() {
    std::unique_lock lock(mutex);
    isOpen = true;
    changed.notify_all();
    const bool areGone = changed.wait_for(lock, std::chrono::seconds(20), [&] { return waiting == 0; });
    isOpen = false;
    return areGone;
  }
};

}  // namespace

extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
  using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
  if (!node || node != heldName) return next(node, service, hints, result);
  HeldLookUps::shared().wait();
  return EAI_NONAME;
}

namespace platform {
namespace {

class ResolvingTest : public SessionTest {
 protected:
  ~ResolvingTest() override { EXPECT_TRUE(HeldLookUps::shared().release()) << "a look-up did not come back"; }

  static URLRequest heldRequest(double timeout = 60) {
    return {URL("http://held.test:1/"), URLRequestCachePolicy::useProtocolCachePolicy, timeout};
  }
};

TEST_F(ResolvingTest, cancellingDoesNotWaitForTheResolver) {
  Load loading(session, heldRequest());
  loading.resume();
  ASSERT_TRUE(HeldLookUps::shared().waitForWaiting(1));

  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  EXPECT_EQ(HeldLookUps::shared().waiting, 1) << "the resolver still waits";
}

TEST_F(ResolvingTest, aTimeOutDoesNotWaitForTheResolver) {
  EXPECT_EQ(load(heldRequest(0.2)).code(), URLErrorCode::timedOut);
}

TEST_F(ResolvingTest, invalidatingASessionDoesNotWaitForTheResolver) {
  Load loading(session, heldRequest());
  loading.resume();
  ASSERT_TRUE(HeldLookUps::shared().waitForWaiting(1));

  session->invalidateAndCancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
}

TEST_F(ResolvingTest, othersAreServedMeanwhile) {
  std::vector<std::unique_ptr<Load>> held;
  for (int i = 0; i < 20; ++i) {
    held.push_back(std::make_unique<Load>(session, heldRequest()));
    held.back()->resume();
  }
  ASSERT_TRUE(HeldLookUps::shared().waitForWaiting(20));
  server.handleAll([](const auto&) { return corvane::testing::Answer(200).body("here"); });

  EXPECT_EQ(load("/").body(), "here");

  for (const auto& loading : held) loading->cancel();
  for (const auto& loading : held) EXPECT_EQ(loading->wait().code(), URLErrorCode::cancelled);
  for (const auto& loading : held) EXPECT_EQ(loading->completions(), 1);
}

}  // namespace
}  // namespace platform
