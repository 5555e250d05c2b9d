#include "Platform/Networking/Pool/ConnectionBudget.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace platform::networking {
namespace {

/// Keeps as many slots as it wants.
class Party final : public ConnectionParty {
 public:
  explicit Party(ConnectionBudget& budget) : budget_(budget) {}
  ~Party() override { budget_.stopWaiting(*this); }

  /// Asks until it has as many or has to wait.
  void want(std::size_t count) {
    wanted_ = count;
    while (slots() < wanted_) {
      auto slot = budget_.take(*this);
      if (!slot) return;
      held_.push_back(std::move(*slot));
    }
  }
  void giveUp() { wanted_ = 0; }
  void release() {
    wanted_ = 0;
    held_.pop_back();
  }

 private:
  void slotGranted(ConnectionSlot slot) override {
    held_.push_back(std::move(slot));
    want(wanted_);
  }
  bool wantsSlot() const override { return slots() < wanted_; }

  ConnectionBudget& budget_;
  std::size_t wanted_ = 0;
  std::vector<ConnectionSlot> held_;
};

class ConnectionBudgetTest : public testing::Test, public ConnectionBudgetOwner {
 protected:
  void slotsChanged() override { ++changes; }

  int changes = 0;
  ConnectionBudget budget{2, *this};
  Party first{budget};
  Party second{budget};
  Party third{budget};
};

TEST_F(ConnectionBudgetTest, countsNothingWithoutALimit) {
  ConnectionBudget unlimited(0, *this);
  Party party(unlimited);

  EXPECT_TRUE(unlimited.take(party));
  EXPECT_FALSE(unlimited.isLimited());
  EXPECT_EQ(unlimited.taken(), 0U);
}

TEST_F(ConnectionBudgetTest, givesNoMoreThanItsLimit) {
  first.want(3);

  EXPECT_EQ(first.slots(), 2U);
  EXPECT_TRUE(first.waitsForSlot());
  EXPECT_EQ(changes, 1);
}

TEST_F(ConnectionBudgetTest, tellsOfASlotThatIsFreeWhileSomebodyWaits) {
  first.want(2);
  first.release();
  EXPECT_EQ(changes, 0);

  second.want(2);
  EXPECT_EQ(second.slots(), 1U);
  EXPECT_EQ(changes, 1);
  first.release();
  EXPECT_EQ(changes, 2);
  budget.grant();
  EXPECT_EQ(second.slots(), 2U);
}

TEST_F(ConnectionBudgetTest, letsNobodyOvertakeThoseWhoWait) {
  first.want(2);
  second.want(1);
  first.release();

  third.want(1);

  EXPECT_EQ(third.slots(), 0U);
  budget.grant();
  EXPECT_EQ(second.slots(), 1U);
  EXPECT_EQ(third.slots(), 0U);
}

TEST_F(ConnectionBudgetTest, grantsToTheOneWithTheFewestFirst) {
  second.want(1);
  first.want(2);
  third.want(1);
  second.release();

  budget.grant();

  EXPECT_EQ(first.slots(), 1U);
  EXPECT_EQ(third.slots(), 1U);
}

TEST_F(ConnectionBudgetTest, forgetsThoseWhoWantNothingAnyMore) {
  first.want(2);
  second.want(1);
  second.giveUp();

  EXPECT_FALSE(budget.yields(first));
  EXPECT_FALSE(second.waitsForSlot());
}

TEST_F(ConnectionBudgetTest, asksForAConnectionOnlyWhereThatBalances) {
  first.want(2);
  EXPECT_FALSE(budget.yields(first));
  second.want(2);
  EXPECT_TRUE(budget.yields(first));

  first.release();
  budget.grant();

  EXPECT_EQ(second.slots(), 1U);
  EXPECT_TRUE(second.waitsForSlot());
  EXPECT_FALSE(budget.yields(first));
  third.want(1);
  EXPECT_TRUE(budget.yields(first));
  EXPECT_TRUE(budget.yields(second));
}

TEST_F(ConnectionBudgetTest, takesBackASlotThatIsMovedOnce) {
  {
    auto slot = budget.take(first);
    ConnectionSlot moved = std::move(*slot);
    EXPECT_EQ(budget.taken(), 1U);
  }
  EXPECT_EQ(budget.taken(), 0U);
  EXPECT_EQ(first.slots(), 0U);
}

TEST_F(ConnectionBudgetTest, letsOneThatYieldedWaitAfterTheOthers) {
  first.want(3);
  second.want(1);
  ASSERT_TRUE(budget.yields(first));
  EXPECT_FALSE(first.waitsForSlot());
  first.want(3);
  first.release();

  budget.grant();

  EXPECT_EQ(second.slots(), 1U);
}

}  // namespace
}  // namespace platform::networking
