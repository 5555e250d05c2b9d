#include <cmath>
#include <memory>
#include <stdexcept>

#include "CorvaneTesting/LogCapture.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "MockFixture.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::awaitOnMain;
using corvane::testkit::Expectation;
using ::testing::ElementsAre;

struct Mock : DataGetRequestable<Mock>, HTTPMockable<Mock>, HTTPRequestCancelable<Mock> {
  double mockResponseTime = 0;
  std::string text = "mock";
  bool shouldSend = true;
  URL baseURL = "https://api.example.com/a";
  std::string mockResponseData() const { return text; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, answersOnTheQueueThatIsNamed) {
  EXPECT_TRUE(
      await<bool>([&](auto done) { Mock().send(queue, [=, this](const DataResponse&) { done(queue.isCurrent()); }); }));
}

TEST_F(MockTest, answersOnTheMainQueueOtherwise) {
  const auto isOnMain = [](auto done) {
    return [done](const DataResponse&) { done(DispatchQueue::main().isCurrent()); };
  };

  EXPECT_TRUE(awaitOnMain<bool>([&](auto done) { Mock().send(isOnMain(done)); }));
  EXPECT_TRUE(awaitOnMain<bool>([&](auto done) { Mock().send(std::nullopt, isOnMain(done)); }));
  EXPECT_TRUE(awaitOnMain<bool>([&](auto done) { Mock().mock(std::nullopt, isOnMain(done)); }));
}

TEST_F(MockTest, neverCallsTheCompletionBeforeSendHasReturned) {
  bool hasReturned = false;
  const bool order = await<bool>([&](auto done) {
    queue.sync([&] {
      Mock().send(queue, [&hasReturned, done](const DataResponse&) { done(hasReturned); });
      hasReturned = true;
    });
  });

  EXPECT_TRUE(order);
}

TEST_F(MockTest, completesAFuture) {
  const auto response = Mock().send().get();

  EXPECT_EQ(response.body.text(), "mock");
  EXPECT_EQ(response.status, HTTPStatus::success);
}

TEST_F(MockTest, completesAFutureOnTheQueueItWasMadeOn) {
  EXPECT_TRUE(await<bool>([&](auto done) {
    queue.async([=, this] { Mock().send().whenCompleted(queue, [=, this](const auto&) { done(queue.isCurrent()); }); });
  }));
}

TEST_F(MockTest, failsAFutureWithoutABody) {
  const auto result = PlainMock().send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<HTTPResponseError>(), HTTPResponseError::noContent());
}

velisand::Task<std::string> textOf(Mock request) { co_return (co_await request.send()).body.text(); }

TEST_F(MockTest, canBeAwaited) { EXPECT_EQ(textOf(Mock()).get(), "mock"); }

TEST_F(MockTest, answersOnOneSerialQueue) {
  const auto& mocks = detail::mockBackgroundQueue();

  EXPECT_EQ(mocks.label(), "org.corvane.corvane.mock");
  EXPECT_EQ(&mocks, &detail::mockBackgroundQueue());
}

/// Notes the queue that its response is read on.
struct QueueNoter : DataGetRequestable<QueueNoter>, HTTPMockable<QueueNoter> {
  std::string mockResponseData() const {
    const auto current = DispatchQueue::current();
    return current ? current->label() : "none";
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, readsItsResponseOnThatQueue) {
  EXPECT_EQ(responseTo(QueueNoter()).data->text(), "org.corvane.corvane.mock");
}

TEST_F(MockTest, answersNotBeforeItsTime) {
  platform::detail::ManualClock clock;
  Expectation<DataResponse> completion;

  Mock{.mockResponseTime = 30}.send(queue, completion);
  clock.advance(29.999);
  settle();

  EXPECT_FALSE(completion.isFulfilled());
  EXPECT_THAT(clock.waits(), ElementsAre(platform::Seconds(30)));
}

TEST_F(MockTest, answersInTheOrderOfTheirTimes) {
  platform::detail::ManualClock clock;
  Expectation<std::string> texts;
  const auto noted = [&](const DataResponse& response) { texts.fulfil(response.data->text()); };

  Mock{.mockResponseTime = 3, .text = "third"}.send(queue, noted);
  Mock{.mockResponseTime = 1, .text = "first"}.send(queue, noted);
  Mock{.mockResponseTime = 2, .text = "second"}.send(queue, noted);
  clock.advance(3);

  EXPECT_THAT(texts.waitForAll(3), ElementsAre("first", "second", "third"));
}

TEST_F(MockTest, takesNoTimeWhenItsTimeIsNegativeOrUndefined) {
  const platform::detail::ManualClock clock;

  EXPECT_EQ(responseTo(Mock{.mockResponseTime = -1}).data->text(), "mock");
  EXPECT_EQ(responseTo(Mock{.mockResponseTime = std::nan("")}).data->text(), "mock");
}

TEST_F(MockTest, isCancelledWhileItWaits) {
  platform::detail::ManualClock clock;
  Expectation<DataResponse> completion;
  const Mock request{.mockResponseTime = 3600};

  request.send(queue, completion);
  Mock(request).cancel();

  ASSERT_TRUE(reasonOf(completion.wait()));
  EXPECT_EQ(*reasonOf(completion.wait()), HTTPResponseError::taskCancelled());
  EXPECT_EQ(completion.wait().url, std::nullopt);
  clock.advance(3600);
  settle();
  EXPECT_EQ(completion.count(), 1);
}

TEST_F(MockTest, isNotCancelledOnceItHasAnswered) {
  const Mock request;

  EXPECT_EQ(responseTo(request).data->text(), "mock");
  request.cancel();
  EXPECT_EQ(responseTo(request).data->text(), "mock");
}

TEST_F(MockTest, answersOnceWhenItIsCancelledAtAnyMoment) {
  for (int i = 0; i < 200; ++i) {
    Expectation<DataResponse> completion;
    const Mock request;

    request.send(queue, completion);
    request.cancel();

    const auto* reason = reasonOf(completion.wait());
    EXPECT_TRUE(!reason || *reason == HTTPResponseError::taskCancelled());
    settle();
    EXPECT_EQ(completion.count(), 1);
  }
}

/// Holds something.
struct Holder : DataGetRequestable<Holder>, HTTPMockable<Holder>, HTTPRequestCancelable<Holder> {
  std::shared_ptr<int> held;
  static constexpr int mockResponseTime = 3600;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, letsGoOfTheRequestWhenItIsCancelled) {
  platform::detail::ManualClock clock;
  Expectation<DataResponse> completion;
  const auto held = std::make_shared<int>(1);
  {
    const Holder request{.held = held};
    request.send(queue, completion);
    request.cancel();
  }

  completion.wait();

  EXPECT_TRUE(await<bool>([&](auto done) {
    detail::mockBackgroundQueue().async([&, done] { queue.async([&, done] { done(held.use_count() == 1); }); });
  }));
}

TEST_F(MockTest, doesNothingAtAllWhenItShouldNotBeSent) {
  platform::detail::ManualClock clock;
  const auto held = std::make_shared<int>(1);

  Mock{.shouldSend = false}.send(queue, [held](const DataResponse&) { FAIL() << "answered"; });

  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(clock.pendingTimers(), 0u);
}

/// Whose hooks object.
struct Hooked : DataGetRequestable<Hooked>, HTTPMockable<Hooked> {
  std::string before;
  std::string after;
  std::string whileAnswering;
  void validate() const { objectWith(before); }
  void process(const DataResponse& response) const {
    EXPECT_EQ(response.data->text(), "mock");
    objectWith(after);
  }
  std::string mockResponseData() const {
    objectWith(whileAnswering);
    return "mock";
  }
  static void objectWith(const std::string& text) {
    if (!text.empty()) throw std::runtime_error(text);
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, isValidatedBeforeItAnswers) {
  const auto response = responseTo(Hooked{.before = "refused"});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "refused");
  EXPECT_EQ(response.data, std::nullopt);
  EXPECT_EQ(response.urlResponse, nullptr);
}

TEST_F(MockTest, isProcessedLikeAnyResponse) {
  const auto response = responseTo(Hooked{.after = "rejected"});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "rejected");
  EXPECT_EQ(response.data->text(), "mock");
  EXPECT_EQ(response.status, HTTPStatus::success);
}

TEST_F(MockTest, isAFailureWhenItThrowsWhileItAnswers) {
  const auto response = responseTo(Hooked{.whileAnswering = "no mock today"});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "no mock today");
}

TEST_F(MockTest, isPartOfDebugOutput) {
  const testkit::LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::brief;

  responseTo(Mock());

  Corvane::verbosity = HTTPVerbosityLevel::none;
  EXPECT_THAT(log.messages(), ElementsAre("REQUEST GET 'https://api.example.com/a/' RESPONSE status: 200"));
}

}  // namespace
}  // namespace corvane
