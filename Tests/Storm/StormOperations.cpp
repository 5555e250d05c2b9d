#include "StormOperations.hpp"

#include <array>
#include <vector>

namespace corvane::testkit {

namespace {

struct Get : DataGetRequestable<Get>, HTTPRequestCancelable<Get> {
  URL url;
  double timeoutInterval = 60;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Retrying : DataGetRequestable<Retrying>, HTTPRetryAttempting<Retrying> {
  static constexpr double retryInterval = 0.001;
  static constexpr std::int64_t retryLimit = 1;
  static constexpr std::int64_t retryDelta = 0;
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Polled : DataGetRequestable<Polled>, HTTPPolling<Polled> {
  static constexpr double pollingRate = 0.01;
  // A tick's own request is refused, which is an outcome, too.
  URL url{"/"};
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Mocked : DataGetRequestable<Mocked>, HTTPMockable<Mocked> {
  static constexpr double mockResponseTime = 0.001;
  URL url{"https://mock.invalid/"};
  HTTPHeaders sharedHeaders() const { return {}; }
};

}  // namespace

void StormOperation::tell() {
  if (outcomes_.fetch_add(1) == 0) ended_ = Clock::now();
}

std::uint64_t StormThread::next() {
  random_ = random_ * 6364136223846793005U + 1442695040888963407U;
  return random_ >> 33;
}

void StormThread::end(Operation& operation) {
  operation.tell();
  // Of a second outcome, which is an error of the library, the room was given back already.
  if (operation.outcomes() == 1) room_.signal();
}

void StormThread::run(int count) {
  for (int i = 0; i < count; ++i) {
    room_.wait();
    begin();
  }
  for (int i = 0; i < atOnce; ++i) room_.wait();
}

void StormThread::begin() {
  using Kind = void (StormThread::*)();
  // What is common comes often; each reset cancels whatever is under way.
  static constexpr std::array<Kind, 27> kinds{
      &StormThread::send,
      &StormThread::send,
      &StormThread::send,
      &StormThread::send,
      &StormThread::get,
      &StormThread::get,
      &StormThread::cancel,
      &StormThread::cancel,
      &StormThread::cancelFuture,
      &StormThread::cancelFuture,
      &StormThread::stop,
      &StormThread::endByDeadline,
      &StormThread::endByDeadline,
      &StormThread::retry,
      &StormThread::retry,
      &StormThread::cancelRetry,
      &StormThread::parallelBatch,
      &StormThread::parallelBatch,
      &StormThread::serialBatch,
      &StormThread::poll,
      &StormThread::mock,
      &StormThread::mock,
      &StormThread::download,
      &StormThread::post,
      &StormThread::cancelConnecting,
      &StormThread::timeOutConnecting,
      &StormThread::reset,
  };
  (this->*kinds[next() % kinds.size()])();
}

void StormThread::send() { DataGetRequest(url("/users/7")).send(queue_, ending(operation("send"))); }

void StormThread::get() {
  Operation& own = operation("get");
  const auto result = DataGetRequest(url("/users/7")).send().result();
  static_cast<void>(result);
  end(own);
}

void StormThread::cancel() {
  const Get request{.url = url(next() % 2 == 0 ? "/stall" : "/users/7")};
  request.send(queue_, ending(operation("cancel")));
  request.cancel();
}

void StormThread::cancelFuture() {
  const auto future = Get{.url = url(next() % 2 == 0 ? "/stall" : "/users/7")}.send();
  future.whenCompleted(queue_, ending(operation("cancel a future")));
  future.cancel();
}

void StormThread::stop() {
  std::stop_source stop;
  Get{.url = url(next() % 2 == 0 ? "/stall" : "/users/7")}.send({.queue = queue_, .stop = stop.get_token()},
                                                                ending(operation("stop")));
  stop.request_stop();
}

void StormThread::endByDeadline() {
  const double deadline = next() % 2 == 0 ? 0.001 : 0.02;
  Get{.url = url("/stall")}.send({.queue = queue_, .deadline = deadline}, ending(operation("end by a deadline")));
}

void StormThread::cancelConnecting() {
  const Get request{.url = URL(targets_.silent)};
  request.send(queue_, ending(operation("cancel while connecting")));
  request.cancel();
}

void StormThread::timeOutConnecting() {
  Get{.url = URL(targets_.silent), .timeoutInterval = 0.2}.send(queue_, ending(operation("time out while connecting")));
}

void StormThread::retry() {
  Retrying{.url = url("/status/503")}.sendAttemptingRetry(queue_, ending(operation("retry")));
}

void StormThread::cancelRetry() {
  const auto future = Retrying{.url = url("/stall")}.sendAttemptingRetry();
  future.whenCompleted(queue_, ending(operation("cancel a retry")));
  future.cancel();
}

void StormThread::parallelBatch() {
  const std::vector<DataGetRequest> requests(4, DataGetRequest(url("/users/7")));
  corvane::send(requests, queue_, HTTPBatchMode::parallel(), {}, ending(operation("parallel batch")));
}

void StormThread::serialBatch() {
  const std::vector<DataGetRequest> requests(3, DataGetRequest(url("/users/7")));
  corvane::send(requests, queue_, HTTPBatchMode::serial(), {}, ending(operation("serial batch", true)));
}

void StormThread::poll() {
  Polled::poll();
  Polled{.url = url("/users/7")}.send(queue_, ending(operation("poll")));
  Polled::stopPolling();
}

void StormThread::mock() { Mocked().send(queue_, ending(operation("mock"))); }

void StormThread::download() {
  DownloadGetRequest(url("/files/report.txt?size=50000"))
      .send(queue_, [](const HTTPProgress&) {}, ending(operation("download")));
}

void StormThread::post() {
  DataPostRequest(url("/post"), Data(std::string(50'000, 'x'))).send(queue_, ending(operation("post")));
}

void StormThread::reset() {
  Operation& own = operation("reset");
  Corvane::resetSessions();
  end(own);
}

}  // namespace corvane::testkit
