#include <functional>

#include "BatchFixture.hpp"

// Who does not want to know may give no completion: an empty one is not called.

namespace corvane {
namespace {

using corvane::testkit::Expectation;

struct Retried : DataGetRequestable<Retried>, HTTPMockable<Retried>, HTTPRetryAttempting<Retried> {
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryLimit = 1;
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Polled : DataGetRequestable<Polled>, HTTPMockable<Polled>, HTTPPolling<Polled> {
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
/// Deliveries pass through a queue that tells of each when it is over.
class EmptyCompletionTest : public ::testing::Test {
 protected:
  const Expectation<void> delivered;
  const DispatchQueue queue{"EmptyCompletionTest", [delivered = delivered](platform::Block drain) {
                              drain();
                              delivered();
                            }};
};

TEST_F(EmptyCompletionTest, isNotCalledByAMock) {
  BatchItem().send(queue, nullptr);

  delivered.wait();
}

TEST_F(EmptyCompletionTest, mayBeAnEmptyFunctionOfAnyKind) {
  BatchItem().send(queue, std::function<void(DataResponse)>());
  delivered.wait();
  BatchItem().send(queue, static_cast<void (*)(DataResponse)>(nullptr));
  delivered.waitForAll(2);
  Retried().sendAttemptingRetry(queue, std::function<void(HTTPRetryResult<DataResponse>)>());
  delivered.waitForAll(3);
  const std::function<void(const BatchItem&, const DataResponse&)> noUpdate;
  const Expectation<void> done;
  send(std::vector<BatchItem>(1), queue, true, noUpdate, [=](const auto&) { done(); });
  done.wait();
}

TEST_F(EmptyCompletionTest, isNotCalledByARetry) {
  Retried().sendAttemptingRetry(queue, nullptr);

  delivered.wait();
}

TEST_F(EmptyCompletionTest, isNotCalledByAPoll) {
  Polled().send(queue, nullptr);

  delivered.wait();
}

TEST_F(EmptyCompletionTest, isNotCalledByABatchOfNothing) {
  send(std::vector<BatchItem>(), queue, false, {}, nullptr);

  delivered.wait();
}

TEST_F(EmptyCompletionTest, isNotCalledByABatch) {
  const Expectation<void> answered;
  const auto update = [=](const BatchItem&, const DataResponse&) { answered(); };

  send(std::vector<BatchItem>(1), queue, true, update, nullptr);

  answered.wait();
  queue.sync([] {});  // the delivery of the response, which brings on that of the list
  queue.sync([] {});
}

}  // namespace
}  // namespace corvane
