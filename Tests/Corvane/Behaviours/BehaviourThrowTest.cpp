#include <stdexcept>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"

// What the callbacks of behaviours throw ends the process, with a message that names the queue on which they ran.

namespace corvane {
namespace {

struct Mocked : DataGetRequestable<Mocked>, HTTPMockable<Mocked> {
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Retried : DataGetRequestable<Retried>, HTTPMockable<Retried>, HTTPRetryAttempting<Retried> {
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryLimit = 1;
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Polled : DataGetRequestable<Polled>, HTTPMockable<Polled>, HTTPPolling<Polled> {
  static constexpr double pollingRate = 0.001;
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct ThrowingWhenMade : DataGetRequestable<ThrowingWhenMade>, HTTPPolling<ThrowingWhenMade> {
  static constexpr double pollingRate = 0.001;
  static std::optional<ThrowingWhenMade> make() { throw std::runtime_error("oops"); }
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct ThrowingWhenAsked : DataGetRequestable<ThrowingWhenAsked>, HTTPPolling<ThrowingWhenAsked> {
  static constexpr double pollingRate = 0.001;
  static bool shouldFirePoll() { throw std::runtime_error("oops"); }
  HTTPHeaders sharedHeaders() const { return {}; }
};

class BehaviourThrowDeathTest : public ::testing::Test {
 protected:
  static auto throwing() {
    return [](const auto&...) { throw std::runtime_error("oops"); };
  }
  static const DispatchQueue& careless() {
    static const DispatchQueue& queue = *new DispatchQueue("careless");
    return queue;
  }
  /// For as long as it may take until another thread ends the process.
  static void waitInVain() { testkit::Expectation<void>().wait(std::chrono::seconds(20)); }

  static constexpr const char* message = "An exception escaped a block of the queue \"careless\": oops";
};

TEST_F(BehaviourThrowDeathTest, endsForTheCompletionOfAMock) {
  const auto scene = [] {
    Mocked().send(careless(), throwing());
    waitInVain();
  };

  EXPECT_DEATH(scene(), message);
}

TEST_F(BehaviourThrowDeathTest, endsForTheCompletionOfARetryingSend) {
  const auto scene = [] {
    Retried().sendAttemptingRetry(careless(), throwing());
    waitInVain();
  };

  EXPECT_DEATH(scene(), message);
}

TEST_F(BehaviourThrowDeathTest, endsForAHandlerOfAPollThatIsFiredByHand) {
  const auto scene = [] {
    Polled::poll(throwing());
    Polled().send(careless(), [](const auto&) {});
    waitInVain();
  };

  EXPECT_DEATH(scene(), message);
}

TEST_F(BehaviourThrowDeathTest, endsForAHandlerOfATick) {
  const auto scene = [] {
    Polled::poll(throwing());
    DispatchQueue::main().runUntil([] { return false; }, 20);
  };

  EXPECT_DEATH(scene(), "An exception escaped a block of the queue \"corvane.main\": oops");
}

TEST_F(BehaviourThrowDeathTest, endsForTheCompletionOfAPollThatIsFiredByHand) {
  const auto scene = [] {
    Polled().send(careless(), throwing());
    waitInVain();
  };

  EXPECT_DEATH(scene(), message);
}

TEST_F(BehaviourThrowDeathTest, endsForATickThatCannotMakeItsRequest) {
  const auto scene = [] {
    ThrowingWhenMade::poll();
    waitInVain();
  };

  EXPECT_DEATH(scene(), "An exception escaped a block of the queue \"corvane.global\": oops");
}

TEST_F(BehaviourThrowDeathTest, endsForATickThatCannotTellWhetherToFire) {
  const auto scene = [] {
    ThrowingWhenAsked::poll();
    waitInVain();
  };

  EXPECT_DEATH(scene(), "An exception escaped a block of the queue \"corvane.global\": oops");
}

TEST_F(BehaviourThrowDeathTest, endsForTheUpdateOfABatch) {
  const auto scene = [](bool shouldParallelize) {
    send(std::vector<Mocked>(2), careless(), shouldParallelize, throwing(), [](const auto&) {});
    waitInVain();
  };

  EXPECT_DEATH(scene(false), message);
  EXPECT_DEATH(scene(true), message);
}

TEST_F(BehaviourThrowDeathTest, endsForTheCompletionOfABatch) {
  const auto scene = [](bool shouldParallelize, std::size_t count) {
    send(std::vector<Mocked>(count), careless(), shouldParallelize, {}, throwing());
    waitInVain();
  };

  EXPECT_DEATH(scene(false, 2), message);
  EXPECT_DEATH(scene(true, 2), message);
  EXPECT_DEATH(scene(true, 0), message);
}

TEST_F(BehaviourThrowDeathTest, endsForTheCompletionOfAParallelBatchWithoutAQueue) {
  const auto scene = [] {
    send(std::vector<Mocked>(1), std::nullopt, true, {}, throwing());
    DispatchQueue::main().runUntil([] { return false; }, 20);
  };

  EXPECT_DEATH(scene(), "An exception escaped a block of the queue \"corvane.global\": oops");
}

}  // namespace
}  // namespace corvane
