// Sends a request again, after a growing wait, until the server answers; and only where that may help.
//
//   example_Retry http://127.0.0.1:8080/flaky/2

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct GetReport : DataGetRequestable<GetReport>, HTTPRetryAttempting<GetReport> {
  URL url = "http://127.0.0.1:8080/flaky/2";

  static constexpr double retryInterval = 0.1;
  static constexpr std::int64_t retryLimit = 4;
  static constexpr std::int64_t retryDelta = 0;
  static HTTPRetryPolicy retryPolicy() {
    return {
        .failures = HTTPRetryPolicy::Failures::transient, .jitter = 0.5, .longestWait = 30, .honorsRetryAfter = true};
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Backs off exponentially.
struct GetPrices : DataGetRequestable<GetPrices>, HTTPRetryAttempting<GetPrices> {
  URL url = "http://127.0.0.1:8080/flaky/2";

  static constexpr std::int64_t retryLimit = 5;
  static constexpr HTTPRetryPolicy retryPolicy = HTTPRetryPolicy::exponential(0.05, 10);
  HTTPHeaders sharedHeaders() const { return {}; }
};

bool show(const HTTPRetryResult<DataResponse>& result) {
  for (const DataResponse& failure : result.failedResponses())
    if (const Error* error = failure.result.error()) std::printf("failed: %s\n", error->message().c_str());
  const DataResponse& last = *result.lastResponse();
  if (const Data* body = last.result.body()) std::printf("received %zu bytes\n", body->count());
  return last.result.isSuccess();
}

int main(int argc, char** argv) {
  GetReport report;
  GetPrices prices;
  if (argc > 1) report.url = URL(argv[1]);
  if (argc > 2) prices.url = URL(argv[2]);

  const bool hasReport = show(report.sendAttemptingRetry().get());
  const bool hasPrices = argc <= 2 || show(prices.sendAttemptingRetry().get());
  return hasReport && hasPrices ? 0 : 1;
}
