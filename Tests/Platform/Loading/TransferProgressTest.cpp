#include <gmock/gmock.h>

#include "TransferTest.hpp"

namespace platform {
namespace {

using corvane::testkit::generatedBytes;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class TransferProgressTest : public TransferTest {
 protected:
  /// Of a response that comes in three steps: 100 bytes, 100 more, and the rest of 300.
  MockResponse inSteps() {
    return MockResponse(200)
        .generatedBody(300)
        .hold(Moment::insideBody, first, 100)
        .hold(Moment::insideBody, second, 200);
  }
  static void expectInOrder(const std::vector<ProgressLog::Call>& calls) {
    for (std::size_t i = 1; i < calls.size(); ++i) {
      EXPECT_GE(calls[i].completed, calls[i - 1].completed);
      EXPECT_GE(calls[i].fraction, calls[i - 1].fraction);
    }
  }
  URLRequest toServer(std::string method = "GET") { return request(server.url("/"), std::move(method)); }

  Latch first;
  Latch second;
};

TEST_F(TransferProgressTest, ofADownloadTellsEachStepWithItsByteCounts) {
  server.enqueue(inSteps());
  Download download(session, toServer());
  const ProgressLog log(download.task());
  download.resume();

  ASSERT_TRUE(log.waitFor(100));
  first.open();
  ASSERT_TRUE(log.waitFor(200));
  second.open();
  EXPECT_FALSE(download.wait().error);

  const auto calls = log.calls();
  ASSERT_THAT(calls, SizeIs(3));
  for (const std::size_t i : {0u, 1u, 2u}) {
    const auto completed = static_cast<std::int64_t>(100 * (i + 1));
    EXPECT_EQ(calls[i].completed, completed);
    EXPECT_EQ(calls[i].total, 300);
    EXPECT_DOUBLE_EQ(calls[i].fraction, static_cast<double>(completed) / 300);
    EXPECT_EQ(calls[i].completedBytes, AnyValue(completed));
    EXPECT_EQ(calls[i].totalBytes, AnyValue(300));
  }
}

TEST_F(TransferProgressTest, ofADataTaskCountsTheResponse) {
  server.enqueue(MockResponse(200).body("12345"));
  Load load(session, request(server.url("/"), "POST", Data("not counted")));
  const ProgressLog log(load.task());

  load.resume().wait();

  EXPECT_EQ(log.last().completed, 5);
  EXPECT_EQ(log.last().total, 5);
}

TEST_F(TransferProgressTest, withoutATotalHasNoFractionUntilItIsDone) {
  server.enqueue(
      MockResponse(200).chunked({generatedBytes(100), generatedBytes(200)}).hold(Moment::insideBody, first, 105));
  Download download(session, toServer());
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(100));

  const ProgressLog::Call before = log.last();
  first.open();
  EXPECT_FALSE(download.wait().error);

  EXPECT_EQ(before.total, Progress::unknownCount);
  EXPECT_EQ(before.fraction, 0);
  EXPECT_EQ(before.completedBytes, AnyValue(100));
  EXPECT_EQ(before.totalBytes, std::nullopt);
  EXPECT_EQ(log.last().completed, 300);
  EXPECT_EQ(log.last().total, 300);
  EXPECT_EQ(log.last().totalBytes, AnyValue(300));
  EXPECT_EQ(log.last().fraction, 1);
}

TEST_F(TransferProgressTest, ofAnEmptyBodyIsToldOnceAtItsEnd) {
  for (const MockResponse& empty : {MockResponse(200), MockResponse(204), MockResponse(200).untilClose()}) {
    server.enqueue(empty);
    Download download(session, toServer());
    const ProgressLog log(download.task());

    EXPECT_FALSE(download.resume().wait().error);

    ASSERT_THAT(log.calls(), SizeIs(1));
    EXPECT_EQ(log.last().completed, 0);
    EXPECT_EQ(log.last().total, 0);
    EXPECT_EQ(log.last().fraction, 1);
  }
}

TEST_F(TransferProgressTest, endsWithAFractionOfOneBeforeTheCompletionAndIsQuietAfterIt) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).generatedBody(4 << 20); });
  for (int round = 0; round < 10; ++round) {
    auto told = std::make_shared<std::atomic<int>>(0);
    auto toldAtCompletion = std::make_shared<std::atomic<int>>(-1);
    auto fraction = std::make_shared<std::atomic<double>>(-1);
    auto done = std::make_shared<std::promise<void>>();
    const auto task = session->downloadTask(toServer(), [=](auto, auto, auto) {
      toldAtCompletion->store(told->load());
      done->set_value();
    });
    const ProgressObservation observation = task->progress()->observe([=](const auto& progress) {
      ++*told;
      fraction->store(progress->fractionCompleted());
    });
    task->resume();
    done->get_future().get();
    load("/");  // the loop has gone on meanwhile

    EXPECT_EQ(fraction->load(), 1);
    EXPECT_EQ(toldAtCompletion->load(), told->load());
  }
}

TEST_F(TransferProgressTest, tellsLaterWhatItHeldBack) {
  // Many pieces in a moment, and then nothing: what was held back has to be told without a further byte.
  server.enqueue(MockResponse(200).generatedBody(8 << 20).hold(Moment::insideBody, first, (8 << 20) - 1));
  Download download(session, toServer());
  const ProgressLog log(download.task());
  download.resume();

  EXPECT_TRUE(log.waitFor((8 << 20) - 1));
  EXPECT_FALSE(download.isDone());

  first.open();
  EXPECT_FALSE(download.wait().error);
  expectInOrder(log.calls());
}

TEST_F(TransferProgressTest, isToldOnceInEachIntervalAndAtTheEnd) {
  using Clock = std::chrono::steady_clock;
  server.enqueue(MockResponse(200).generatedBody(64 << 20));
  Download download(session, toServer());
  const ProgressLog log(download.task());
  const auto begin = Clock::now();

  EXPECT_FALSE(download.resume().wait().error);

  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
  // The first, one in each interval, and the end; and the loop looks at the clock once in an iteration, which may be
  // long.
  EXPECT_LE(log.calls().size(), static_cast<std::size_t>(took / 50) + 3);
  EXPECT_EQ(log.last().completed, 64 << 20);
  expectInOrder(log.calls());
}

TEST_F(TransferProgressTest, ofAnUploadCountsWhatWasSent) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("a response that is not counted"); });
  for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 70'000, 4 << 20}) {
    const auto count = static_cast<std::int64_t>(size);
    Upload fromMemory(session, toServer("POST"), Data(generatedBytes(size)));
    Upload fromFile(session, toServer("POST"), file("body", generatedBytes(size)));
    for (Upload* upload : {&fromMemory, &fromFile}) {
      const ProgressLog log(upload->task());
      EXPECT_EQ(upload->resume().wait().status(), 200);
      ASSERT_FALSE(log.calls().empty());
      EXPECT_EQ(log.last().completed, count);
      EXPECT_EQ(log.last().total, count);
      EXPECT_EQ(log.last().totalBytes, AnyValue(count));
      EXPECT_EQ(log.last().fraction, 1);
      expectInOrder(log.calls());
    }
  }
}

TEST_F(TransferProgressTest, ofAnUploadIsNotDoneBeforeTheServerReadsOn) {
  constexpr std::size_t size = 64 << 20;  // more than the buffers of any socket
  server.discardBodies();
  server.enqueue(MockResponse(200).hold(Moment::insideRequestBody, first, 1));
  Upload upload(session, toServer("POST"), Data(generatedBytes(size)));
  const ProgressLog log(upload.task());
  upload.resume();

  ASSERT_TRUE(log.waitFor(1));
  ASSERT_TRUE(server.waitForStall());
  EXPECT_LT(log.last().fraction, 1);
  first.open();

  EXPECT_EQ(upload.wait().status(), 200);
  EXPECT_EQ(log.last().fraction, 1);
  expectInOrder(log.calls());
}

TEST_F(TransferProgressTest, ofAnUploadThatIsRedirectedDoesNotGoBack) {
  for (const int status : {307, 303}) {
    server.enqueue(MockResponse(status).header("Location", "/next"));
    server.enqueue(MockResponse(200).body("done"));
    Upload upload(session, toServer("PUT"), file("body", generatedBytes(4 << 20)));
    const ProgressLog log(upload.task());

    EXPECT_EQ(upload.resume().wait().body(), "done");

    expectInOrder(log.calls());
    EXPECT_EQ(log.last().completed, 4 << 20);
    EXPECT_EQ(log.last().total, 4 << 20);
  }
}

TEST_F(TransferProgressTest, ofADownloadDoesNotCountTheBodiesOfRedirects) {
  server.enqueue(MockResponse(302).header("Location", "/next").body(std::string(20'000, 'r')));
  server.enqueue(MockResponse(200).body("12345"));
  Download download(session, toServer());
  const ProgressLog log(download.task());

  EXPECT_FALSE(download.resume().wait().error);

  ASSERT_THAT(log.calls(), SizeIs(1));
  EXPECT_EQ(log.last().completed, 5);
}

TEST_F(TransferProgressTest, ofADownloadThatFailsIsNotDone) {
  server.enqueue(MockResponse(200).generatedBody(1000).dropConnection(Moment::insideBody));
  Download download(session, toServer());
  const ProgressLog log(download.task());

  EXPECT_TRUE(download.resume().wait().error);

  for (const auto& call : log.calls()) EXPECT_LT(call.fraction, 1);
}

TEST_F(TransferProgressTest, ofATaskThatIsCancelledIsQuietAfterwards) {
  server.enqueue(inSteps());
  Download download(session, toServer());
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(100));

  download.cancel();
  download.wait();

  EXPECT_THAT(log.calls(), SizeIs(1));
}

TEST_F(TransferProgressTest, anObservationThatIsInvalidatedHearsNothingMore) {
  server.enqueue(inSteps());
  Download download(session, toServer());
  ProgressLog log(download.task());
  const ProgressLog other(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(100));

  log.observation().invalidate();
  first.open();
  ASSERT_TRUE(other.waitFor(200));
  second.open();
  EXPECT_FALSE(download.wait().error);

  EXPECT_THAT(log.calls(), SizeIs(1));
  EXPECT_THAT(other.calls(), SizeIs(3));
}

TEST_F(TransferProgressTest, thatIsAskedForAfterTheEndKnowsIt) {
  server.enqueue(inSteps());
  Load load(session, toServer());
  load.resume();
  ASSERT_TRUE(server.waitForStall());
  second.open();
  first.open();
  EXPECT_FALSE(load.wait().error);

  const auto progress = load.task().progress();

  EXPECT_EQ(progress->completedUnitCount(), 300);
  EXPECT_EQ(progress->totalUnitCount(), 300);
  EXPECT_EQ(progress->fractionCompleted(), 1);
  EXPECT_EQ(progress->userInfo(ProgressKey::byteTotalCount), AnyValue(300));
}

TEST_F(TransferProgressTest, anObserverThatComesLateHearsTheRest) {
  server.enqueue(inSteps());
  Download download(session, toServer());
  const ProgressLog early(download.task());
  download.resume();
  ASSERT_TRUE(early.waitFor(100));

  const ProgressLog late(download.task());
  EXPECT_THAT(late.calls(), IsEmpty());
  EXPECT_EQ(download.task().progress()->completedUnitCount(), 100);
  first.open();
  second.open();
  EXPECT_FALSE(download.wait().error);

  EXPECT_EQ(late.last().fraction, 1);
}

TEST_F(TransferProgressTest, outlivesItsTask) {
  server.enqueue(MockResponse(200).body("12345"));
  std::shared_ptr<Progress> progress;
  {
    Download download(session, toServer());
    progress = download.task().progress();
    download.resume().wait();
  }

  EXPECT_EQ(progress->completedUnitCount(), 5);
}

TEST_F(TransferProgressTest, anObserverMayCancelTheTask) {
  server.enqueue(inSteps());
  Download download(session, toServer());
  const ProgressObservation observation =
      download.task().progress()->observe([&](const std::shared_ptr<Progress>&) { download.cancel(); });

  EXPECT_EQ(download.resume().wait().code(), URLErrorCode::cancelled);
  EXPECT_THAT(leftovers(), IsEmpty());
}

}  // namespace
}  // namespace platform
