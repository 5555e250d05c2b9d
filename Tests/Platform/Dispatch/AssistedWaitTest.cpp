#include "Platform/Dispatch/AssistedWait.hpp"

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

  bool drive(AssistedWait& wait, Seconds limit) override {
    // A worker that rests, left by what ran before in this process, would drive, too.
    if (wait.comesBack()) return false;
    ++drives;
    lastLimit = limit;
    begun.signal();
    if (onDrive) onDrive(wait);
    return wait.isDone();
  }
  void interrupt() override { interrupted.signal(); }

  int drives = 0;
  Seconds lastLimit;
  UniqueFunction<void(AssistedWait&)> onDrive;
  DispatchSemaphore begun{0};
  DispatchSemaphore interrupted{0};
};

TEST(AssistedWaitTest, returnsAtOnceWhenItWasSignalledBefore) {
  FakeDriver driver;
  AssistedWait wait;

  wait.signal();

  EXPECT_TRUE(wait.isDone());
  EXPECT_TRUE(wait.wait(0));
  EXPECT_EQ(driver.drives, 0);
}

TEST(AssistedWaitTest, sleepsUntilAnotherThreadSignals) {
  AssistedWait wait;
  std::jthread signaller([&] { wait.signal(); });

  EXPECT_TRUE(wait.wait(longEnough));
}

TEST(AssistedWaitTest, tellsWhenTheLimitPassedFirst) {
  AssistedWait wait;

  EXPECT_FALSE(wait.wait(0.01));
  EXPECT_FALSE(wait.isDone());
}

TEST(AssistedWaitTest, drivesUntilItIsDone) {
  FakeDriver driver;
  driver.onDrive = [](AssistedWait& wait) { wait.signal(); };
  AssistedWait wait;

  EXPECT_TRUE(wait.wait(longEnough));

  EXPECT_EQ(driver.drives, 1);
  EXPECT_GT(driver.lastLimit, Seconds(0));
  EXPECT_LE(driver.lastLimit, longEnough);
}

TEST(AssistedWaitTest, sleepsWhenTheDriverGivesUp) {
  FakeDriver driver;
  AssistedWait wait;
  std::jthread signaller([&] {
    EXPECT_TRUE(driver.begun.wait(longEnough));
    wait.signal();
  });

  EXPECT_TRUE(wait.wait(longEnough));

  EXPECT_EQ(driver.drives, 1);
}

TEST(AssistedWaitTest, interruptsTheDriverThatWorksForIt) {
  FakeDriver driver;
  driver.onDrive = [&](AssistedWait&) { EXPECT_TRUE(driver.interrupted.wait(longEnough)); };
  AssistedWait wait;
  std::jthread signaller([&] {
    EXPECT_TRUE(driver.begun.wait(longEnough));
    wait.signal();
  });

  EXPECT_TRUE(wait.wait(longEnough));
}

TEST(AssistedWaitTest, mayBeDestroyedAsSoonAsTheWaitIsOver) {
  const DispatchQueue queue("signalling");

  for (int round = 0; round < 2000; ++round) {
    auto wait = std::make_unique<AssistedWait>();
    queue.async([pointer = wait.get()] { pointer->signal(); });
    ASSERT_TRUE(wait->wait(longEnough));
    wait.reset();
  }
}

TEST(AssistedWaitTest, worksInsideABlockOfAQueue) {
  AssistedWait wait;
  const DispatchQueue queue("waiting");

  const bool done = queue.sync([&] {
    DispatchQueue::global().async([&] { wait.signal(); });
    return wait.wait(longEnough);
  });

  EXPECT_TRUE(done);
}

}  // namespace
}  // namespace platform
