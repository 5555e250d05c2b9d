#include "Platform/Networking/Loop/EventLoop.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// A connected pair of sockets.
class Pair {
 public:
  Pair() {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends_.data()) != 0) std::abort();
  }
  ~Pair() {
    closeOurs();
    closeTheirs();
  }
  int ours() const { return ends_[0]; }
  int theirs() const { return ends_[1]; }
  void closeOurs() { close(ends_[0]); }
  void closeTheirs() { close(ends_[1]); }

 private:
  static void close(int& end) {
    if (end >= 0) ::close(std::exchange(end, -1));
  }
  std::array<int, 2> ends_{};
};

class Recorder final : public Watcher {
 public:
  void descriptorReady(Readiness readiness) override {
    seen.push_back(readiness);
    if (then) then();
  }
  std::vector<Readiness> seen;
  std::function<void()> then;
};

class Again final : public Deferred {
 public:
  void runDeferred() override {
    ++calls;
    if (then) then();
  }
  int calls = 0;
  std::function<void()> then;
};

class Alarm final : public Timer {
 public:
  void timerFired() override { ++fired; }
  int fired = 0;
};

void write(int descriptor) { ASSERT_EQ(::write(descriptor, "x", 1), 1); }

TEST(EventLoopTest, runsCommandsOfOtherThreadsInTheirOrder) {
  EventLoop loop;
  std::vector<int> order;
  std::thread([&] {
    for (int i = 0; i < 3; ++i) loop.post([&order, i] { order.push_back(i); });
  }).join();

  loop.iterate(0s);

  EXPECT_THAT(order, ElementsAre(0, 1, 2));
}

TEST(EventLoopTest, isWokenByACommandWhileItWaits) {
  EventLoop loop;
  bool ran = false;
  std::thread other([&] { loop.post([&] { ran = true; }); });

  while (!ran) loop.iterate(60s);

  other.join();
}

TEST(EventLoopTest, tellsOfEachNewByteOnce) {
  EventLoop loop;
  Pair pair;
  Recorder recorder;
  ASSERT_EQ(loop.watch(pair.ours(), recorder), 0);
  loop.iterate(0s);
  recorder.seen.clear();

  write(pair.theirs());
  loop.iterate(0s);
  loop.iterate(0s);

  ASSERT_EQ(recorder.seen.size(), 1U);
  EXPECT_TRUE(recorder.seen[0].readable);
  EXPECT_FALSE(recorder.seen[0].hungUp);
  loop.unwatch(pair.ours());
}

TEST(EventLoopTest, knowsWhatItIsAboutToTellOfInTheSameIteration) {
  EventLoop loop;
  Pair first;
  Pair second;
  Recorder recorder;
  Recorder other;
  ASSERT_EQ(loop.watch(first.ours(), recorder), 0);
  ASSERT_EQ(loop.watch(second.ours(), other), 0);
  loop.iterate(0s);
  std::vector<bool> known;
  const auto note = [&] {
    known.push_back(loop.isAboutToTell(first.ours()));
    known.push_back(loop.isAboutToTell(second.ours()));
  };
  recorder.then = note;
  other.then = note;

  write(first.theirs());
  write(second.theirs());
  EXPECT_FALSE(loop.isAboutToTell(first.ours()));
  loop.iterate(0s);

  EXPECT_THAT(known, ElementsAre(false, true, false, false));
  loop.unwatch(first.ours());
  loop.unwatch(second.ours());
}

/// What an iteration calls first: a command that waits, or the watcher of bytes that have arrived.
std::vector<std::string> orderOf(EventOrder order, bool isEnd) {
  EventLoop loop;
  Pair pair;
  Recorder recorder;
  std::vector<std::string> calls;
  recorder.then = [&] { calls.emplace_back("event"); };
  EXPECT_EQ(loop.watch(pair.ours(), recorder, order), 0);
  loop.iterate(Duration::zero());  // it can be written
  calls.clear();
  EXPECT_EQ(::write(pair.theirs(), "x", 1), 1);
  if (isEnd) pair.closeTheirs();
  loop.post([&] { calls.emplace_back(loop.isAboutToTell(pair.ours()) ? "command before" : "command"); });
  loop.iterate(Duration::zero());
  loop.unwatch(pair.ours());
  return calls;
}

TEST(EventLoopTest, runsCommandsBeforeEventsThatMayWait) {
  EXPECT_THAT(orderOf(EventOrder::afterCommands, false), ElementsAre("command before", "event"));
  EXPECT_THAT(orderOf(EventOrder::beforeCommands, false), ElementsAre("event", "command"));
}

TEST(EventLoopTest, tellsOfEndsBeforeItRunsCommands) {
  EXPECT_THAT(orderOf(EventOrder::afterCommands, true), ElementsAre("event", "command"));
}

TEST(EventLoopTest, tellsThatThePeerHungUp) {
  EventLoop loop;
  Pair pair;
  Recorder recorder;
  ASSERT_EQ(loop.watch(pair.ours(), recorder), 0);
  loop.iterate(0s);
  recorder.seen.clear();

  pair.closeTheirs();
  loop.iterate(0s);

  ASSERT_EQ(recorder.seen.size(), 1U);
  EXPECT_TRUE(recorder.seen[0].hungUp);
  EXPECT_TRUE(recorder.seen[0].readable);
  loop.unwatch(pair.ours());
}

TEST(EventLoopTest, givesTheSystemsErrorForADescriptorThatCannotBeWatched) {
  EventLoop loop;
  Recorder recorder;

  EXPECT_EQ(loop.watch(1'000'000, recorder), EBADF);
}

TEST(EventLoopTest, dropsTheEventsOfADescriptorThatWasUnwatchedInTheSameIteration) {
  EventLoop loop;
  Pair first;
  Pair second;
  Recorder recorder;
  Recorder other;
  const auto unwatchBoth = [&] {
    loop.unwatch(first.ours());
    loop.unwatch(second.ours());
  };
  recorder.then = unwatchBoth;
  other.then = unwatchBoth;
  ASSERT_EQ(loop.watch(first.ours(), recorder), 0);
  ASSERT_EQ(loop.watch(second.ours(), other), 0);

  loop.iterate(0s);

  EXPECT_EQ(recorder.seen.size() + other.seen.size(), 1U);
}

TEST(EventLoopTest, aClosedDescriptorLeavesNothingThoughACopyOfItLives) {
  EventLoop loop;
  Pair pair;
  const int copy = ::fcntl(pair.ours(), F_DUPFD_CLOEXEC, 0);
  Recorder recorder;
  ASSERT_EQ(loop.watch(pair.ours(), recorder), 0);
  loop.iterate(0s);
  recorder.seen.clear();

  loop.unwatch(pair.ours());
  pair.closeOurs();
  write(pair.theirs());
  loop.iterate(0s);

  EXPECT_THAT(recorder.seen, IsEmpty());
  ::close(copy);
}

TEST(EventLoopTest, watchesANewDescriptorWithTheNumberOfAClosedOne) {
  EventLoop loop;
  Recorder old;
  Recorder recorder;
  int number = -1;
  {
    Pair pair;
    number = pair.ours();
    ASSERT_EQ(loop.watch(number, old), 0);
    loop.unwatch(number);
  }
  Pair pair;
  ASSERT_EQ(pair.ours(), number);

  ASSERT_EQ(loop.watch(pair.ours(), recorder), 0);
  write(pair.theirs());
  loop.iterate(0s);

  EXPECT_THAT(old.seen, IsEmpty());
  EXPECT_EQ(recorder.seen.size(), 1U);
  loop.unwatch(pair.ours());
}

TEST(EventLoopTest, callsWhatWasDeferredOnceInTheNextIteration) {
  EventLoop loop;
  Again again;
  loop.defer(again);
  loop.defer(again);

  loop.iterate(60s);
  loop.iterate(0s);

  EXPECT_EQ(again.calls, 1);
}

TEST(EventLoopTest, whatDefersItselfIsCalledInTheIterationAfter) {
  EventLoop loop;
  Again again;
  again.then = [&] { loop.defer(again); };
  loop.defer(again);

  loop.iterate(60s);
  EXPECT_EQ(again.calls, 1);
  loop.iterate(60s);
  EXPECT_EQ(again.calls, 2);
  loop.cancelDeferred(again);
}

TEST(EventLoopTest, whatWasDeferredMayBeCancelledByAnotherOfTheSameIteration) {
  EventLoop loop;
  Again first;
  Again second;
  first.then = [&] { loop.cancelDeferred(second); };
  second.then = [&] { loop.cancelDeferred(first); };
  loop.defer(first);
  loop.defer(second);

  loop.iterate(0s);
  loop.iterate(0s);

  EXPECT_EQ(first.calls + second.calls, 1);
}

TEST(EventLoopTest, firesTimersByTheManualClock) {
  ManualNetworkClock clock;
  EventLoop loop;
  Alarm alarm;
  loop.arm(alarm, loop.now() + 30s);

  clock.advance(29s);
  loop.iterate(0s);
  EXPECT_EQ(alarm.fired, 0);
  clock.advance(1s);
  loop.iterate(60s);
  EXPECT_EQ(alarm.fired, 1);
  EXPECT_FALSE(alarm.isArmed());
}

TEST(EventLoopTest, waitsForATimerByTheSystemsClock) {
  EventLoop loop;
  Alarm alarm;
  const TimePoint begin = NetworkClock::now();
  loop.arm(alarm, begin + 3ms);

  while (alarm.fired == 0) loop.iterate(60s);

  EXPECT_GE(NetworkClock::now() - begin, 3ms);
}

TEST(EventLoopTest, deliversWhatAnIterationFinished) {
  EventLoop loop;
  DispatchQueue queue("delivered");
  DispatchSemaphore done(0);
  std::vector<int> order;
  loop.deliver(queue, [&] { order.push_back(1); });
  loop.deliver(queue, [&] {
    order.push_back(2);
    done.signal();
  });

  EXPECT_TRUE(loop.iterate(0s));
  ASSERT_TRUE(done.wait(10));

  EXPECT_THAT(order, ElementsAre(1, 2));
  EXPECT_FALSE(loop.iterate(0s));
}

TEST(EventLoopTest, hasWorkWhileExchangesAreUnderWayOrCommandsWait) {
  EventLoop loop;
  EXPECT_FALSE(loop.hasWork());
  loop.beginWork();
  EXPECT_TRUE(loop.hasWork());
  loop.endWork();
  loop.post([] {});
  EXPECT_TRUE(loop.hasWork());
  loop.iterate(0s);
  EXPECT_FALSE(loop.hasWork());
}

}  // namespace
}  // namespace platform::networking
