#include "Platform/Detail/Locking.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace platform::detail {
namespace {

/// Tries from another thread, since the owner of a mutex must not.
bool isFree(Mutex& mutex) {
  bool found = false;
  std::thread([&] {
    if (!mutex.tryLock()) return;
    mutex.unlock();
    found = true;
  }).join();
  return found;
}

TEST(LockingTest, aLockHoldsTheMutexUntilItsEndOrItsUnlock) {
  Mutex mutex;
  {
    MutexLock lock(mutex);
    EXPECT_FALSE(isFree(mutex));
    lock.unlock();
    EXPECT_TRUE(isFree(mutex));
    lock.lock();
    EXPECT_FALSE(isFree(mutex));
  }
  EXPECT_TRUE(isFree(mutex));
}

TEST(LockingTest, anUnlockLetsGoForAScope) {
  Mutex mutex;
  const MutexLock lock(mutex);
  {
    const MutexUnlock unlocked(mutex);
    EXPECT_TRUE(isFree(mutex));
  }
  EXPECT_FALSE(isFree(mutex));
}

TEST(LockingTest, aWaitLetsGoOfTheMutexAndReturnsWithIt) {
  Mutex mutex;
  ConditionVariable changed;
  bool isDone = false;
  std::thread other;
  {
    const MutexLock lock(mutex);
    other = std::thread([&] {
      const MutexLock inner(mutex);
      isDone = true;
      changed.notifyAll();
    });

    changed.wait(mutex, [&] { return isDone; });

    EXPECT_TRUE(isDone);
    EXPECT_FALSE(isFree(mutex));
  }
  other.join();
  EXPECT_TRUE(isFree(mutex));
}

TEST(LockingTest, aWaitThatRunsOutSaysSoAndHoldsTheMutex) {
  Mutex mutex;
  ConditionVariable never;
  const MutexLock lock(mutex);

  const bool held = never.waitUntil(mutex, ConditionVariable::Point(), [] { return false; });

  EXPECT_FALSE(held);
  EXPECT_FALSE(isFree(mutex));
}

}  // namespace
}  // namespace platform::detail
