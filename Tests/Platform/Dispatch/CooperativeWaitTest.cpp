#include "Platform/Dispatch/CooperativeWait.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {
namespace {

constexpr Seconds longEnough = 20;

/// Does one thing when it is driven, and remembers what happened.
class FakeDriver final : public Driver {
 public:
  FakeDriver() { shared = this; }
  ~FakeDriver() override { shared = nullptr; }

  bool drive(CooperativeWait& wait, Seconds limit) override {
    // A worker that rests, left by what ran before in this process, would drive, too.
    if (wait.willWaitAgain()) return false;
    ++drives;
    lastLimit = limit;
    begun.signal();
    if (onDrive) onDrive(wait);
    return wait.isDone();
  }
  void interrupt() override { interrupted.signal(); }

  int drives = 0;
  Seconds lastLimit;
  UniqueFunction<void(CooperativeWait&)> onDrive;
  DispatchSemaphore begun{0};
  DispatchSemaphore interrupted{0};
};

TEST(CooperativeWaitTest, returnsAtOnceWhenItWasSignalledBefore) {
  FakeDriver driver;
  CooperativeWait wait;

  wait.signal();

  EXPECT_TRUE(wait.isDone());
  EXPECT_TRUE(wait.wait(0));
  EXPECT_EQ(driver.drives, 0);
}

TEST(CooperativeWaitTest, sleepsUntilAnotherThreadSignals) {
  CooperativeWait wait;
  std::jthread signaller([&] { wait.signal(); });

  EXPECT_TRUE(wait.wait(longEnough));
}

TEST(CooperativeWaitTest, tellsWhenTheLimitPassedFirst) {
  CooperativeWait wait;

  EXPECT_FALSE(wait.wait(0.01));
  EXPECT_FALSE(wait.isDone());
}

TEST(CooperativeWaitTest, drivesUntilItIsDone) {
  FakeDriver driver;
  driver.onDrive = [](CooperativeWait& wait) { wait.signal(); };
  CooperativeWait wait;

  EXPECT_TRUE(wait.wait(longEnough));

  EXPECT_EQ(driver.drives, 1);
  EXPECT_GT(driver.lastLimit, Seconds(0));
  EXPECT_LE(driver.lastLimit, longEnough);
}

TEST(CooperativeWaitTest, sleepsWhenTheDriverGivesUp) {
  FakeDriver driver;
  CooperativeWait wait;
  std::jthread signaller([&] {
    EXPECT_TRUE(driver.begun.wait(longEnough));
    wait.signal();
  });

  EXPECT_TRUE(wait.wait(longEnough));

  EXPECT_EQ(driver.drives, 1);
}

TEST(CooperativeWaitTest, interruptsTheDriverThatWorksForIt) {
  FakeDriver driver;
  driver.onDrive = [&](CooperativeWait&) { EXPECT_TRUE(driver.interrupted.wait(longEnough)); };
  CooperativeWait wait;
  std::jthread signaller([&] {
    EXPECT_TRUE(driver.begun.wait(longEnough));
    wait.signal();
  });

  EXPECT_TRUE(wait.wait(longEnough));
}

TEST(CooperativeWaitTest, mayBeDestroyedAsSoonAsTheWaitIsOver) {
  const DispatchQueue queue("signalling");

  for (int round = 0; round < 2000; ++round) {
    auto wait = std::make_unique<CooperativeWait>();
    queue.async([pointer = wait.get()] { pointer->signal(); });
    ASSERT_TRUE(wait->wait(longEnough));
    wait.reset();
  }
}

TEST(CooperativeWaitTest, worksInsideABlockOfAQueue) {
  CooperativeWait wait;
  const DispatchQueue queue("waiting");

  const bool done = queue.sync([&] {
    DispatchQueue::global().async([&] { wait.signal(); });
    return wait.wait(longEnough);
  });

  EXPECT_TRUE(done);
}

}  // namespace
}  // namespace platform
