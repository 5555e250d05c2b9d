#include "Platform/Networking/Streams/ByteThrottle.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace platform::networking {
namespace {

using namespace std::chrono_literals;

class ByteThrottleTest : public testing::Test {
 protected:
  class Mover final : public ThrottledDirection {
   public:
    explicit Mover(ByteThrottle& throttle) : throttle_(throttle) {}
    ~Mover() override { throttle_.stopWaiting(*this); }

    /// Moves what it may of what is left.
    void move() {
      while (left > 0) {
        const std::size_t allowed = std::min(throttle_.allowance(*this), left);
        if (allowed == 0) return;
        throttle_.moved(allowed);
        left -= allowed;
        total += allowed;
      }
    }

    std::size_t left = 0;
    std::size_t total = 0;
    int calls = 0;

   private:
    void mayMove() override {
      ++calls;
      move();
    }

    ByteThrottle& throttle_;
  };

  void iterate() { loop.iterate(Duration::zero()); }
  void pass(Duration time) {
    clock.advance(time);
    iterate();
  }

  ManualNetworkClock clock;
  EventLoop loop;
  ByteThrottle throttle{loop, 1000};
  Mover one{throttle};
  Mover two{throttle};
};

TEST_F(ByteThrottleTest, movesABurstAndThenItsRate) {
  iterate();
  one.left = 10'000;
  one.move();
  EXPECT_EQ(one.total, 100U);
  EXPECT_TRUE(one.isWaiting());

  for (int count = 0; count < 100; ++count) pass(10ms);

  EXPECT_GE(one.total, 1000U);
  EXPECT_LE(one.total, 1100U);
}

TEST_F(ByteThrottleTest, callsNobodyBeforeItIsWorthIt) {
  iterate();
  one.left = 10'000;
  one.move();

  pass(50ms - 1ns);
  EXPECT_EQ(one.calls, 0);
  pass(1ns);
  EXPECT_EQ(one.calls, 1);
  EXPECT_FALSE(loop.hasDeferred());
}

TEST_F(ByteThrottleTest, dividesFairly) {
  iterate();
  one.left = two.left = 10'000;
  one.move();
  two.move();

  for (int count = 0; count < 400; ++count) pass(10ms);

  EXPECT_GE(one.total + two.total, 4000U);
  EXPECT_LE(one.total + two.total, 4100U);
  EXPECT_NEAR(static_cast<double>(one.total), static_cast<double>(two.total), 200);
}

TEST_F(ByteThrottleTest, waitsForWhatWasMovedWithoutAllowance) {
  iterate();
  throttle.moved(600);
  one.left = 1;
  one.move();
  EXPECT_EQ(one.total, 0U);

  pass(549ms);
  EXPECT_EQ(one.total, 0U);
  pass(1ms);
  EXPECT_EQ(one.total, 1U);
}

TEST_F(ByteThrottleTest, forgetsOneThatWaitsNoMore) {
  iterate();
  one.left = two.left = 1000;
  one.move();
  two.move();
  throttle.stopWaiting(one);

  pass(1s);

  EXPECT_EQ(one.calls, 0);
  EXPECT_GE(two.total, 100U);
}

}  // namespace
}  // namespace platform::networking
