#include "RetryFixture.hpp"

namespace corvane {
namespace {

struct TriedDownload : DownloadRequestable<TriedDownload, std::string>, HTTPRetryAttempting<TriedDownload> {
  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 2;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, tellsOfTheProgressOfEachAttemptOnTheQueueOfTheCompletion) {
  failWith("a0");
  succeedWith("the file");
  testkit::Expectation<std::int64_t> counts;
  testkit::Expectation<HTTPRetryResult<DownloadResponse<std::string>>> completion;

  TriedDownload{.url = server.url("/")}.sendAttemptingRetry({.queue = queue,
                                                             .progress =
                                                                 [this, counts](const HTTPProgress& progress) {
                                                                   EXPECT_TRUE(queue.isCurrent());
                                                                   counts(progress.completedBytes());
                                                                 }},
                                                            completion);
  letPass(1);

  EXPECT_EQ(completion.wait().failCount(), 1);
  EXPECT_EQ(counts.waitForAll(2), (std::vector<std::int64_t>{2, 8}));
}

TEST_F(RetryTest, tellsOfNoProgressOnceTheCompletionWasCalled) {
  succeedWith("the file");
  const auto held = std::make_shared<int>(1);
  testkit::Expectation<HTTPRetryResult<DownloadResponse<std::string>>> completion;

  TriedDownload{.url = server.url("/")}.sendAttemptingRetry(
      {.queue = queue, .progress = [held](const HTTPProgress&) {}}, completion);

  completion.wait();
  queue.sync([] {});
  for (int look = 0; look < 1000 && held.use_count() > 1; ++look) std::this_thread::yield();
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace corvane
