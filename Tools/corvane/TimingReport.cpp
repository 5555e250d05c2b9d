#include "TimingReport.hpp"

#include <Corvane/Corvane.hpp>
#include <Corvane/Insight/HTTPMetrics.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "ReportedValues.hpp"

using namespace corvane;

namespace {

struct ReportedInterval {
  SixDigits start;
  SixDigits end;
};

struct ReportedConnection {
  std::string protocol;
  std::string localAddress;
  std::string remoteAddress;
  OrNull<std::string> tlsVersion;
  OrNull<std::string> tlsCipher;
  bool isTLSResumed;
};

struct ReportedBytes {
  std::uint64_t requestHead;
  std::uint64_t requestBody;
  std::uint64_t responseHead;
  std::uint64_t responseBody;
  OrNull<std::uint64_t> decodedBody;
};

struct ReportedTransaction {
  std::string cause;
  std::string method;
  std::string url;
  OrNull<int> status;
  ReportedInterval time;
  OrNull<ReportedInterval> name;
  OrNull<ReportedInterval> connect;
  OrNull<ReportedInterval> tls;
  OrNull<ReportedInterval> request;
  OrNull<ReportedInterval> response;
  OrNull<ReportedConnection> connection;
  bool isConnectionReused;
  ReportedBytes bytes;
};

struct ReportedTask {
  /// Since 1970, by the clock on the wall.
  SixDigits start;
  SixDigits seconds;
  int redirects;
  std::vector<ReportedTransaction> transactions;
};

struct ReportedTiming {
  std::vector<ReportedTask> timing;
};

template <class Duration>
SixDigits seconds(Duration duration) {
  return {std::chrono::duration<double>(duration).count()};
}

ReportedInterval reported(const MetricsInterval& interval) {
  return {.start = seconds(interval.start), .end = seconds(interval.end)};
}

OrNull<ReportedInterval> reported(const std::optional<MetricsInterval>& interval) {
  if (!interval) return std::monostate();
  return reported(*interval);
}

OrNull<std::string> textOrNull(const std::string& text) {
  if (text.empty()) return std::monostate();
  return text;
}

OrNull<ReportedConnection> reported(const ConnectionMetrics* connection) {
  if (!connection) return std::monostate();
  return ReportedConnection{.protocol = connection->protocol,
                            .localAddress = inUTF8(connection->localAddress.text()),
                            .remoteAddress = inUTF8(connection->remoteAddress.text()),
                            .tlsVersion = textOrNull(connection->tlsVersion),
                            .tlsCipher = textOrNull(connection->tlsCipher),
                            .isTLSResumed = connection->isTLSResumed};
}

const char* nameOf(TransactionMetrics::Cause cause) {
  switch (cause) {
    case TransactionMetrics::Cause::request:
      return "request";
    case TransactionMetrics::Cause::redirect:
      return "redirect";
    case TransactionMetrics::Cause::brokenConnection:
      return "brokenConnection";
    case TransactionMetrics::Cause::notProcessed:
      return "notProcessed";
    case TransactionMetrics::Cause::expectationRefused:
      return "expectationRefused";
    case TransactionMetrics::Cause::downloadRestarted:
      return "downloadRestarted";
    case TransactionMetrics::Cause::networkChanged:
      return "networkChanged";
    case TransactionMetrics::Cause::notConfirmed:
      return "notConfirmed";
    case TransactionMetrics::Cause::proxyChallenge:
      return "proxyChallenge";
  }
  return "";
}

ReportedTransaction reported(const TransactionMetrics& transaction) {
  const TransactionBytes& bytes = transaction.bytes;
  return {.cause = nameOf(transaction.cause),
          .method = transaction.method,
          .url = transaction.url.absoluteString(),
          .status = orNull(transaction.statusCode),
          .time = reported(transaction.time),
          .name = reported(transaction.nameLookUp),
          .connect = reported(transaction.connect),
          .tls = reported(transaction.secure),
          .request = reported(transaction.request),
          .response = reported(transaction.response),
          .connection = reported(transaction.connection.get()),
          .isConnectionReused = transaction.isConnectionReused,
          .bytes = {.requestHead = bytes.requestHead,
                    .requestBody = bytes.requestBody,
                    .responseHead = bytes.responseHead,
                    .responseBody = bytes.responseBody,
                    .decodedBody = orNull(bytes.decodedBody)}};
}

ReportedTask reported(const TaskMetrics& metrics) {
  ReportedTask task{.start = seconds(metrics.start.time_since_epoch()),
                    .seconds = seconds(metrics.duration),
                    .redirects = metrics.redirectCount,
                    .transactions = {}};
  for (const TransactionMetrics& transaction : metrics.transactions) task.transactions.push_back(reported(transaction));
  return task;
}

}  // namespace

std::vector<std::shared_ptr<const TaskMetrics>> metricsOf(const FinishedExchange& exchange) {
  std::vector<std::shared_ptr<const TaskMetrics>> all;
  for (const FailedAttempt& failure : exchange.failures) all.push_back(failure.metrics);
  all.push_back(exchange.response.metrics);
  return all;
}

std::string timingReport(const FinishedExchange& exchange) {
  ReportedTiming report;
  for (const auto& metrics : metricsOf(exchange)) {
    if (metrics) report.timing.push_back(reported(*metrics));
  }
  return std::string(JSONEncoder().encode(report).view());
}
