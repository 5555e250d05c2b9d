#include "Platform/Networking/Loop/LoopOwnership.hpp"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <future>
#include <thread>
#include <vector>

#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;
using Successor = LoopOwnership::Successor;

class LoopOwnershipTest : public testing::Test {
 protected:
  LoopOwnershipTest() : idleEvents(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~LoopOwnershipTest() override { ::close(idleEvents); }

  /// Parks a thread as the network thread does.
  std::future<void> park() {
    return std::async(std::launch::async, [this] { ownership.park(idleEvents); });
  }
  /// From a thread of its own, which is not expected to drive.
  void postFromElsewhere() {
    std::thread([this] { ownership.post([] {}); }).join();
  }
  void postAsALeader() {
    std::thread([this] {
      LoopOwnership::noteThatThisThreadLeads(true);
      ownership.post([] {});
    }).join();
  }
  bool takesCommands() {
    std::vector<Block> commands;
    return ownership.takeCommands(commands);
  }

  const int idleEvents;
  LoopOwnership ownership;
};

TEST_F(LoopOwnershipTest, hasOneOwnerAtATime) {
  EXPECT_TRUE(ownership.tryAcquire());
  EXPECT_FALSE(ownership.tryAcquire());

  ownership.release(false, Successor::leader);

  EXPECT_TRUE(ownership.tryAcquire());
}

TEST_F(LoopOwnershipTest, keepsTheOrderOfCommands) {
  std::vector<int> order;
  for (int i = 0; i < 3; ++i) ownership.post([&order, i] { order.push_back(i); });

  std::vector<Block> commands;
  EXPECT_TRUE(ownership.hasCommands());
  EXPECT_TRUE(ownership.takeCommands(commands));
  for (Block& command : commands) command();

  EXPECT_EQ(order, (std::vector{0, 1, 2}));
  EXPECT_FALSE(ownership.hasCommands());
}

TEST_F(LoopOwnershipTest, letsNobodySleepWhileCommandsWait) {
  ASSERT_TRUE(ownership.tryAcquire());
  postFromElsewhere();

  EXPECT_FALSE(ownership.beginSleep());
  EXPECT_TRUE(takesCommands());
  EXPECT_TRUE(ownership.beginSleep());
}

/// The owner may have looked at its wait just before.
TEST_F(LoopOwnershipTest, letsNobodySleepOnceAfterAnInterrupt) {
  ASSERT_TRUE(ownership.tryAcquire());
  ownership.interrupt();

  EXPECT_FALSE(ownership.beginSleep());
  EXPECT_TRUE(ownership.beginSleep());
}

TEST_F(LoopOwnershipTest, callsTheNetworkThreadForACommand) {
  auto parked = park();

  postFromElsewhere();

  parked.get();
  EXPECT_TRUE(ownership.tryAcquire());
}

TEST_F(LoopOwnershipTest, callsTheNetworkThreadForWorkThatIsLeftToIt) {
  ASSERT_TRUE(ownership.tryAcquire());
  auto parked = park();

  ownership.release(true, Successor::networkThread);

  parked.get();
}

TEST_F(LoopOwnershipTest, wakesTheNetworkThreadForEventsWhileNothingIsUnderWay) {
  auto parked = park();

  const std::uint64_t one = 1;
  ASSERT_EQ(::write(idleEvents, &one, sizeof one), static_cast<ssize_t>(sizeof one));

  parked.get();
}

TEST_F(LoopOwnershipTest, bringsTheNetworkThreadInWhenALeaderDoesNotComeBack) {
  ASSERT_TRUE(ownership.tryAcquire());
  ownership.release(true, Successor::leader);

  park().get();

  EXPECT_TRUE(ownership.tryAcquire());
}

TEST_F(LoopOwnershipTest, bringsTheNetworkThreadInForACommandOfALeaderThatDoesNotCome) {
  auto parked = park();

  postAsALeader();

  parked.get();
  EXPECT_TRUE(takesCommands());
}

TEST_F(LoopOwnershipTest, leavesNothingToLeadersForAWhileAfterOneWasLate) {
  ManualNetworkClock clock;
  ASSERT_TRUE(ownership.offersTheLoop());
  postAsALeader();
  park().get();
  ASSERT_TRUE(ownership.tryAcquire());

  EXPECT_FALSE(ownership.offersTheLoop());
  clock.advance(99ms);
  EXPECT_FALSE(ownership.offersTheLoop());
  clock.advance(1ms);

  EXPECT_TRUE(ownership.offersTheLoop());
}

TEST_F(LoopOwnershipTest, stopsWhenItsOwnerHasLeft) {
  ASSERT_TRUE(ownership.tryAcquire());
  auto stopping = std::async(std::launch::async, [this] { ownership.stop(); });
  while (!ownership.isStopped()) std::this_thread::yield();

  EXPECT_FALSE(ownership.beginSleep());
  ownership.release(true, Successor::leader);

  stopping.get();
  EXPECT_FALSE(ownership.tryAcquire());
}

}  // namespace
}  // namespace platform::networking
