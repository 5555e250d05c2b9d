#include "Platform/Dispatch/DelayedBlock.hpp"

#include <gtest/gtest.h>

#include <memory>

#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace platform {
namespace {

class DelayedBlockTest : public ::testing::Test {
 protected:
  detail::ManualClock clock;
  const DispatchQueue queue{"DelayedBlockTest"};
  int calls = 0;

  int callsSoFar() const {
    return queue.sync([this] { return calls; });
  }
};

TEST_F(DelayedBlockTest, isSubmittedAfterItsDelay) {
  const DelayedBlock delayed(queue, 2, [this] { ++calls; });

  clock.advance(1.9);
  EXPECT_EQ(callsSoFar(), 0);
  clock.advance(0.1);

  EXPECT_EQ(callsSoFar(), 1);
}

TEST_F(DelayedBlockTest, isSubmittedAtOnceWithoutADelay) {
  const DelayedBlock now(queue, 0, [this] { ++calls; }), before(queue, -1, [this] { ++calls; });

  EXPECT_EQ(callsSoFar(), 2);
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(DelayedBlockTest, isSubmittedAlthoughItsHandleIsGone) {
  {
    const DelayedBlock delayed(queue, 2, [this] { ++calls; });
  }

  clock.advance(2);

  EXPECT_EQ(callsSoFar(), 1);
}

TEST_F(DelayedBlockTest, isDroppedWhenItIsWithdrawn) {
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> held = token;
  DelayedBlock delayed(queue, 2, [this, token = std::move(token)] { ++calls; });

  delayed.withdraw();

  EXPECT_TRUE(held.expired());
  EXPECT_EQ(clock.pendingTimers(), 0U);
  clock.advance(3);
  EXPECT_EQ(callsSoFar(), 0);
}

TEST_F(DelayedBlockTest, isWithdrawnInVainAfterwards) {
  DelayedBlock delayed(queue, 2, [this] { ++calls; }), none;
  clock.advance(2);

  delayed.withdraw();
  delayed.withdraw();
  none.withdraw();

  EXPECT_EQ(callsSoFar(), 1);
}

}  // namespace
}  // namespace platform
