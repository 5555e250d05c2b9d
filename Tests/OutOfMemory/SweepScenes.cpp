#include <array>
#include <memory>
#include <span>
#include <vector>

#include "CorvaneTesting/MockResponse.hpp"
#include "SweepRun.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "Velisand/Task.hpp"

namespace corvane::testkit {

namespace {

struct Record {
  std::int64_t id = 0;
  std::string login;
};

struct Get : DataGetRequestable<Get>, HTTPRequestCancelable<Get> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Sends by itself.
struct OwnGet : DataGetRequestable<OwnGet> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    sendToNetwork(std::move(queue), std::move(completion));
  }
};

struct Retrying : DataGetRequestable<Retrying>, HTTPRequestCancelable<Retrying>, HTTPRetryAttempting<Retrying> {
  static constexpr double retryInterval = 0.001;
  static constexpr std::int64_t retryLimit = 2;
  static constexpr std::int64_t retryDelta = 0;
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Polled : DataGetRequestable<Polled>, HTTPPolling<Polled> {
  static constexpr double pollingRate = 0.001;
  static inline std::string target;
  URL url = URL(target);
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Mocked : DataGetRequestable<Mocked>, HTTPRequestCancelable<Mocked>, HTTPMockable<Mocked> {
  URL url{"https://mock.invalid/"};
  double mockResponseTime = 0;
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<platform::Data> mockResponseData() const { return platform::Data("some bytes of a mock"); }
};

struct MockedRecord : JSONGetRequestable<MockedRecord, Record>, HTTPMockable<MockedRecord> {
  URL url{"https://mock.invalid/"};
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<platform::Data> mockResponseData() const {
    return platform::Data(R"({"id": 7, "login": "somebody with a long name"})");
  }
};

/// What tells the run of a response.
auto told(const SweepRun& run) {
  return [outcomes = run.outcomes()](const auto& response) {
    const FailingAllocations::Exempt exempt;
    outcomes.add(response.result.error() != nullptr);
  };
}

template <class Request>
void sendAndAwait(SweepRun& run, const Request& request) {
  run.attemptAndAwait([&] { request.send(run.queue(), told(run)); });
}

/// A future's value is an outcome, and so is what it throws.
template <class Sending>
void getFuture(SweepRun& run, Sending sending) {
  run.attempt([&] {
    sending().get();
    run.outcomes().add();
  });
}

void completion(SweepRun& run) {
  const DataGetRequest request(run.url("/users/7"));
  sendAndAwait(run, request);
}

void completionOnTheMainQueue(SweepRun& run) {
  const DataGetRequest request(run.url("/users/7"));
  if (!run.attempt([&] { request.send(told(run)); })) return;
  DispatchQueue::main().runUntil([&] { return run.outcomes().count() > 0; });
}

void future(SweepRun& run) {
  const DataGetRequest request(run.url("/users/7"));
  getFuture(run, [&] { return request.send(); });
}

void futureWithCallback(SweepRun& run) {
  run.attemptAndAwait([&] {
    const Future<std::string> future;
    future.whenCompleted(run.queue(), [outcomes = run.outcomes()](const auto&) { outcomes.add(); });
    future.markCompletion(std::string("a text that is too long for its place"));
  });
}

velisand::Task<std::size_t> awaited(URL url) {
  const DataGetRequest request(std::move(url));
  const auto response = co_await request.send();
  co_return response.body.count();
}

void coroutine(SweepRun& run) {
  const URL url = run.url("/users/7");
  getFuture(run, [&] { return awaited(url); });
}

void json(SweepRun& run) {
  const JSONGetRequest<Record> request(run.url("/users/7"));
  sendAndAwait(run, request);
}

void redirect(SweepRun& run) {
  const DataGetRequest request(run.url("/redirect/2"));
  sendAndAwait(run, request);
}

void compressed(SweepRun& run) {
  const DataGetRequest request(run.url("/gzip"));
  sendAndAwait(run, request);
}

void byName(SweepRun& run) {
  const URL numeric = run.url("/users/7");
  const DataGetRequest request(URL("http://localhost:" + std::to_string(numeric.port().value_or(80)) + "/users/7"));
  sendAndAwait(run, request);
}

void retry(SweepRun& run) {
  const Retrying request{.url = run.url("/status/503")};
  run.attemptAndAwait([&] {
    request.sendAttemptingRetry(run.queue(), [outcomes = run.outcomes()](const auto&) { outcomes.add(true); });
  });
}

void retryAsFuture(SweepRun& run) {
  const Retrying request{.url = run.url("/status/503")};
  getFuture(run, [&] { return request.sendAttemptingRetry(); });
}

/// Ticks go on in the background, and one send is made by hand.
void poll(SweepRun& run) {
  Polled::target = run.url("/users/7").absoluteString();
  Polled request;
  const Outcomes ticks;
  run.attemptAndAwait([&] {
    Polled::poll([ticks](const Polled&, const DataResponse&) {
      const FailingAllocations::Exempt exempt;
      ticks.add();
    });
    request.send(run.queue(), told(run));
  });
  run.end();
  if (!Polled::isPolling()) return;
  const int before = ticks.count();
  DispatchQueue::main().runUntil([&] { return ticks.count() > before; }, platform::Seconds::unlimited());
  Polled::stopPolling();
}

void batch(SweepRun& run, HTTPBatchMode mode) {
  const std::vector<DataGetRequest> requests(3, DataGetRequest(run.url("/users/7")));
  run.attemptAndAwait([&] {
    send(requests, run.queue(), mode, {}, [outcomes = run.outcomes()](const std::vector<DataResponse>& responses) {
      const FailingAllocations::Exempt exempt;
      outcomes.add(responses.size() != 3);
    });
  });
}

void parallelBatch(SweepRun& run) { batch(run, HTTPBatchMode::parallel(2)); }
void serialBatch(SweepRun& run) { batch(run, HTTPBatchMode::serial()); }

void batchAsFuture(SweepRun& run) {
  const std::vector<DataGetRequest> requests(3, DataGetRequest(run.url("/users/7")));
  getFuture(run, [&] { return send(requests, HTTPBatchMode::parallel()); });
}

void mock(SweepRun& run) { sendAndAwait(run, Mocked()); }
void delayedMock(SweepRun& run) { sendAndAwait(run, Mocked{.mockResponseTime = 0.001}); }
void jsonMock(SweepRun& run) { sendAndAwait(run, MockedRecord()); }

void download(SweepRun& run) {
  const DownloadGetRequest<URL> request(run.url("/files/report.txt?size=20000"));
  run.attemptAndAwait([&] { request.send(run.queue(), [](const HTTPProgress&) {}, told(run)); });
}

void downloadAsFuture(SweepRun& run) {
  const DownloadGetRequest<URL> request(run.url("/files/report.txt?size=20000"));
  getFuture(run, [&] { return request.send(); });
}

struct RemovedWithMemory {
  void operator()(const TemporaryDirectory* folder) const {
    const FailingAllocations::Exempt exempt;
    delete folder;
  }
};

/// Of 20,000 bytes 12,000 are there when memory runs out.
void resumedDownload(SweepRun& run) {
  const std::unique_ptr<TemporaryDirectory, RemovedWithMemory> owned(new TemporaryDirectory);
  const TemporaryDirectory& folder = *owned;
  const std::string content = generatedBytes(20'000);
  const DownloadGetRequest<URL> request(
      run.url("/files/report.txt?size=20000&cut=12000"),
      HTTPDownloadOptions{.destination = {{.path = (folder / "report.txt").string(), .resumes = true}},
                          .expectedDigest = SHA256Digest::of(std::as_bytes(std::span(content)))});
  try {
    request.send().get();
  } catch (const Error&) {
    run.attemptAndAwait([&] { request.send(run.queue(), [](const HTTPProgress&) {}, told(run)); });
  }
}

void post(SweepRun& run) {
  const DataPostRequest request(run.url("/post"), Data(std::string(20'000, 'x')));
  sendAndAwait(run, request);
}

void upload(SweepRun& run) {
  const DataUploadRequest request(run.url("/post"), Data(std::string(300'000, 'x')));
  run.attemptAndAwait([&] { request.send(run.queue(), [](const HTTPProgress&) {}, told(run)); });
}

void form(SweepRun& run) {
  run.attemptAndAwait([&] {
    const Record record{.id = 7, .login = "somebody with a long name"};
    const DataFormPostRequest request(run.url("/post"), HTTPFormBody::of(record));
    request.send(run.queue(), told(run));
  });
}

/// A body that is made while it is sent, of a value, a file and a function.
void formData(SweepRun& run) {
  run.attemptAndAwait([&] {
    const HTTPBodyProducer producer([piece = 0]() mutable -> std::optional<Data> {
      return piece++ < 5 ? std::optional(Data(std::string(5'000, 'x'))) : std::nullopt;
    });
    const FormDataUploadRequest request(run.url("/post"), {{"title", "a text that is too long for its place"},
                                                           {"file", URL::file("/etc/os-release")},
                                                           {"rows", producer}});
    request.send(run.queue(), [](const HTTPProgress&) {}, told(run));
  });
}

/// The cancellation itself is to succeed, or to throw and then succeed.
template <class Cancelling>
void cancelFor(SweepRun& run, Cancelling cancel) {
  try {
    cancel();
  } catch (...) {
    run.end();
    cancel();
  }
}

void cancelRequest(SweepRun& run) {
  const Get request{.url = run.url("/stall")};
  run.attemptAndAwait([&] {
    request.send(run.queue(), told(run));
    cancelFor(run, [&] { request.cancel(); });
  });
}

void cancelFuture(SweepRun& run) {
  const Get request{.url = run.url("/stall")};
  getFuture(run, [&] {
    auto sent = request.send();
    cancelFor(run, [&] { sent.cancel(); });
    return sent;
  });
}

/// A stop of the caller's, beside that of the future.
void stop(SweepRun& run) {
  const Get request{.url = run.url("/stall")};
  getFuture(run, [&] {
    std::stop_source stop;
    auto sent = request.send({.stop = stop.get_token()});
    cancelFor(run, [&] { stop.request_stop(); });
    return sent;
  });
}

void deadline(SweepRun& run) {
  const Get request{.url = run.url("/stall")};
  getFuture(run, [&] { return request.send({.deadline = 0.01, .connectTimeout = 5}); });
}

void stopOwnSend(SweepRun& run) {
  const OwnGet request{.url = run.url("/stall")};
  getFuture(run, [&] {
    auto sent = request.send();
    cancelFor(run, [&] { sent.cancel(); });
    return sent;
  });
}

void cancelRetry(SweepRun& run) {
  const Retrying request{.url = run.url("/stall")};
  getFuture(run, [&] {
    auto sent = request.sendAttemptingRetry();
    cancelFor(run, [&] { sent.cancel(); });
    return sent;
  });
}

void cancelBatch(SweepRun& run) {
  const std::vector<Get> requests(3, Get{.url = run.url("/stall")});
  getFuture(run, [&] {
    auto sent = send(requests, HTTPBatchMode::parallel());
    cancelFor(run, [&] { sent.cancel(); });
    return sent;
  });
}

void cancelMock(SweepRun& run) {
  const Mocked request{.mockResponseTime = 1000};
  run.attemptAndAwait([&] {
    request.send(run.queue(), told(run));
    cancelFor(run, [&] { request.cancel(); });
  });
}

void cancelDownload(SweepRun& run) {
  const DownloadGetRequest<URL> request(run.url("/stall"));
  getFuture(run, [&] {
    auto sent = request.send();
    cancelFor(run, [&] { sent.cancel(); });
    return sent;
  });
}

void resetDuringSend(SweepRun& run) {
  const DataGetRequest request(run.url("/stall"));
  run.attemptAndAwait([&] {
    request.send(run.queue(), told(run));
    cancelFor(run, [] { Corvane::resetSessions(); });
  });
}

constexpr std::array scenes{
    SweepScene{"completion", completion},
    SweepScene{"main-queue", completionOnTheMainQueue},
    SweepScene{"future", future},
    SweepScene{"future-alone", futureWithCallback},
    SweepScene{"coroutine", coroutine},
    SweepScene{"json", json},
    SweepScene{"redirect", redirect},
    SweepScene{"gzip", compressed},
    SweepScene{"name", byName},
    SweepScene{"retry", retry},
    SweepScene{"retry-future", retryAsFuture},
    SweepScene{"poll", poll},
    SweepScene{"parallel-batch", parallelBatch},
    SweepScene{"serial-batch", serialBatch},
    SweepScene{"batch-future", batchAsFuture},
    SweepScene{"mock", mock},
    SweepScene{"delayed-mock", delayedMock},
    SweepScene{"json-mock", jsonMock},
    SweepScene{"download", download},
    SweepScene{"download-future", downloadAsFuture},
    SweepScene{"download-resumed", resumedDownload},
    SweepScene{"post", post},
    SweepScene{"upload", upload},
    SweepScene{"form", form},
    SweepScene{"form-data", formData},
    SweepScene{"cancel", cancelRequest},
    SweepScene{"cancel-future", cancelFuture},
    SweepScene{"stop", stop},
    SweepScene{"deadline", deadline},
    SweepScene{"stop-own-send", stopOwnSend},
    SweepScene{"cancel-retry", cancelRetry},
    SweepScene{"cancel-batch", cancelBatch},
    SweepScene{"cancel-mock", cancelMock},
    SweepScene{"cancel-download", cancelDownload},
    SweepScene{"reset", resetDuringSend},
};

}  // namespace

const std::vector<SweepScene>& sweepScenes() {
  static const auto& all = *[] {
    auto* const made = new std::vector<SweepScene>(scenes.begin(), scenes.end());
    const auto policies = sweepPolicyScenes();
    made->insert(made->end(), policies.begin(), policies.end());
    return made;
  }();
  return all;
}

}  // namespace corvane::testkit
