#include "Platform/Networking/Pool/AdmissionQueue.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>

namespace platform::networking {
namespace {

constexpr Duration oneMillisecond = std::chrono::milliseconds(1);

struct Transfer : AdmissionEntry {
  explicit Transfer(std::string hostName = "a") : host(std::move(hostName)) {}
  std::string host;
};

/// Transfers that are taken out of the queue again when the test ends.
class AdmissionQueueTest : public testing::Test {
 protected:
  ~AdmissionQueueTest() override {
    for (Transfer& transfer : transfers_) {
      queue.cancel(transfer);
      if (transfer.isActive()) queue.finished(transfer);
    }
  }

  Transfer& enqueue(const std::string& host, std::size_t maximum = 0) {
    Transfer& transfer = transfers_.emplace_back(host);
    queue.enqueue(hosts[host], transfer, maximum);
    return transfer;
  }
  void enqueue(const std::string& host, int count, std::size_t maximum) {
    for (int i = 0; i < count; ++i) enqueue(host, maximum);
  }
  Transfer* next() { return static_cast<Transfer*>(queue.next()); }
  std::vector<Transfer*> startAll() {
    std::vector<Transfer*> started;
    while (Transfer* transfer = next()) started.push_back(transfer);
    return started;
  }

  /// Passes time in which the loop sleeps; whether the limit grew.
  bool sleep(Duration duration = 2 * oneMillisecond) {
    now_ += duration;
    return queue.loopSlept(now_, duration);
  }
  void work(Duration duration) { now_ += duration; }

  AdmissionQueue queue{1000};
  std::map<std::string, AdmissionHost> hosts;

 private:
  TimePoint now_{};
  std::deque<Transfer> transfers_;
};

TEST_F(AdmissionQueueTest, startsTheTransfersOfAHostInOrder) {
  Transfer& first = enqueue("a");
  Transfer& second = enqueue("a");

  EXPECT_TRUE(first.isWaiting());
  EXPECT_EQ(next(), &first);
  EXPECT_TRUE(first.isActive());
  EXPECT_EQ(next(), &second);
  EXPECT_EQ(next(), nullptr);
  EXPECT_EQ(queue.active(), 2U);
  EXPECT_EQ(queue.waiting(), 0U);
}

TEST_F(AdmissionQueueTest, startsNoMoreThanItsLimit) {
  enqueue("a", 100, 0);

  const auto started = startAll();

  EXPECT_EQ(started.size(), AdmissionQueue::initialLimit);
  EXPECT_EQ(queue.waiting(), 36U);
}

TEST_F(AdmissionQueueTest, startsAnotherWhenOneFinished) {
  enqueue("a", 65, 0);
  const auto started = startAll();
  ASSERT_EQ(next(), nullptr);

  queue.finished(*started.front());

  EXPECT_FALSE(started.front()->isActive());
  EXPECT_NE(next(), nullptr);
  EXPECT_EQ(next(), nullptr);
}

TEST_F(AdmissionQueueTest, neverExceedsAHostsMaximum) {
  enqueue("a", 10, 3);

  const auto started = startAll();
  EXPECT_EQ(started.size(), 3U);
  EXPECT_FALSE(sleep()) << "it is not the limit that holds things up";
  EXPECT_EQ(next(), nullptr);

  queue.finished(*started[1]);
  EXPECT_NE(next(), nullptr);
  EXPECT_EQ(next(), nullptr);
}

TEST_F(AdmissionQueueTest, aHostAtItsMaximumHoldsUpNoOther) {
  enqueue("slow", 5, 1);
  Transfer& other = enqueue("other");

  const auto started = startAll();

  EXPECT_EQ(started.size(), 2U);
  EXPECT_TRUE(other.isActive());
}

TEST_F(AdmissionQueueTest, hostsTakeTurns) {
  enqueue("a", 200, 0);
  startAll();
  enqueue("b", 2, 0);
  sleep();
  const auto started = startAll();

  ASSERT_GE(started.size(), 4U);
  EXPECT_EQ(started[0]->host, "a");
  EXPECT_EQ(started[1]->host, "b");
  EXPECT_EQ(started[2]->host, "a");
  EXPECT_EQ(started[3]->host, "b");
}

TEST_F(AdmissionQueueTest, growsByHalfWhileTheLoopSleepsAndTransfersWait) {
  enqueue("a", 1200, 0);

  std::vector<std::size_t> limits;
  do {
    startAll();
    limits.push_back(queue.limit());
  } while (sleep());

  EXPECT_THAT(limits, testing::ElementsAre(64, 96, 144, 216, 324, 486, 729, 1000));
  EXPECT_EQ(queue.active(), 1000U);
}

TEST_F(AdmissionQueueTest, doesNotGrowWhenNothingWaits) {
  enqueue("a", 64, 0);
  startAll();

  EXPECT_FALSE(sleep());
  EXPECT_EQ(queue.limit(), 64U);
}

TEST_F(AdmissionQueueTest, doesNotGrowWhileTheLimitIsNotUsedUp) {
  enqueue("a", 10, 0);

  EXPECT_FALSE(sleep());
  EXPECT_EQ(queue.limit(), 64U);
}

TEST_F(AdmissionQueueTest, doesNotGrowWhileTheLoopMostlyWorks) {
  enqueue("a", 100, 0);
  startAll();

  for (int i = 0; i < 20; ++i) {
    work(oneMillisecond);
    EXPECT_FALSE(sleep(oneMillisecond / 2));
  }

  EXPECT_EQ(queue.limit(), 64U);
}

TEST_F(AdmissionQueueTest, addsUpShortSleeps) {
  enqueue("a", 100, 0);
  startAll();

  int sleeps = 1;
  for (; !sleep(oneMillisecond / 10) && sleeps < 100; ++sleeps) work(oneMillisecond / 20);

  EXPECT_NEAR(sleeps, 14, 1) << "2 ms hold so many sleeps and the work between them";
}

TEST_F(AdmissionQueueTest, fallsBackASecondAfterItWasUsedLast) {
  constexpr Duration second = std::chrono::seconds(1);
  enqueue("a", 300, 0);
  auto started = startAll();
  while (sleep()) {
    const auto more = startAll();
    started.insert(started.end(), more.begin(), more.end());
  }
  ASSERT_EQ(started.size(), 300U);
  ASSERT_EQ(queue.limit(), 324U);

  for (Transfer* transfer : started) queue.finished(*transfer);
  EXPECT_EQ(queue.limit(), 324U) << "a lull between two bursts is no reason";
  sleep(second);
  EXPECT_EQ(queue.limit(), 324U) << "it was used in this second";
  sleep(second);

  EXPECT_EQ(queue.limit(), 64U);
}

TEST_F(AdmissionQueueTest, fallsBackToTwiceWhatIsUsed) {
  constexpr Duration second = std::chrono::seconds(1);
  enqueue("a", 300, 0);
  auto started = startAll();
  while (sleep()) {
    const auto more = startAll();
    started.insert(started.end(), more.begin(), more.end());
  }
  for (std::size_t i = 0; i < 200; ++i) queue.finished(*started[i]);

  sleep(second);
  sleep(second);

  EXPECT_EQ(queue.limit(), 200U);
}

TEST_F(AdmissionQueueTest, cancelTakesOutWhatWaitsAndNothingElse) {
  Transfer& first = enqueue("a");
  Transfer& second = enqueue("a");
  Transfer& third = enqueue("a");
  ASSERT_EQ(next(), &first);

  EXPECT_TRUE(queue.cancel(second));
  EXPECT_FALSE(queue.cancel(second));
  EXPECT_FALSE(queue.cancel(first));

  EXPECT_EQ(next(), &third);
  EXPECT_EQ(queue.waiting(), 0U);
  EXPECT_EQ(queue.active(), 2U);
}

TEST_F(AdmissionQueueTest, cancellingTheLastOfAHostTakesTheHostOutOfTheRound) {
  Transfer& only = enqueue("a");
  Transfer& other = enqueue("b");

  queue.cancel(only);

  EXPECT_EQ(next(), &other);
  EXPECT_EQ(next(), nullptr);
}

TEST_F(AdmissionQueueTest, aTransferMayComeAgain) {
  Transfer& transfer = enqueue("a");
  queue.cancel(transfer);
  queue.enqueue(hosts["b"], transfer);
  EXPECT_EQ(next(), &transfer);
  queue.finished(transfer);
  queue.enqueue(hosts["a"], transfer);

  EXPECT_EQ(next(), &transfer);
}

TEST_F(AdmissionQueueTest, aLowerMaximumHoldsForWhatComesLater) {
  enqueue("a", 4, 0);
  startAll();
  Transfer& late = enqueue("a", 2);

  EXPECT_EQ(next(), nullptr);
  EXPECT_TRUE(late.isWaiting());
}

TEST_F(AdmissionQueueTest, aHostIsInUseWhileATransferIs) {
  Transfer& transfer = enqueue("a");
  EXPECT_FALSE(hosts["a"].isUnused());
  next();
  EXPECT_FALSE(hosts["a"].isUnused());
  queue.finished(transfer);

  EXPECT_TRUE(hosts["a"].isUnused());
}

TEST(AdmissionQueueDescriptorsTest, leavesDescriptorsToTheApplication) {
  EXPECT_EQ(AdmissionQueue::capForDescriptors(0), 4U);
  EXPECT_EQ(AdmissionQueue::capForDescriptors(64), 4U);
  EXPECT_EQ(AdmissionQueue::capForDescriptors(100), 36U);
  EXPECT_EQ(AdmissionQueue::capForDescriptors(256), 128U);
  EXPECT_EQ(AdmissionQueue::capForDescriptors(1024), 512U);
  EXPECT_EQ(AdmissionQueue::capForDescriptors(1048576), 4096U);
  EXPECT_GT(AdmissionQueue::descriptorLimit(), 3U);
}

TEST(AdmissionQueueDescriptorsTest, startsBelowItsInitialLimitWhereDescriptorsAreFew) {
  const AdmissionQueue queue(10);

  EXPECT_EQ(queue.limit(), 10U);
}

TEST(AdmissionQueueDeathTest, trapsWhenATransferIsEnqueuedTwice) {
  AdmissionQueue queue(10);
  AdmissionHost host;
  Transfer transfer;
  queue.enqueue(host, transfer);

  EXPECT_DEATH(queue.enqueue(host, transfer), "enqueued twice");
  queue.cancel(transfer);
}

TEST(AdmissionQueueDeathTest, trapsWhenAWaitingTransferIsDestroyed) {
  EXPECT_DEATH(
      {
        AdmissionQueue queue(10);
        AdmissionHost host;
        Transfer transfer;
        queue.enqueue(host, transfer);
      },
      "destroyed while");
}

/// A plain re-statement of the rules, to compare with over random operations.
TEST(AdmissionQueueRandomTest, keepsEveryLimitWhateverHappens) {
  std::mt19937 random(7);
  AdmissionQueue queue(150);
  TimePoint now{};
  std::map<std::string, AdmissionHost> hosts;
  std::deque<Transfer> transfers;
  for (int i = 0; i < 400; ++i) transfers.emplace_back("host" + std::to_string(i % 9));
  std::map<std::string, std::size_t> activeOfHost;
  const auto maximumOf = [](const Transfer& transfer) -> std::size_t { return transfer.host == "host3" ? 2 : 0; };

  for (int step = 0; step < 60000; ++step) {
    Transfer& transfer = transfers[random() % transfers.size()];
    if (transfer.isActive()) {
      queue.finished(transfer);
      --activeOfHost[transfer.host];
    } else if (transfer.isWaiting()) {
      if (random() % 4 == 0) {
        EXPECT_TRUE(queue.cancel(transfer));
      }
    } else {
      queue.enqueue(hosts[transfer.host], transfer, maximumOf(transfer));
    }
    if (random() % 50 == 0) queue.loopSlept(now += 2 * oneMillisecond, 2 * oneMillisecond);
    while (auto* started = static_cast<Transfer*>(queue.next())) {
      ++activeOfHost[started->host];
      ASSERT_TRUE(started->isActive());
    }
    ASSERT_LE(queue.active(), 150U);
    ASSERT_LE(activeOfHost["host3"], 2U);
    // Nothing that may start is left waiting.
    if (queue.active() < queue.limit()) {
      const auto mayStart = [&](const Transfer& one) {
        return one.isWaiting() && (one.host != "host3" || activeOfHost["host3"] < 2);
      };
      ASSERT_TRUE(std::none_of(transfers.begin(), transfers.end(), mayStart));
    }
  }
  for (Transfer& transfer : transfers) {
    queue.cancel(transfer);
    if (transfer.isActive()) queue.finished(transfer);
  }
  EXPECT_EQ(queue.waiting() + queue.active(), 0U);
}

}  // namespace
}  // namespace platform::networking
