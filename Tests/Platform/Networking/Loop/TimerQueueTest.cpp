#include "Platform/Networking/Loop/TimerQueue.hpp"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace platform::networking {
namespace {

using std::chrono::seconds;

class Entry final : public Timer {
 public:
  void timerFired() override {}
};

TimePoint at(int second) { return TimePoint(seconds(second)); }

TEST(TimerQueueTest, givesWhatIsDueInTheOrderOfTheDeadlines) {
  std::mt19937 random(7);
  std::vector<Entry> entries(200);
  TimerQueue queue;
  for (Entry& entry : entries) queue.arm(entry, at(static_cast<int>(random() % 50)));

  TimePoint last{};
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EXPECT_LE(queue.nextLook(), at(50));
    const Timer* const due = queue.takeExpired(at(50));
    ASSERT_NE(due, nullptr);
    EXPECT_GE(due->deadline(), last);
    EXPECT_FALSE(due->isArmed());
    last = due->deadline();
  }
  EXPECT_EQ(queue.takeExpired(at(50)), nullptr);
  EXPECT_EQ(queue.nextLook(), never);
}

TEST(TimerQueueTest, keepsWhatIsNotDue) {
  Entry entry;
  TimerQueue queue;
  queue.arm(entry, at(5));

  EXPECT_EQ(queue.takeExpired(at(4)), nullptr);
  EXPECT_TRUE(entry.isArmed());
  EXPECT_EQ(queue.takeExpired(at(5)), &entry);
}

TEST(TimerQueueTest, looksAgainAtATimerThatWasPostponed) {
  Entry entry;
  TimerQueue queue;
  queue.arm(entry, at(5));
  entry.postpone(at(9));

  EXPECT_EQ(queue.takeExpired(at(8)), nullptr);
  EXPECT_EQ(queue.nextLook(), at(9));
  EXPECT_EQ(queue.takeExpired(at(9)), &entry);
}

TEST(TimerQueueTest, forgetsADisarmedTimer) {
  Entry first;
  Entry second;
  Entry third;
  TimerQueue queue;
  queue.arm(first, at(1));
  queue.arm(second, at(2));
  queue.arm(third, at(3));
  queue.disarm(second);
  queue.disarm(second);

  EXPECT_EQ(queue.takeExpired(at(9)), &first);
  EXPECT_EQ(queue.takeExpired(at(9)), &third);
  EXPECT_EQ(queue.count(), 0U);
}

TEST(TimerQueueTest, movesAnArmedTimerEarlier) {
  Entry entry;
  TimerQueue queue;
  queue.arm(entry, at(9));
  queue.arm(entry, at(3));

  EXPECT_EQ(queue.count(), 1U);
  EXPECT_EQ(queue.takeExpired(at(3)), &entry);
}

}  // namespace
}  // namespace platform::networking
