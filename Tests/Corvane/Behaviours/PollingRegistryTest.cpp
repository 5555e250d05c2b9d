#include "Corvane/Behaviours/Detail/PollingRegistry.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "CorvaneTesting/LogCapture.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane::detail {

struct RegisteredType {};

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Names = std::vector<std::string>;
using Handler = platform::UniqueFunction<void(Names&)>;
using OtherHandler = platform::UniqueFunction<void(int)>;

class PollingRegistryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (isPolling(type)) stopPolling(type);
  }

  static AnyPollingHandler naming(std::string name, platform::Block andThen = nullptr) {
    Handler handler = [name = std::move(name), andThen = std::move(andThen)](Names& called) mutable {
      called.push_back(name);
      if (andThen) andThen();
    };
    return {&typeid(Handler), std::make_shared<Handler>(std::move(handler))};
  }
  static void tick(const TimerHandler&) {}
  void start(std::optional<AnyPollingHandler> handler = std::nullopt) {
    startPolling(type, 10, tick, std::move(handler));
  }
  Names calledHandlers() {
    Names called;
    callPollingHandlers(type, typeid(Handler), &called, [](void* handler, const void* argument) {
      (*static_cast<Handler*>(handler))(*const_cast<Names*>(static_cast<const Names*>(argument)));
    });
    return called;
  }

  const std::type_info& type = typeid(RegisteredType);
  platform::detail::ManualClock clock;
};

TEST_F(PollingRegistryTest, hasARecordFromStartToStop) {
  const bool before = isPolling(type);
  start();
  const bool meanwhile = isPolling(type);
  stopPolling(type);

  EXPECT_FALSE(before);
  EXPECT_TRUE(meanwhile);
  EXPECT_FALSE(isPolling(type));
}

TEST(PollingRegistryDeathTest, trapsAtARateThatIsNotANumber) {
  EXPECT_DEATH(startPolling(
                   typeid(RegisteredType), std::nan(""), [](const TimerHandler&) {}, std::nullopt),
               "The pollingRate of corvane::detail::RegisteredType is not a number");
}

TEST_F(PollingRegistryTest, callsTheHandlersInTheirOrder) {
  start(naming("first"));
  addPollingHandler(type, naming("second"));
  start(naming("third"));

  EXPECT_THAT(calledHandlers(), ElementsAre("first", "second", "third"));
}

TEST_F(PollingRegistryTest, callsNoneOfATypeThatDoesNotPoll) { EXPECT_THAT(calledHandlers(), IsEmpty()); }

TEST_F(PollingRegistryTest, skipsAHandlerOfAnotherType) {
  start(naming("first"));
  addPollingHandler(type,
                    AnyPollingHandler{&typeid(OtherHandler), std::make_shared<OtherHandler>([](int) { FAIL(); })});
  addPollingHandler(type, naming("last"));

  EXPECT_THAT(calledHandlers(), ElementsAre("first", "last"));
}

TEST_F(PollingRegistryTest, callsNoFurtherOneOnceItWasStopped) {
  start(naming("stops", [&] { stopPolling(type); }));
  addPollingHandler(type, naming("later"));

  EXPECT_THAT(calledHandlers(), ElementsAre("stops"));
}

TEST_F(PollingRegistryTest, callsNoneOfARecordThatTookThePlaceOfItsOwn) {
  start(naming("restarts", [&] {
    stopPolling(type);
    start(naming("fresh"));
  }));
  addPollingHandler(type, naming("later"));

  const Names first = calledHandlers();

  EXPECT_THAT(first, ElementsAre("restarts"));
  EXPECT_THAT(calledHandlers(), ElementsAre("fresh"));
}

TEST_F(PollingRegistryTest, doesNotCallAHandlerThatWasAddedMeanwhile) {
  start(naming("adds", [&] { addPollingHandler(type, naming("added")); }));

  EXPECT_THAT(calledHandlers(), ElementsAre("adds"));
}

TEST_F(PollingRegistryTest, knowsItsOwnTimer) {
  const auto other = TimerHandler::make(10, tick);
  start();

  EXPECT_FALSE(isPollingWith(type, *other));
}

TEST_F(PollingRegistryTest, pausesTheTimerForALifetime) {
  start();

  const std::size_t timersBefore = clock.pendingTimers();
  auto pause = std::make_unique<PollingPause>(type);
  const std::size_t timersMeanwhile = clock.pendingTimers();
  pause = nullptr;

  EXPECT_EQ(timersBefore, 1u);
  EXPECT_EQ(timersMeanwhile, 0u);
  EXPECT_EQ(clock.pendingTimers(), 1u);
}

TEST_F(PollingRegistryTest, labelsTheQueueOfARecordByTheType) {
  const HandlerRef record("corvane::detail::RegisteredType", TimerHandler::make(10, tick));

  EXPECT_EQ(record.dispatchQueue.label(), "corvane::detail::RegisteredType.HTTPPollingQueue");
  EXPECT_THAT(*record.anyHandlers, IsEmpty());
}

TEST_F(PollingRegistryTest, logsTheNameOfTheTypeInItsFaults) {
  const testkit::LogCapture log;

  addPollingHandler(type, naming("early"));
  stopPolling(type);

  EXPECT_THAT(log.messages(), ElementsAre("Polling handler should already be provided corvane::detail::RegisteredType",
                                          "Not currently polling corvane::detail::RegisteredType"));
}

}  // namespace
}  // namespace corvane::detail
