#include "Platform/Loading/Internal/ProgressMeter.hpp"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace platform::detail {
namespace {

constexpr std::int64_t fiveGiB = std::int64_t{5} << 30;

/// A meter, and the counts that its progress told.
class ProgressMeterTest : public testing::Test {
 protected:
  using Counts = std::vector<std::pair<std::int64_t, std::int64_t>>;

  void observe() {
    observation = meter.progress()->observe([this](const std::shared_ptr<Progress>& progress) {
      told.emplace_back(progress->completedUnitCount(), progress->totalUnitCount());
    });
  }

  ProgressMeter meter;
  ProgressObservation observation;
  Counts told;
  /// When the test begins.
  const networking::TimePoint start = networking::TimePoint(1000 * ProgressMeter::interval);
};

TEST_F(ProgressMeterTest, holdsNothingBackWhileNobodyAsked) {
  EXPECT_FALSE(meter.count(1, start));
  EXPECT_FALSE(meter.count(2, start));
}

TEST_F(ProgressMeterTest, tellsTheFirstCountAtOnce) {
  observe();
  meter.expect(10);

  EXPECT_FALSE(meter.count(1, start));

  EXPECT_EQ(told, (Counts{{1, 10}}));
}

TEST_F(ProgressMeterTest, holdsBackCountsThatFollowTooSoon) {
  observe();
  meter.count(1, start);

  EXPECT_TRUE(meter.count(2, start));
  EXPECT_TRUE(meter.count(3, start + ProgressMeter::interval - std::chrono::nanoseconds(1)));
  EXPECT_EQ(told, (Counts{{1, -1}}));
  EXPECT_EQ(meter.due(), start + ProgressMeter::interval);
}

TEST_F(ProgressMeterTest, tellsTheLatestCountWhenItIsDue) {
  observe();
  meter.count(1, start);
  meter.count(2, start);
  meter.count(3, start);

  meter.tell(meter.due());

  EXPECT_EQ(told, (Counts{{1, -1}, {3, -1}}));
}

TEST_F(ProgressMeterTest, tellsAtOnceAgainAfterTheInterval) {
  observe();
  meter.count(1, start);

  EXPECT_FALSE(meter.count(2, start + ProgressMeter::interval));

  EXPECT_EQ(told, (Counts{{1, -1}, {2, -1}}));
}

TEST_F(ProgressMeterTest, neverGoesBack) {
  observe();
  meter.count(7, start);
  meter.count(3, start + ProgressMeter::interval);
  meter.count(9, start + 2 * ProgressMeter::interval);

  EXPECT_EQ(told, (Counts{{7, -1}, {9, -1}}));
}

TEST_F(ProgressMeterTest, finishesWithTheTotalThatTurnedOut) {
  observe();
  meter.count(7, start);

  meter.finish();

  EXPECT_EQ(told, (Counts{{7, -1}, {7, 7}}));
  EXPECT_EQ(meter.progress()->fractionCompleted(), 1);
}

TEST_F(ProgressMeterTest, finishTellsWhatWasHeldBackAndNothingTwice) {
  observe();
  meter.expect(2);
  meter.count(1, start);
  meter.count(2, start);

  meter.finish();
  meter.finish();

  EXPECT_EQ(told, (Counts{{1, 2}, {2, 2}}));
}

TEST_F(ProgressMeterTest, tellsOfTheEndThoughTheLastByteWasToldOf) {
  ProgressMeter upload(false);
  upload.expect(2);
  observation = upload.progress()->observe([this](const std::shared_ptr<Progress>& progress) {
    told.emplace_back(progress->completedUnitCount(), progress->totalUnitCount());
  });
  upload.count(2, start);

  upload.finish();

  EXPECT_EQ(told, (Counts{{2, 2}, {2, 2}}));
}

TEST_F(ProgressMeterTest, leavesTheLastByteOfADownloadToTheEnd) {
  observe();
  meter.expect(2);

  EXPECT_FALSE(meter.count(2, start));
  EXPECT_EQ(told, Counts());
  meter.finish();

  EXPECT_EQ(told, (Counts{{2, 2}}));
}

TEST_F(ProgressMeterTest, aProgressThatIsAskedForLateKnowsTheCountsSoFar) {
  meter.expect(10);
  meter.count(4, start);

  EXPECT_EQ(meter.progress()->completedUnitCount(), 4);
  EXPECT_EQ(meter.progress()->totalUnitCount(), 10);
  EXPECT_EQ(meter.progress()->userInfo(ProgressKey::byteCompletedCount)->integer(), 4);
}

TEST_F(ProgressMeterTest, isTheSameProgressEachTime) { EXPECT_EQ(meter.progress(), meter.progress()); }

TEST_F(ProgressMeterTest, aProgressThatIsAskedForWhileTheWorkEndsKnowsTheEnd) {
  for (int round = 0; round < 500; ++round) {
    ProgressMeter raced;
    std::shared_ptr<Progress> progress;
    std::thread asker([&] { progress = raced.progress(); });
    raced.count(round, start);
    raced.finish();
    asker.join();

    ASSERT_EQ(progress->completedUnitCount(), round);
    ASSERT_EQ(progress->totalUnitCount(), round);
  }
}

TEST_F(ProgressMeterTest, countsBeyondFourGiB) {
  observe();
  meter.expect(fiveGiB);
  meter.count(fiveGiB - 1, start);
  meter.count(fiveGiB, start + ProgressMeter::interval);
  meter.finish();

  EXPECT_EQ(told, (Counts{{fiveGiB - 1, fiveGiB}, {fiveGiB, fiveGiB}}));
  EXPECT_EQ(meter.progress()->userInfo(ProgressKey::byteTotalCount)->integer(), fiveGiB);
}

}  // namespace
}  // namespace platform::detail
