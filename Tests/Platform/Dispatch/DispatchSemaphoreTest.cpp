#include "Platform/Dispatch/DispatchSemaphore.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace platform {
namespace {

TEST(DispatchSemaphoreTest, letsAsManyPassAsItsValueSays) {
  const DispatchSemaphore semaphore(2);

  EXPECT_TRUE(semaphore.wait(0));
  EXPECT_TRUE(semaphore.wait(0));
  EXPECT_FALSE(semaphore.wait(0.01));
  semaphore.signal();
  EXPECT_TRUE(semaphore.wait(0));
}

TEST(DispatchSemaphoreTest, wakesOneWaiterForEachSignal) {
  constexpr int count = 200;
  const DispatchSemaphore requests(0);
  const DispatchSemaphore responses(0);

  std::jthread server([=] {
    for (int number = 0; number < count; ++number) {
      requests.wait();
      responses.signal();
    }
  });

  for (int number = 0; number < count; ++number) {
    requests.signal();
    ASSERT_TRUE(responses.wait(20));
  }
}

TEST(DispatchSemaphoreDeathTest, trapsOnANegativeValue) {
  EXPECT_DEATH(DispatchSemaphore(-1), "cannot start with a negative value");
}

}  // namespace
}  // namespace platform
