#include "Platform/Networking/Connecting/Resolver.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Networking/Connecting/LookUpThreads.hpp"
#include "TestSupport/HeldLookUps.hpp"
#include "TestSupport/LoopRun.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;
using corvane::testkit::HeldLookUps;
using corvane::testkit::runUntil;

class Asker final : public LookUp {
 public:
  bool isTold() const { return outcome.has_value(); }
  const Failure& failure() const { return std::get<Failure>(*outcome); }
  const std::vector<HostAddress>& addresses() const { return *std::get<HostAddresses>(*outcome); }

  std::optional<Resolution> outcome;
  std::function<void()> then;

 private:
  void nameResolved(const Resolution& resolution) override {
    outcome = resolution;
    if (then) then();
  }
};

class ResolverTest : public testing::Test {
 protected:
  /// Waits for the outcome, if it is not known at once.
  void resolve(Asker& asker, const std::string& host) {
    if (auto known = resolver.resolve(host, asker)) asker.outcome = std::move(known);
    ASSERT_TRUE(runUntil(loop, [&] { return asker.isTold(); })) << host;
  }
  /// Asks for a name that is held, and waits until it stands still.
  void ask(Asker& asker, const HeldLookUps& held, int waiting) {
    ASSERT_FALSE(resolver.resolve(HeldLookUps::name, asker));
    ASSERT_TRUE(held.waitForWaiting(waiting));
  }
  HostAddress local() const { return *HostAddress::fromText("127.0.0.1"); }

  EventLoop loop;
  Resolver resolver{loop};
};

TEST_F(ResolverTest, knowsNumbersAtOnce) {
  Asker asker;

  const auto known = resolver.resolve("127.0.0.1", asker);

  ASSERT_TRUE(known);
  EXPECT_THAT(*std::get<HostAddresses>(*known), testing::ElementsAre(local()));
  EXPECT_FALSE(asker.isWaiting());
}

TEST_F(ResolverTest, knowsTheNamesOfThisMachineAtOnce) {
  for (const char* name : {"localhost", "localhost.", "api.localhost"}) {
    Asker asker;

    const auto known = resolver.resolve(name, asker);

    ASSERT_TRUE(known) << name;
    EXPECT_THAT(*std::get<HostAddresses>(*known),
                testing::UnorderedElementsAre(local(), *HostAddress::fromText("::1")));
  }
}

TEST_F(ResolverTest, takesOnlyWholeLabelsForThisMachine) {
  HeldLookUps held;
  Asker asker;

  EXPECT_FALSE(resolver.resolve("notlocalhost", asker));

  resolver.cancel(asker);
}

TEST_F(ResolverTest, refusesWhatIsNoName) {
  Asker asker;
  for (const std::string& name : {std::string(), std::string("a\0b", 3)}) {
    resolve(asker, name);
    EXPECT_EQ(asker.failure().cause, FailureCause::nameNotFound);
  }
}

TEST_F(ResolverTest, findsAddressesAndKeepsThem) {
  Asker first;
  resolve(first, HeldLookUps::localName);
  EXPECT_THAT(first.addresses(), testing::ElementsAre(local()));

  Asker second;
  const auto known = resolver.resolve(HeldLookUps::localName, second);

  ASSERT_TRUE(known);
  EXPECT_EQ(std::get<HostAddresses>(*known), std::get<HostAddresses>(*first.outcome));
}

TEST_F(ResolverTest, keepsAddressesForAMinute) {
  ManualNetworkClock clock;
  loop.iterate(Duration::zero());
  Asker asker;
  resolve(asker, HeldLookUps::localName);

  clock.advance(59s);
  loop.iterate(Duration::zero());
  EXPECT_TRUE(resolver.resolve(HeldLookUps::localName, asker));
  clock.advance(1s);
  loop.iterate(Duration::zero());

  EXPECT_FALSE(resolver.resolve(HeldLookUps::localName, asker));
}

TEST_F(ResolverTest, saysThatANameDoesNotExistAndDoesNotKeepThat) {
  Asker asker;

  resolve(asker, HeldLookUps::missingName);

  EXPECT_EQ(asker.failure().cause, FailureCause::nameNotFound);
  EXPECT_EQ(asker.failure().systemError, EAI_NONAME);
  EXPECT_EQ(resolver.keptCount(), 0U);
}

TEST_F(ResolverTest, tellsANameThatCannotBeLookedUpFromOneThatDoesNotExist) {
  Asker asker;

  resolve(asker, HeldLookUps::unansweredName);

  EXPECT_EQ(asker.failure().cause, FailureCause::nameLookupFailed);
  EXPECT_EQ(asker.failure().systemError, EAI_AGAIN);
}

TEST_F(ResolverTest, looksANameUpOnceForAllWhoAsk) {
  HeldLookUps held;
  Asker first;
  Asker second;
  ask(first, held, 1);
  ask(second, held, 1);

  EXPECT_EQ(held.waiting(), 1);
  held.release();

  EXPECT_TRUE(runUntil(loop, [&] { return first.isTold() && second.isTold(); }));
}

TEST_F(ResolverTest, looksUpOthersWhileANameStandsStill) {
  HeldLookUps held;
  Asker slow;
  ask(slow, held, 1);

  Asker quick;
  resolve(quick, HeldLookUps::localName);

  EXPECT_FALSE(slow.isTold());
  EXPECT_THAT(quick.addresses(), testing::ElementsAre(local()));
}

TEST_F(ResolverTest, endsAWaitAtOnce) {
  HeldLookUps held;
  Asker cancelled;
  Asker waiting;
  ask(cancelled, held, 1);
  ask(waiting, held, 1);

  resolver.cancel(cancelled);
  EXPECT_FALSE(cancelled.isWaiting());
  held.release();

  ASSERT_TRUE(runUntil(loop, [&] { return waiting.isTold(); }));
  EXPECT_FALSE(cancelled.isTold());
}

TEST_F(ResolverTest, isNotHeldUpByNamesThatNobodyWaitsForAnyMore) {
  HeldLookUps held;
  for (int i = 1; i <= static_cast<int>(LookUpThreads::mostWanted) + 2; ++i) {
    Asker abandoned;
    ask(abandoned, held, i);
    resolver.forget();
  }

  Asker asker;
  resolve(asker, HeldLookUps::localName);

  EXPECT_THAT(asker.addresses(), testing::ElementsAre(local()));
}

TEST_F(ResolverTest, letsNamesWaitInLineWhenTooManyAreLookedUp) {
  HeldLookUps held;
  std::vector<std::unique_ptr<Asker>> slow;
  for (int i = 1; i <= static_cast<int>(LookUpThreads::mostWanted); ++i) {
    ask(*slow.emplace_back(std::make_unique<Asker>()), held, i);
    resolver.forget();
  }
  Asker next;
  EXPECT_FALSE(resolver.resolve(HeldLookUps::localName, next));

  slow.pop_back();  // one less that somebody waits for

  EXPECT_TRUE(runUntil(loop, [&] { return next.isTold(); }));
  EXPECT_FALSE(slow.front()->isTold());
}

TEST_F(ResolverTest, forgetsEverything) {
  Asker asker;
  resolve(asker, HeldLookUps::localName);

  resolver.forget();

  EXPECT_EQ(resolver.keptCount(), 0U);
}

TEST_F(ResolverTest, keepsNothingOfALookUpThatBeganBeforeItForgot) {
  Asker asker;
  ASSERT_FALSE(resolver.resolve(HeldLookUps::localName, asker));

  resolver.forget();

  EXPECT_TRUE(runUntil(loop, [&] { return asker.isTold(); }));
  EXPECT_EQ(resolver.keptCount(), 0U);
}

TEST_F(ResolverTest, letsNobodyJoinALookUpThatBeganBeforeItForgot) {
  HeldLookUps held;
  Asker before;
  Asker after;
  ask(before, held, 1);

  resolver.forget(HeldLookUps::name);
  ask(after, held, 2);

  EXPECT_EQ(held.waiting(), 2);
}

TEST_F(ResolverTest, allowsOneWhoIsToldToEndTheWaitOfAnother) {
  HeldLookUps held;
  Asker first;
  auto second = std::make_unique<Asker>();
  ask(first, held, 1);
  ask(*second, held, 1);
  first.then = [&] { second.reset(); };

  held.release();

  EXPECT_TRUE(runUntil(loop, [&] { return first.isTold(); }));
  EXPECT_EQ(second, nullptr);
}

TEST_F(ResolverTest, allowsOneWhoIsToldToAskAgain) {
  Asker asker;
  int times = 0;
  asker.then = [&] {
    ++times;
    if (times == 1) {
      EXPECT_FALSE(resolver.resolve(HeldLookUps::missingName, asker));
    }
  };
  ASSERT_FALSE(resolver.resolve(HeldLookUps::missingName, asker));

  EXPECT_TRUE(runUntil(loop, [&] { return times == 2; }));
}

TEST_F(ResolverTest, mayGoWhileANameStandsStill) {
  HeldLookUps held;
  auto leaving = std::make_unique<Resolver>(loop);
  {
    Asker asker;
    ASSERT_FALSE(leaving->resolve(HeldLookUps::name, asker));
    ASSERT_TRUE(held.waitForWaiting(1));
  }

  leaving.reset();
  held.release();
  loop.iterate(Duration::zero());
}

}  // namespace
}  // namespace platform::networking
