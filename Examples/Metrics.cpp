// What a request did, when, and over which connection; and counters of all requests.
//
//   example_Metrics [URL]

#include <Corvane/Corvane.hpp>
#include <Corvane/Insight/HTTPMetrics.hpp>
#include <Corvane/Insight/HTTPObserver.hpp>
#include <atomic>
#include <cstdio>

using namespace corvane;

double milliseconds(std::chrono::nanoseconds time) { return std::chrono::duration<double, std::milli>(time).count(); }

void print(const TaskMetrics& metrics) {
  for (const TransactionMetrics& each : metrics.transactions) {
    std::printf("%s %s: %d\n", each.method.c_str(), each.url.absoluteString().c_str(), each.statusCode.value_or(0));
    if (each.connect) std::printf("  connected in %.1f ms\n", milliseconds(each.connect->length()));
    if (each.secure) std::printf("  TLS in %.1f ms\n", milliseconds(each.secure->length()));
    if (each.request && each.response)
      std::printf("  the server took %.1f ms\n", milliseconds(each.response->start - each.request->end));
    if (each.connection) {
      const ConnectionMetrics& connection = *each.connection;
      std::printf("  %s to %s\n", connection.protocol.c_str(), connection.remoteAddress.text().c_str());
    }
  }
  std::printf("%d redirects, %.1f ms\n", metrics.redirectCount, milliseconds(metrics.duration));
}

struct Counters : HTTPObserver {
  std::atomic<int> active = 0;
  std::atomic<int> failed = 0;
  std::atomic<std::uint64_t> received = 0;

  void exchangeStarted(const HTTPObservedExchange&) override { ++active; }
  void exchangeEnded(const HTTPObservedExchange&, const std::shared_ptr<const TaskMetrics>& metrics,
                     const Error* error) override {
    --active;
    if (error) ++failed;
    for (const TransactionMetrics& each : metrics->transactions) received += each.bytes.responseBody;
  }
};

int main(int argc, char** argv) {
  const URL url(argc > 1 ? argv[1] : "http://127.0.0.1:8080/redirect/1");
  const auto counters = std::make_shared<Counters>();
  HTTPObserver::setProcessWide(counters);

  try {
    print(*DataGetRequest(url).send().get().metrics);
  } catch (const Error& error) {
    std::fprintf(stderr, "%s\n", error.message().c_str());
    if (const TaskMetrics* metrics = error.metrics()) print(*metrics);
  }
  std::printf("%d active, %d failed, %llu bytes received\n", counters->active.load(), counters->failed.load(),
              static_cast<unsigned long long>(counters->received.load()));
  return counters->failed == 0 ? 0 : 1;
}
