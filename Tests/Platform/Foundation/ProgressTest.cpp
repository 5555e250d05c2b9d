#include "Platform/Foundation/Progress.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t fiveGiB = std::int64_t{5} << 30;

/// A progress, and the completed counts that an observer heard.
class ProgressTest : public testing::Test {
 protected:
  ProgressObservation observe() {
    return progress->observe(
        [this](const std::shared_ptr<Progress>& changed) { heard.push_back(changed->completedUnitCount()); });
  }

  const std::shared_ptr<Progress> progress = Progress::make();
  std::vector<std::int64_t> heard;
};

TEST_F(ProgressTest, knowsNothingAtFirst) {
  EXPECT_EQ(progress->completedUnitCount(), 0);
  EXPECT_EQ(progress->totalUnitCount(), Progress::unknownCount);
  EXPECT_TRUE(progress->isIndeterminate());
  EXPECT_EQ(progress->fractionCompleted(), 0);
  EXPECT_EQ(progress->userInfo(ProgressKey::byteCompletedCount), std::nullopt);
  EXPECT_FALSE(progress->isObserved());
}

TEST_F(ProgressTest, tellsTheFraction) {
  progress->update(1, 4);
  EXPECT_EQ(progress->fractionCompleted(), 0.25);
  progress->update(4, 4);
  EXPECT_EQ(progress->fractionCompleted(), 1);
}

TEST_F(ProgressTest, keepsTheFractionBetweenZeroAndOne) {
  progress->update(5, 4);
  EXPECT_EQ(progress->fractionCompleted(), 1);
  progress->update(-1, 4);
  EXPECT_EQ(progress->fractionCompleted(), 0);
  progress->update(5, -7);
  EXPECT_EQ(progress->fractionCompleted(), 0);
  EXPECT_EQ(progress->totalUnitCount(), Progress::unknownCount);
}

TEST_F(ProgressTest, ofNothingIsDone) {
  progress->update(0, 0);

  EXPECT_EQ(progress->fractionCompleted(), 1);
  EXPECT_FALSE(progress->isIndeterminate());
}

TEST_F(ProgressTest, tellsTheFractionOfGiBytes) {
  progress->updateBytes(fiveGiB / 2, fiveGiB);

  EXPECT_EQ(progress->fractionCompleted(), 0.5);
  EXPECT_EQ(progress->completedUnitCount(), fiveGiB / 2);
  EXPECT_EQ(progress->userInfo(ProgressKey::byteTotalCount), AnyValue(fiveGiB));
}

TEST_F(ProgressTest, ofBytesHasThemInItsUserInformation) {
  progress->updateBytes(3, 10);

  EXPECT_EQ(progress->userInfo("NSProgressByteCompletedCountKey"), AnyValue(3));
  EXPECT_EQ(progress->userInfo("NSProgressByteTotalCountKey"), AnyValue(10));
}

TEST_F(ProgressTest, ofBytesHasNoTotalWhileThatIsUnknown) {
  progress->updateBytes(3, Progress::unknownCount);
  EXPECT_EQ(progress->userInfo(ProgressKey::byteCompletedCount), AnyValue(3));
  EXPECT_EQ(progress->userInfo(ProgressKey::byteTotalCount), std::nullopt);

  progress->updateBytes(3, 10);
  EXPECT_EQ(progress->userInfo(ProgressKey::byteTotalCount), AnyValue(10));

  progress->updateBytes(3, Progress::unknownCount);
  EXPECT_EQ(progress->userInfo(ProgressKey::byteTotalCount), std::nullopt);
}

TEST_F(ProgressTest, ofOtherUnitsHasNoBytes) {
  progress->update(3, 10);

  EXPECT_EQ(progress->userInfo(ProgressKey::byteCompletedCount), std::nullopt);
}

TEST_F(ProgressTest, keepsWhatElseIsKnown) {
  progress->setUserInfo("file", "a.txt");
  progress->setUserInfo("file", "b.txt");

  EXPECT_EQ(progress->userInfo("file"), AnyValue("b.txt"));
}

TEST_F(ProgressTest, tellsObserversEveryChangeInOrder) {
  const ProgressObservation observation = observe();
  EXPECT_TRUE(progress->isObserved());

  progress->update(1, 3);
  progress->updateBytes(2, 3);
  progress->update(3, 3);

  EXPECT_THAT(heard, ElementsAre(1, 2, 3));
}

TEST_F(ProgressTest, tellsATotalThatChangesToo) {
  const ProgressObservation observation = observe();

  progress->update(1, 3);
  progress->update(1, 4);

  EXPECT_THAT(heard, ElementsAre(1, 1));
}

TEST_F(ProgressTest, doesNotTellWhatStaysAsItIs) {
  progress->update(1, 3);
  const ProgressObservation observation = observe();

  progress->update(1, 3);
  progress->updateBytes(1, 3);
  progress->setUserInfo("file", "a.txt");

  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ProgressTest, tellsAnObserverTheProgressItself) {
  std::shared_ptr<Progress> told;
  const ProgressObservation observation =
      progress->observe([&](const std::shared_ptr<Progress>& changed) { told = changed; });

  progress->update(1, 2);

  EXPECT_EQ(told, progress);
}

TEST_F(ProgressTest, tellsSeveralObservers) {
  const ProgressObservation first = observe();
  const ProgressObservation second = observe();

  progress->update(1, 2);

  EXPECT_THAT(heard, ElementsAre(1, 1));
}

TEST_F(ProgressTest, tellsNobodyWhoseObservationIsInvalidated) {
  ProgressObservation observation = observe();
  EXPECT_TRUE(observation);

  observation.invalidate();
  observation.invalidate();
  progress->update(1, 2);

  EXPECT_FALSE(observation);
  EXPECT_FALSE(progress->isObserved());
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ProgressTest, tellsNobodyWhoseObservationIsGone) {
  {
    const ProgressObservation observation = observe();
  }

  progress->update(1, 2);

  EXPECT_FALSE(progress->isObserved());
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ProgressTest, anObservationThatIsMovedGoesOn) {
  ProgressObservation first = observe();
  ProgressObservation second = std::move(first);
  progress->update(1, 3);
  ProgressObservation third;
  third = std::move(second);
  progress->update(2, 3);

  EXPECT_THAT(heard, ElementsAre(1, 2));
}

TEST_F(ProgressTest, anObservationThatIsReplacedEnds) {
  ProgressObservation observation = observe();

  observation = ProgressObservation();
  progress->update(1, 2);

  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ProgressTest, anObserverMayEndItsOwnObservation) {
  ProgressObservation observation;
  observation = progress->observe([&](const std::shared_ptr<Progress>& changed) {
    heard.push_back(changed->completedUnitCount());
    observation.invalidate();
  });

  progress->update(1, 3);
  progress->update(2, 3);

  EXPECT_THAT(heard, ElementsAre(1));
}

TEST_F(ProgressTest, anObserverMayEndAnotherThatIsYetToBeTold) {
  ProgressObservation second;
  const ProgressObservation first = progress->observe([&](const std::shared_ptr<Progress>&) { second.invalidate(); });
  second = observe();

  progress->update(1, 2);

  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ProgressTest, anObserverMayAddAnother) {
  ProgressObservation second;
  const ProgressObservation first = progress->observe([&](const std::shared_ptr<Progress>&) {
    if (!second) second = observe();
  });

  progress->update(1, 3);
  progress->update(2, 3);

  EXPECT_THAT(heard, ElementsAre(2));
}

TEST_F(ProgressTest, anObservationMayOutliveTheProgress) {
  auto other = Progress::make();
  ProgressObservation observation = other->observe([](const std::shared_ptr<Progress>&) {});

  other.reset();

  EXPECT_NO_THROW(observation.invalidate());
}

TEST_F(ProgressTest, letsGoOfWhatAnObserverHolds) {
  const auto held = std::make_shared<int>(7);
  ProgressObservation observation = progress->observe([held](const std::shared_ptr<Progress>&) {});
  EXPECT_EQ(held.use_count(), 2);

  observation.invalidate();
  progress->update(1, 2);

  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(ProgressTest, mayBeReadAndObservedWhileItChanges) {
  std::atomic<bool> isOver = false;
  std::thread worker([&] {
    for (std::int64_t count = 1; count <= 20'000; ++count) progress->updateBytes(count, 20'000);
    isOver = true;
  });
  std::int64_t last = 0;
  while (!isOver) {
    const ProgressObservation observation = progress->observe([](const std::shared_ptr<Progress>& changed) {
      EXPECT_LE(changed->completedUnitCount(), changed->totalUnitCount());
    });
    const std::int64_t now = progress->completedUnitCount();
    EXPECT_GE(now, last);
    last = now;
  }
  worker.join();

  EXPECT_EQ(progress->fractionCompleted(), 1);
}

}  // namespace
}  // namespace platform
