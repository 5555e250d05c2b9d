#include "CorvaneTesting/ManualTime.hpp"

#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::testkit {
namespace {

using platform::DispatchQueue;
using platform::Seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ManualTimeTest, standsStillUntilItIsAdvanced) {
  ManualTime time;
  const Expectation<Seconds> happened;
  const DispatchQueue queue("later");

  queue.asyncAfter(60, [&] { happened.fulfil(time.now()); });
  time.advance(59);
  queue.sync([] {});
  const int countBefore = happened.count();
  time.advance(2);

  EXPECT_EQ(countBefore, 0);
  EXPECT_GE(happened.wait(), Seconds(60));
  EXPECT_EQ(time.now(), Seconds(61));
}

TEST(ManualTimeTest, advancesByWhatIsWaitedFor) {
  ManualTime time;
  const Expectation<void> happened;
  const DispatchQueue queue("later");

  queue.async([=] { queue.asyncAfter(0.5, [=] { happened.fulfil(); }); });
  const bool isWaiting = time.waitForTimers(1);
  const Seconds step = time.advanceToNextTimer();

  EXPECT_TRUE(isWaiting);
  EXPECT_EQ(step, Seconds(0.5));
  happened.wait();
  EXPECT_EQ(time.advanceToNextTimer(), Seconds(0));
}

TEST(ManualTimeTest, tellsEveryWait) {
  ManualTime time;
  const DispatchQueue queue("later");

  queue.asyncAfter(3, [] {});
  queue.asyncAfter(0.25, [] {});
  const std::size_t pendingBefore = time.pendingTimers();
  time.advance(1);

  EXPECT_EQ(pendingBefore, 2u);
  EXPECT_EQ(time.pendingTimers(), 1u);
  EXPECT_THAT(time.waits(), ElementsAre(Seconds(3), Seconds(0.25)));
}

TEST(ManualTimeTest, bringsTheTimeOfTheSystemBack) {
  const Expectation<void> dropped;
  const Expectation<void> happened;
  const DispatchQueue queue("later");
  {
    ManualTime time;
    queue.asyncAfter(0.001, [=] { dropped.fulfil(); });
  }

  queue.asyncAfter(0.001, [=] { happened.fulfil(); });
  happened.wait();
  const ManualTime another;

  EXPECT_FALSE(dropped.isFulfilled());
  EXPECT_THAT(another.waits(), IsEmpty());
}

TEST(ManualTimeDeathTest, refusesASecondOne) {
  const ManualTime time;

  EXPECT_DEATH(ManualTime(), "There is a ManualTime already");
}

}  // namespace
}  // namespace corvane::testkit
