#include "../Transport/SendFixture.hpp"
#include "BatchFixture.hpp"
#include "CorvaneTesting/MainQueue.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class BatchParallelTest : public BatchTest {};

TEST_F(BatchParallelTest, completesAnEmptyListWithAnEmptyList) {
  Expectation<bool> result;

  send(std::vector<BatchItem>(), queue, true, noting(),
       [=, this](const Responses& responses) { result(responses.empty() && queue.isCurrent()); });

  EXPECT_TRUE(result.wait());
  EXPECT_THAT(recorder.events(), IsEmpty());
}

TEST_F(BatchParallelTest, completesAnEmptyListOnTheMainQueueWithoutAQueue) {
  Expectation<bool> result;

  send(std::vector<BatchItem>(), std::nullopt, true, noting(),
       [=](const Responses& responses) { result(responses.empty() && DispatchQueue::main().isCurrent()); });

  EXPECT_TRUE(testkit::waitOnMain(result));
}

TEST_F(BatchParallelTest, sendsAllInTheOrderOfTheListBeforeItReturns) {
  const std::vector<BatchItem> items = {item("a", 3), item("b", 2), item("c", 1)};

  send(items, queue, true, noting(), completion);

  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "sends b", "sends c"));
  clock.advance(3);
  completion.wait();
}

TEST_F(BatchParallelTest, listsTheResponsesInTheOrderInWhichTheyCame) {
  const std::vector<BatchItem> items = {item("a", 3), item("b", 1), item("c", 2)};

  send(items, queue, true, noting(), completion);
  clock.advance(3);

  EXPECT_THAT(textsOf(completion), ElementsAre("b", "c", "a"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "sends b", "sends c", "b: b", "c: c", "a: a"));
  EXPECT_EQ(completion.count(), 1);
}

TEST_F(BatchParallelTest, needsNoUpdate) {
  const std::vector<BatchItem> items = {item("a"), item("b")};

  send(items, queue, true, {}, completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("a", "b"));
}

TEST_F(BatchParallelTest, collectsFailuresLikeOthers) {
  std::vector<BatchItem> items = {item("a"), item("b")};
  items[0].mockStatus = HTTPStatus::notFound;

  send(items, queue, true, noting(), completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("HTTPStatus: notFound:404 is unacceptable", "b"));
  EXPECT_THAT(recorder.events(), Contains("a: HTTPStatus: notFound:404 is unacceptable"));
}

TEST_F(BatchParallelTest, deliversOnTheGivenQueue) {
  Expectation<bool> updated;
  Expectation<bool> completed;

  send(
      std::vector{item("a")}, queue, true, [=, this](const auto&, const auto&) { updated(queue.isCurrent()); },
      [=, this](const auto&) { completed(queue.isCurrent()); });

  EXPECT_TRUE(completed.wait());
  EXPECT_TRUE(updated.wait());
}

TEST_F(BatchParallelTest, deliversTheListOnTheGlobalQueueWithoutAQueue) {
  Expectation<bool> updated;
  Expectation<bool> completed;

  send(
      std::vector{item("a")}, std::nullopt, true,
      [=](const auto&, const auto&) { updated(DispatchQueue::main().isCurrent()); },
      [=](const auto&) { completed(DispatchQueue::global().isCurrent()); });

  EXPECT_TRUE(testkit::waitOnMain(updated));
  EXPECT_TRUE(completed.wait());
}

TEST_F(BatchParallelTest, mayBeOfManyOnAConcurrentQueue) {
  constexpr std::size_t count = 500;
  const std::vector<BatchItem> items(count, BatchItem{.name = "x"});
  std::atomic<std::size_t> updates = 0;

  send(items, DispatchQueue::global(), true, [&](const auto&, const auto&) { ++updates; }, completion);

  EXPECT_THAT(completion.wait(), SizeIs(count));
  EXPECT_EQ(updates, count);
}

TEST_F(BatchParallelTest, neverEndsWhenARequestShouldNotBeSent) {
  std::vector<BatchItem> items = {item("a"), item("b")};
  items[0].shouldSend = false;
  const auto held = std::make_shared<int>();
  Expectation<void> updated;

  send(
      items, queue, true, [=](const auto&, const auto&) { updated(); },
      [=, this, held = held](Responses responses) { completion(std::move(responses)); });
  updated.wait();
  queue.sync([] {});

  EXPECT_FALSE(completion.isFulfilled());
}

TEST_F(BatchParallelTest, releasesWhatItHoldsAlsoWhenItNeverEnds) {
  std::vector<BatchItem> items = {item("a"), item("b")};
  items[0].shouldSend = false;
  Expectation<void> released;
  std::shared_ptr<void> held(this, [=](void*) { released(); });

  send(items, queue, true, {}, [held = std::move(held)](const auto&) {});

  released.wait();
}

TEST_F(BatchParallelTest, reachesEachOfItsRequestsWithACancellation) {
  const std::vector<BatchItem> items = {item("a", 5), item("b", 5)};
  send(items, queue, true, noting(), completion);

  cancel(items);

  const auto& cancelled = HTTPResponseError::taskCancelled();
  for (const auto& response : completion.wait()) {
    ASSERT_TRUE(responseError(response));
    EXPECT_EQ(*responseError(response), cancelled);
  }
}

TEST_F(BatchParallelTest, keepsNoMoreUnderWayThanItMay) {
  std::vector<BatchItem> items;
  for (const char* name : {"a", "b", "c", "d", "e", "f", "g"}) items.push_back(item(name, 1));

  send(items, HTTPBatchMode::parallel(3), noting()).whenSucceeded(queue, completion);
  for (const std::size_t underWay : {3u, 3u, 1u}) {
    ASSERT_TRUE(clock.waitForTimers(underWay));
    EXPECT_EQ(clock.pendingTimers(), underWay);
    clock.advance(1);
  }

  EXPECT_THAT(completion.wait(), SizeIs(7));
  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "sends b", "sends c", "a: a", "sends d", "b: b", "sends e",
                                             "c: c", "sends f", "d: d", "sends g", "e: e", "f: f", "g: g"));
}

TEST_F(BatchParallelTest, sendsOneAfterAnotherWhenItMayHaveNoneAtATime) {
  const std::vector<BatchItem> items = {item("a"), item("b"), item("c")};

  send(items, queue, HTTPBatchMode::parallel(0), noting(), completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("a", "b", "c"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "a: a", "sends b", "b: b", "sends c", "c: c"));
}

TEST_F(BatchParallelTest, startsInTheOrderOfTheListWhateverTheQueue) {
  constexpr int count = 300;
  std::vector<BatchItem> items;
  std::vector<std::string> names;
  for (int number = 0; number < count; ++number) {
    items.push_back(item(std::to_string(number)));
    names.push_back("sends " + std::to_string(number));
  }

  send(items, DispatchQueue::global(), HTTPBatchMode::parallel(8), {}, completion);

  EXPECT_THAT(completion.wait(), SizeIs(count));
  EXPECT_EQ(recorder.events(), names);
}

TEST_F(BatchParallelTest, givesTheTurnOfARequestThatShouldNotBeSentToTheNext) {
  constexpr std::size_t unsent = 20'000;
  std::vector<BatchItem> items(unsent, BatchItem{.shouldSend = false});
  items.push_back(item("last"));
  Expectation<std::string> updated;

  send(
      items, queue, HTTPBatchMode::parallel(1), [=](const auto& request, const auto&) { updated(request.name); },
      completion);

  EXPECT_EQ(updated.wait(), "last");
}

/// The same over the network.
class BatchSendTest : public SendTest {
 protected:
  using Responses = std::vector<DataResponse>;

  const Expectation<Responses> completion;
  const EventRecorder recorder;
};

TEST_F(BatchSendTest, yieldsTheResponseFirstThatArrivesFirst) {
  const Latch first, second, third;
  const auto held = [&](const char* path, const Latch& latch) {
    server.handle(path,
                  [=](const auto&) { return MockResponse(200).text(path).hold(Moment::beforeStatusLine, latch); });
  };
  held("/1", first);
  held("/2", second);
  held("/3", third);
  const std::vector<Get> requests = {get("/1"), get("/2"), get("/3")};
  Expectation<std::string> updates;

  send(
      requests, queue, true, [=](const Get&, const DataResponse& response) { updates(response.data->text()); },
      completion);
  ASSERT_TRUE(server.waitForRequests(3));
  second.open();
  const auto afterOne = updates.waitForAll(1);
  third.open();
  const auto afterTwo = updates.waitForAll(2);
  const bool isEarly = completion.isFulfilled();
  first.open();

  EXPECT_THAT(summaries(completion.wait()), ElementsAre("/2", "/3", "/1"));
  EXPECT_THAT(afterOne, ElementsAre("/2"));
  EXPECT_THAT(afterTwo, ElementsAre("/2", "/3"));
  EXPECT_FALSE(isEarly);
}

TEST_F(BatchSendTest, sendsOneAfterAnother) {
  server.handleAll([](const testkit::ReceivedRequest& request) { return MockResponse(200).text(request.target); });
  const std::vector<Get> requests = {get("/1"), get("/2"), get("/3")};

  send(
      requests, queue, false,
      [this](const Get&, const DataResponse& response) {
        recorder.note(response.data->text() + " of " + std::to_string(server.headCount()));
      },
      completion);

  EXPECT_THAT(summaries(completion.wait()), ElementsAre("/1", "/2", "/3"));
  EXPECT_THAT(recorder.events(), ElementsAre("/1 of 1", "/2 of 2", "/3 of 3"));
}

TEST_F(BatchSendTest, cancelsWhatIsUnderWay) {
  server.handleAll([](const auto&) { return MockResponse(200).stall(Moment::beforeStatusLine); });
  const std::vector<Get> requests = {get("/1"), get("/2"), get("/3")};

  send(requests, queue, true, {}, completion);
  ASSERT_TRUE(server.waitForRequests(3));
  cancel(requests);

  EXPECT_THAT(completion.wait(), SizeIs(3));
  for (const auto& response : completion.wait()) {
    ASSERT_TRUE(responseError(response));
    EXPECT_EQ(*responseError(response), HTTPResponseError::taskCancelled());
  }
}

}  // namespace
}  // namespace corvane
