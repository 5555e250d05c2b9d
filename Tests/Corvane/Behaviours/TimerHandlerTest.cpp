#include "Corvane/Behaviours/Detail/TimerHandler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane::detail {
namespace {

using ::testing::ElementsAre;
using State = TimerHandler::State;

class TimerHandlerTest : public ::testing::Test {
 protected:
  std::shared_ptr<TimerHandler> timer(double interval) {
    return TimerHandler::make(interval, [ticks = ticks](const TimerHandler& self) { ticks(&self); });
  }
  /// How many there were, once there are so many.
  std::size_t waitForTicks(std::size_t least) { return ticks.waitForAll(least).size(); }

  platform::detail::ManualClock clock;
  testkit::Expectation<const TimerHandler*> ticks;
};

TEST_F(TimerHandlerTest, runsFromItsMakingOn) {
  const auto handler = timer(5);

  EXPECT_EQ(handler->state(), State::resumed);
  EXPECT_EQ(clock.pendingTimers(), 1u);
  EXPECT_THAT(clock.waits(), ElementsAre(5));
}

TEST_F(TimerHandlerTest, tellsTheBlockWhoCallsAtEveryInterval) {
  const auto handler = timer(5);

  clock.advance(5);
  EXPECT_EQ(waitForTicks(1), 1u);
  clock.advance(5);
  EXPECT_EQ(waitForTicks(2), 2u);

  EXPECT_EQ(ticks.wait(), handler.get());
}

TEST_F(TimerHandlerTest, ticksOnAWorkerOfTheGlobalQueue) {
  testkit::Expectation<bool> isGlobal;
  const auto handler =
      TimerHandler::make(5, [=](const TimerHandler&) { isGlobal(platform::DispatchQueue::global().isCurrent()); });

  clock.advance(5);

  EXPECT_TRUE(isGlobal.wait());
}

TEST_F(TimerHandlerTest, doesNotTickWhileItIsSuspended) {
  const auto handler = timer(5);
  handler->suspend();

  clock.advance(100);

  EXPECT_EQ(handler->state(), State::suspended);
  EXPECT_EQ(clock.wakeUps(), 0u);
}

TEST_F(TimerHandlerTest, ticksOnceForAllThatCameDueMeanwhileAndKeepsTheBeat) {
  const auto handler = timer(5);
  handler->suspend();
  clock.advance(17);
  handler->resume();

  clock.advance(0);
  waitForTicks(1);
  clock.advance(2.999);
  const std::size_t wakeUpsBefore = clock.wakeUps();
  clock.advance(0.001);
  waitForTicks(2);

  EXPECT_EQ(wakeUpsBefore, 1u);
  EXPECT_EQ(ticks.count(), 2);
}

TEST_F(TimerHandlerTest, changesNothingWhenItIsResumedOrSuspendedAgain) {
  const auto handler = timer(5);

  handler->resume();
  handler->suspend();
  handler->suspend();
  const auto stateBefore = handler->state();
  handler->resume();

  EXPECT_EQ(stateBefore, State::suspended);
  EXPECT_EQ(handler->state(), State::resumed);
  EXPECT_EQ(clock.pendingTimers(), 1u);
}

TEST_F(TimerHandlerTest, endsWithItsLastHandleWhetherItRunsOrNot) {
  auto running = timer(5);
  auto suspended = timer(5);
  suspended->suspend();

  running = nullptr;
  suspended = nullptr;

  EXPECT_EQ(clock.pendingTimers(), 0u);
}

TEST_F(TimerHandlerTest, mayEndInItsOwnBlock) {
  std::shared_ptr<TimerHandler> handler;
  const testkit::Expectation<void> ended;
  // Goes with the block.
  const auto end = [ended](void*) { ended(); };
  handler = TimerHandler::make(
      5, [&handler, held = std::shared_ptr<void>(&handler, end)](const TimerHandler&) { handler = nullptr; });

  clock.advance(5);

  ended.wait();
  EXPECT_EQ(clock.pendingTimers(), 0u);
}

TEST_F(TimerHandlerTest, canBeSuspendedInItsOwnBlock) {
  std::shared_ptr<TimerHandler> handler;
  const testkit::Expectation<State> state;
  handler = TimerHandler::make(5, [&handler, state](const TimerHandler&) {
    handler->suspend();
    state(handler->state());
  });

  clock.advance(5);

  EXPECT_EQ(state.wait(), State::suspended);
  EXPECT_EQ(clock.pendingTimers(), 0u);
}

}  // namespace
}  // namespace corvane::detail
