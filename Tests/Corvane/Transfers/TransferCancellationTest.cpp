#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "TransferFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

constexpr int times = 100;
constexpr std::uint64_t downloadSize = 1 << 20;
/// Still on its way when the server reads no more of it.
constexpr std::uint64_t muchMoreThanASocketHolds = 32 << 20;

struct Fetch : DownloadRequestable<Fetch>, HTTPRequestCancelable<Fetch> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct SendFile : UploadRequestable<SendFile, DataResponse, URL>, HTTPRequestCancelable<SendFile> {
  URL url;
  URL body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct SendBytes : UploadRequestable<SendBytes, DataResponse>, HTTPRequestCancelable<SendBytes> {
  URL url;
  Data body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// A transfer, and all that it told.
template <class Request>
class Transfer {
 public:
  using Response = typename Request::Response;

  Transfer(Request request, const DispatchQueue& queue) : request_(std::move(request)), queue_(queue) {}

  /// `whenTold` is called with each progress, on the completion queue.
  void send(std::function<void()> whenTold = [] {}) {
    request_.send(
        queue_,
        [this, whenTold = std::move(whenTold)](const HTTPProgress&) {
          if (ended_.isFulfilled()) isToldTooLate_ = true;
          moved_.fulfil();
          whenTold();
        },
        [ended = ended_, moved = moved_](Response response) {
          ended.fulfil(std::move(response));
          moved.fulfil();
        });
  }
  void cancel() const { request_.cancel(); }

  /// Waits until it tells of something.
  void waitUntilItMoves() const { moved_.wait(); }
  Response wait() const { return ended_.wait(); }
  int completions() const { return ended_.count(); }
  bool isToldTooLate() const { return isToldTooLate_; }

 private:
  Request request_;
  DispatchQueue queue_;
  Expectation<void> moved_;
  Expectation<Response> ended_;
  std::atomic<bool> isToldTooLate_ = false;
};

template <class Response>
bool isCancelled(const Response& response) {
  const auto* error = response.result.error();
  const auto* reason = error ? error->template as<HTTPResponseError>() : nullptr;
  return reason && *reason == HTTPResponseError::taskCancelled();
}

void removeFile(const DataResponse&) {}
void removeFile(const DownloadResponse<URL>& response) {
  if (const auto* file = response.result.body())
    std::filesystem::remove_all(std::filesystem::path(file->fileSystemPath()).parent_path());
}

/// Made before the tests' temporary directory becomes the system's, so that it is not in it.
struct DirectoryElsewhere {
  testkit::TemporaryDirectory files;
};

class TransferCancellationTest : protected DirectoryElsewhere, public TransferTest {
 protected:
  TransferCancellationTest() { server.discardBodies(); }

  std::function<Fetch()> fetch() const {
    return [this] { return Fetch{.url = server.url("/")}; };
  }
  std::function<SendFile()> sendFile(std::uint64_t size) const {
    const std::string path = files.write("body", "");
    std::filesystem::resize_file(path, size);
    return [this, path] { return SendFile{.url = server.url("/"), .body = URL::file(path)}; };
  }
  std::function<SendBytes()> sendBytes(std::uint64_t size) const {
    return [this, bytes = Data(std::string(static_cast<std::size_t>(size), 'x'))] {
      return SendBytes{.url = server.url("/"), .body = bytes};
    };
  }

  /// Each is cancelled by another thread when the server stands still inside a body, at another place each time.
  template <class Request>
  void cancelInsideTheBody(Moment moment, std::uint64_t size, const std::function<Request()>& make) {
    for (std::uint64_t i = 0; i < times; ++i) {
      const Latch latch;
      server.enqueue(MockResponse(200).generatedBody(downloadSize).hold(moment, latch, i * size / times));
      Transfer transfer(make(), queue);
      std::thread canceller([&] {
        EXPECT_TRUE(server.waitForStall());
        transfer.cancel();
      });
      transfer.send();
      canceller.join();

      EXPECT_FALSE(endedInOrder(transfer));
      expectNothingLeft();
      latch.open();  // the end of the stream comes after what was sent before
      EXPECT_TRUE(server.waitUntilAllClosed());
    }
  }

  /// Each is cancelled by a thread of its own at some moment, several at a time: when it is sent, when one of them has
  /// reached the server, when it moves, and when the server has all of one.
  template <class Request>
  void cancelAtAnyMoment(const std::function<Request()>& make) {
    server.handleAll([](const auto&) { return MockResponse(200).generatedBody(downloadSize); });
    constexpr int atATime = 10;
    int cancelled = 0;
    for (int round = 0; round < times / atATime; ++round) {
      std::vector<std::unique_ptr<Transfer<Request>>> transfers;
      std::vector<std::thread> cancellers;
      const int heads = server.headCount();
      const int requests = server.requestCount();
      for (int i = 0; i < atATime; ++i) {
        const auto& transfer = transfers.emplace_back(std::make_unique<Transfer<Request>>(make(), queue));
        cancellers.emplace_back([=, this, transfer = transfer.get(), moment = i % 4, spins = round * 10'000] {
          if (moment == 1) {
            EXPECT_TRUE(server.waitUntil([&] { return server.headCount() > heads; }));
          } else if (moment == 2) {
            transfer->waitUntilItMoves();
          } else if (moment == 3) {
            EXPECT_TRUE(server.waitForRequests(requests + 1));
          }
          // Busy work of growing length moves the moment of cancelling through the exchange.
          for (std::atomic<int> spin = 0; spin < spins; ++spin) {
          }
          transfer->cancel();
        });
        transfer->send();
      }
      for (auto& canceller : cancellers) canceller.join();
      for (const auto& transfer : transfers) cancelled += endedInOrder(*transfer) ? 0 : 1;
      expectNothingLeft();
    }
    EXPECT_GT(cancelled, 0);

    Transfer another(make(), queue);
    another.send();
    EXPECT_TRUE(endedInOrder(another));
  }

  /// Each is cancelled where its progress is told.
  template <class Request>
  void cancelFromItsOwnProgress(Moment moment, const std::function<Request()>& make) {
    const Latch latch;
    server.enqueue(MockResponse(200).generatedBody(downloadSize).hold(moment, latch));
    Transfer transfer(make(), queue);

    transfer.send([&] { transfer.cancel(); });

    EXPECT_FALSE(endedInOrder(transfer));
    expectNothingLeft();
    latch.open();
  }

  /// Whether it came to its end, or else was cancelled; once, and with nothing after it.
  template <class Request>
  bool endedInOrder(const Transfer<Request>& transfer) const {
    const auto response = transfer.wait();
    EXPECT_TRUE(isCancelled(response) || response.result.isSuccess()) << response.debugDescription();
    queue.sync([] {});
    EXPECT_EQ(transfer.completions(), 1);
    EXPECT_FALSE(transfer.isToldTooLate());
    removeFile(response);
    return !isCancelled(response);
  }
  void expectNothingLeft() const { EXPECT_EQ(temporary.names(), std::vector<std::string>()); }
};

TEST_F(TransferCancellationTest, endsADownloadAnywhereInsideItsBody) {
  cancelInsideTheBody(Moment::insideBody, downloadSize, fetch());
}

TEST_F(TransferCancellationTest, endsAnUploadOfAFileAnywhereInsideItsBody) {
  cancelInsideTheBody(Moment::insideRequestBody, muchMoreThanASocketHolds / 2, sendFile(muchMoreThanASocketHolds));
}

TEST_F(TransferCancellationTest, endsAnUploadOfBytesAnywhereInsideItsBody) {
  cancelInsideTheBody(Moment::insideRequestBody, muchMoreThanASocketHolds / 2, sendBytes(muchMoreThanASocketHolds));
}

TEST_F(TransferCancellationTest, mayRaceWithTheEndOfADownload) { cancelAtAnyMoment(fetch()); }

TEST_F(TransferCancellationTest, mayRaceWithTheEndOfAnUploadOfAFile) { cancelAtAnyMoment(sendFile(downloadSize)); }

TEST_F(TransferCancellationTest, mayRaceWithTheEndOfAnUploadOfBytes) { cancelAtAnyMoment(sendBytes(downloadSize)); }

TEST_F(TransferCancellationTest, endsADownloadFromItsOwnProgress) {
  cancelFromItsOwnProgress(Moment::insideBody, fetch());
}

TEST_F(TransferCancellationTest, endsAnUploadFromItsOwnProgress) {
  cancelFromItsOwnProgress(Moment::insideRequestBody, sendFile(muchMoreThanASocketHolds));
}

}  // namespace
}  // namespace corvane
