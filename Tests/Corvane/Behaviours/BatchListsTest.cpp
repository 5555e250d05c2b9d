#include <array>
#include <list>
#include <ranges>
#include <span>

#include "../Transfers/TransferFixture.hpp"
#include "BatchFixture.hpp"
#include "Corvane/Behaviours/HTTPPolling.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

/// What may be sent as a batch, and in which forms.
class BatchListsTest : public BatchTest {
 protected:
  template <class Requests>
  std::vector<std::string> textsOfBatch(Requests&& requests) {
    return summaries(await<Responses>([&](auto done) { send(requests, queue, false, {}, done); }));
  }
};

TEST_F(BatchListsTest, areAnyRangeOfRequests) {
  std::vector<BatchItem> vector = {item("a"), item("b")};
  const std::vector<BatchItem> constant = vector;
  std::array<BatchItem, 2> array = {item("c"), item("d")};
  const BatchItem plain[] = {item("e"), item("f")};
  const std::list<BatchItem> list = {item("g"), item("h")};

  EXPECT_THAT(textsOfBatch(vector), ElementsAre("a", "b"));
  EXPECT_THAT(textsOfBatch(constant), ElementsAre("a", "b"));
  EXPECT_THAT(textsOfBatch(array), ElementsAre("c", "d"));
  EXPECT_THAT(textsOfBatch(plain), ElementsAre("e", "f"));
  EXPECT_THAT(textsOfBatch(list), ElementsAre("g", "h"));
  EXPECT_THAT(textsOfBatch(std::span<BatchItem>(vector)), ElementsAre("a", "b"));
  EXPECT_THAT(textsOfBatch(std::span<const BatchItem>(array).subspan(1)), ElementsAre("d"));
  EXPECT_THAT(textsOfBatch(std::array<BatchItem, 0>()), IsEmpty());
}

TEST_F(BatchListsTest, areAlsoViewsThatEndInTheirOwnWay) {
  const auto made = std::views::iota(0) | std::views::take(2) |
                    std::views::transform([this](int number) { return item(std::to_string(number)); });
  std::vector<BatchItem> items = {item("a"), item("b"), item("c")};
  auto filtered = items | std::views::filter([](const BatchItem& each) { return each.name != "b"; });

  EXPECT_THAT(textsOfBatch(made), ElementsAre("0", "1"));
  EXPECT_THAT(textsOfBatch(filtered), ElementsAre("a", "c"));
}

TEST_F(BatchListsTest, areAlsoListsInBraces) {
  const auto responses = await<Responses>([&](auto done) { send({item("a"), item("b")}, queue, false, {}, done); });
  const auto future = send({item("c"), item("d")}, HTTPBatchMode::serial());

  EXPECT_THAT(summaries(responses), ElementsAre("a", "b"));
  EXPECT_THAT(summaries(future.get()), ElementsAre("c", "d"));
}

TEST_F(BatchListsTest, areCopied) {
  {
    std::vector<BatchItem> items = {item("a", 1)};
    send(items, queue, true, noting(), completion);
    items[0].name = "changed";
  }

  clock.advance(1);

  EXPECT_THAT(textsOf(completion), ElementsAre("a"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "a: a"));
}

TEST_F(BatchListsTest, mayBeAwaitedOutsideOfQueues) {
  const auto serial = send(std::vector{item("a"), item("b")}, false).get();
  const auto parallel = send(std::vector{item("c")}, HTTPBatchMode::parallel()).get();
  const auto empty = send(std::vector<BatchItem>(), HTTPBatchMode::serial()).get();

  EXPECT_THAT(summaries(serial), ElementsAre("a", "b"));
  EXPECT_THAT(summaries(parallel), ElementsAre("c"));
  EXPECT_THAT(empty, IsEmpty());
}

TEST_F(BatchListsTest, tellAnUpdateAlsoInTheFormOfAFuture) {
  const auto responses = send(std::vector{item("a")}, true, noting()).get();

  EXPECT_THAT(summaries(responses), ElementsAre("a"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "a: a"));
}

TEST_F(BatchListsTest, completeAFutureOnTheQueueOfTheCaller) {
  Expectation<std::string> updated;
  Expectation<std::string> completed;

  queue.async([=, this] {
    send(std::vector{item("a")}, true, [=](const auto&, const auto&) {
      updated(DispatchQueue::current()->label());
    }).whenCompleted(queue, [=](const auto& result) { completed(summaries(*result.value()).front()); });
  });

  EXPECT_EQ(completed.wait(), "a");
  EXPECT_EQ(updated.wait(), "BatchTest");
}

velisand::Task<std::vector<std::string>> textsOfBoth(std::vector<BatchItem> items) {
  auto texts = summaries(co_await send(items, false));
  for (auto& text : summaries(co_await send(items, HTTPBatchMode::parallel(2)))) texts.push_back(std::move(text));
  co_return texts;
}

TEST_F(BatchListsTest, mayBeAwaitedByACoroutine) {
  EXPECT_THAT(textsOfBoth({item("a"), item("b")}).get(), ElementsAre("a", "b", "a", "b"));
}

TEST_F(BatchListsTest, sayHowTheyFollowEachOther) {
  EXPECT_TRUE(HTTPBatchMode(true).shouldParallelize());
  EXPECT_FALSE(HTTPBatchMode(false).shouldParallelize());
  EXPECT_FALSE(HTTPBatchMode::serial().shouldParallelize());
  EXPECT_EQ(HTTPBatchMode::parallel(4).atOnce(), 4u);
  EXPECT_EQ(HTTPBatchMode::parallel(0).atOnce(), 1u);
  EXPECT_EQ(HTTPBatchMode::parallel().atOnce(), HTTPBatchMode(true).atOnce());
}

struct PolledItem : DataGetRequestable<PolledItem>, HTTPMockable<PolledItem>, HTTPPolling<PolledItem> {
  std::string name;
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data(name); }
};

TEST_F(BatchListsTest, ofAPollingTypeTellItsHandlersToo) {
  std::vector<PolledItem> items(2);
  items[0].name = "a";
  items[1].name = "b";
  PolledItem::poll([this](const PolledItem& request, const auto&) { recorder.note("heard " + request.name); });

  send(items, queue, false, noting(), completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("a", "b"));
  EXPECT_THAT(recorder.events(), ElementsAre("heard a", "a: a", "heard b", "b: b"));
  PolledItem::stopPolling();
}

struct OwnItem : DataGetRequestable<OwnItem> {
  using DataGetRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    report(Error("Test", 1, "own route"), std::move(queue), std::move(completion));
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(BatchListsTest, honourATypesOwnSend) {
  EXPECT_THAT(textsOfBatch(std::vector<OwnItem>(2)), ElementsAre("own route", "own route"));
}

struct GetFile : DownloadRequestable<GetFile> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

class BatchTransferTest : public TransferTest {};

TEST_F(BatchTransferTest, downloadsEachIntoAFile) {
  server.handleAll([](const testkit::ReceivedRequest& request) { return MockResponse(200).body(request.target); });
  const std::vector<GetFile> requests = {{.url = server.url("/one")}, {.url = server.url("/two")}};

  const auto responses = send(requests, true).get();

  std::vector<std::string> contents;
  for (const auto& response : responses) contents.push_back(contentOf(*response.result.url()));
  EXPECT_THAT(contents, UnorderedElementsAre("/one", "/two"));
}

TEST_F(BatchTransferTest, uploadsEach) {
  server.handleAll([](const testkit::ReceivedRequest& request) { return MockResponse(200).body(request.body); });
  const std::vector<DataUploadRequest> requests(3, DataUploadRequest(server.url("/"), Data("sent")));

  const auto responses = send(requests, HTTPBatchMode::parallel(2)).get();

  EXPECT_THAT(responses, SizeIs(3));
  for (const auto& response : responses) EXPECT_EQ(response.data->text(), "sent");
}

}  // namespace
}  // namespace corvane
