#include "Platform/Loading/Internal/MetricsRecord.hpp"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "Platform/Metrics/LoggableURL.hpp"

namespace platform::detail {

using networking::ConnectionTimes;
using networking::ExchangeMetrics;
using networking::TimePoint;

namespace {

/// The phases of one transaction as the time since the start of its task.
class Phases {
 public:
  Phases(TimePoint task, const ExchangeMetrics& exchange) : task_(task), exchange_(exchange) {}

  MetricsInterval whole() const { return {since(exchange_.begun), since(exchange_.ended)}; }
  /// What had begun before, for another one, counts from the beginning of the transaction.
  std::optional<MetricsInterval> operator()(TimePoint start, TimePoint end) const {
    if (start == TimePoint()) return std::nullopt;
    if (end == TimePoint()) end = exchange_.ended;
    if (start < exchange_.begun && end <= exchange_.begun) return std::nullopt;
    return MetricsInterval{since(std::max(start, exchange_.begun)), since(end)};
  }

 private:
  std::chrono::nanoseconds since(TimePoint moment) const { return moment - task_; }

  const TimePoint task_;
  const ExchangeMetrics& exchange_;
};

/// Made when the first task begins.
const std::shared_ptr<const TaskMetrics>& metricsOfNothing() {
  static const auto& nothing = *new auto(std::make_shared<const TaskMetrics>());
  return nothing;
}

}  // namespace

void MetricsRecord::begin(TimePoint now) {
  static_cast<void>(metricsOfNothing());
  begun_ = now;
  start_ = std::chrono::system_clock::now();
  hasBegun_ = true;
}

TaskMetrics& MetricsRecord::metrics() {
  if (!metrics_) {
    metrics_ = std::make_shared<TaskMetrics>();
    metrics_->start = start_;
  }
  return *metrics_;
}

void MetricsRecord::addRedirect() {
  cause_ = TransactionMetrics::Cause::redirect;
  if (hasBegun_) ++metrics().redirectCount;
}

TransactionMetrics MetricsRecord::transaction(const ExchangeMetrics& exchange, const URLRequest& request) const {
  const Phases phase(begun_, exchange);
  const ConnectionTimes& connecting = exchange.connecting;
  return {.cause = cause_,
          .url = loggableURL(request.url),
          .method = request.httpMethod,
          .statusCode = std::nullopt,
          .time = phase.whole(),
          .nameLookUp = phase(connecting.lookUpBegun, connecting.nameResolved),
          .connect = phase(connecting.connectBegun, connecting.connected),
          .secure = phase(connecting.secureBegun, connecting.secured),
          .request = phase(exchange.requestBegun, exchange.requestEnded),
          .response = phase(exchange.headReceived, exchange.ended),
          .connection = exchange.connection,
          .isConnectionReused = exchange.isConnectionReused,
          .bytes = {.requestHead = exchange.headBytesSent,
                    .requestBody = exchange.bodyBytesSent,
                    .responseHead = exchange.headBytesReceived,
                    .responseBody = exchange.bodyBytesReceived,
                    .decodedBody = 0}};
}

void MetricsRecord::add(const networking::Exchange& exchange, const URLRequest& request,
                        const LoadFacts& facts) noexcept {
  if (!hasBegun_ || exchange.metrics().begun == TimePoint()) return;
  try {
    auto& transactions = metrics().transactions;
    for (const networking::FailedAttempt& attempt : exchange.failedAttempts()) {
      transactions.push_back(transaction(attempt.metrics, request));
      cause_ = attempt.wasNotProcessed ? TransactionMetrics::Cause::notProcessed
                                       : TransactionMetrics::Cause::brokenConnection;
    }
    TransactionMetrics last = transaction(exchange.metrics(), request);
    last.statusCode = facts.statusCode;
    last.bytes.decodedBody = facts.decodedBytes;
    transactions.push_back(std::move(last));
  } catch (...) {
    // The outcome of the task must not depend on who measures it.
    return;
  }
}

void MetricsRecord::addFromCache(TimePoint now, const URLRequest& request, int statusCode,
                                 std::uint64_t bodyBytes) noexcept {
  if (!hasBegun_) return;
  try {
    const MetricsInterval moment{now - begun_, now - begun_};
    metrics().transactions.push_back({.cause = cause_,
                                      .isFromCache = true,
                                      .url = loggableURL(request.url),
                                      .method = request.httpMethod,
                                      .statusCode = statusCode,
                                      .time = moment,
                                      .bytes = {.decodedBody = bodyBytes}});
  } catch (...) {
    // As in `add`.
    return;
  }
}

std::shared_ptr<const TaskMetrics> MetricsRecord::take(TimePoint now) noexcept {
  if (!std::exchange(hasBegun_, false)) return nullptr;
  try {
    metrics().duration = now - begun_;
  } catch (const std::bad_alloc&) {
    return metricsOfNothing();
  }
  return std::exchange(metrics_, nullptr);
}

}  // namespace platform::detail
