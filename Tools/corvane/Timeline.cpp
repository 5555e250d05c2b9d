#include "Timeline.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>

using namespace corvane;
using std::chrono::nanoseconds;

namespace {

using Kind = TimelinePhase::Kind;

const char* reason(TransactionMetrics::Cause cause) {
  switch (cause) {
    case TransactionMetrics::Cause::request:
    case TransactionMetrics::Cause::redirect:
      return "";
    case TransactionMetrics::Cause::brokenConnection:
      return "again, since the connection broke";
    case TransactionMetrics::Cause::notProcessed:
      return "again, since the server did not process it";
    case TransactionMetrics::Cause::expectationRefused:
      return "again, without Expect";
    case TransactionMetrics::Cause::downloadRestarted:
      return "again, for the whole file";
    case TransactionMetrics::Cause::networkChanged:
      return "again, since the network changed";
    case TransactionMetrics::Cause::notConfirmed:
      return "again, whole: the stored response was not confirmed";
    case TransactionMetrics::Cause::proxyChallenge:
      return "again, with what the proxy asked for";
  }
  return "";
}

void append(std::string& text, const std::string& part) {
  if (part.empty()) return;
  if (!text.empty()) text += ", ";
  text += part;
}

std::string facts(const TransactionMetrics& transaction) {
  std::string text = transaction.statusCode ? std::to_string(*transaction.statusCode) : "no response";
  append(text, reason(transaction.cause));
  if (!transaction.connection) return text;
  const ConnectionMetrics& connection = *transaction.connection;
  append(text, connection.protocol);
  append(text, connection.tlsVersion);
  if (connection.isTLSResumed && !transaction.isConnectionReused) append(text, "resumed");
  const std::string kind = transaction.isConnectionReused ? "reused connection" : "new connection";
  append(text, kind + " to " + connection.remoteAddress.text());
  return text;
}

std::vector<TimelinePhase> phases(const TransactionMetrics& transaction, nanoseconds offset) {
  std::vector<TimelinePhase> found;
  const auto add = [&](Kind kind, const std::optional<MetricsInterval>& interval) {
    if (interval) found.push_back({kind, offset + interval->start, offset + interval->end});
  };
  add(Kind::name, transaction.nameLookUp);
  add(Kind::connect, transaction.connect);
  add(Kind::tls, transaction.secure);
  add(Kind::request, transaction.request);
  const nanoseconds begun = offset + transaction.time.start;
  const nanoseconds first = found.empty() ? offset + transaction.time.end : found.front().start;
  found.insert(found.begin(), {Kind::queue, begun, first});
  if (transaction.request) {
    const nanoseconds end = transaction.response ? transaction.response->start : transaction.time.end;
    found.push_back({Kind::wait, offset + transaction.request->end, offset + end});
  }
  add(Kind::response, transaction.response);
  // What would be shown as 0.00 ms.
  std::erase_if(found,
                [](const TimelinePhase& phase) { return phase.end - phase.start < std::chrono::microseconds(5); });
  return found;
}

/// The clock on the wall tells how attempts follow each other; none begins before the last one ended.
nanoseconds offsetOf(const TaskMetrics& attempt, const TaskMetrics& first, nanoseconds before) {
  return std::max(before, std::chrono::duration_cast<nanoseconds>(attempt.start - first.start));
}

std::string count(std::size_t number, const char* one, const char* many) {
  return number == 0 ? "" : std::to_string(number) + (number == 1 ? one : many);
}

}  // namespace

Timeline Timeline::of(const std::vector<std::shared_ptr<const TaskMetrics>>& attempts) {
  Timeline timeline;
  const TaskMetrics* first = nullptr;
  std::size_t made = 0;
  std::size_t redirects = 0;
  std::uint64_t sent = 0;
  std::uint64_t received = 0;
  for (const auto& attempt : attempts) {
    if (!attempt) continue;
    if (!first) first = attempt.get();
    const nanoseconds offset = offsetOf(*attempt, *first, timeline.duration);
    ++made;
    redirects += static_cast<std::size_t>(attempt->redirectCount);
    for (const TransactionMetrics& transaction : attempt->transactions) {
      timeline.entries.push_back({.request = transaction.method + " " + transaction.url.absoluteString(),
                                  .facts = facts(transaction),
                                  .phases = phases(transaction, offset)});
      sent += transaction.bytes.requestHead + transaction.bytes.requestBody;
      received += transaction.bytes.responseHead + transaction.bytes.responseBody;
    }
    timeline.duration = offset + attempt->duration;
  }
  append(timeline.summary, readable(timeline.duration));
  append(timeline.summary, made > 1 ? count(made, " attempt", " attempts") : "");
  append(timeline.summary, count(redirects, " redirect", " redirects"));
  append(timeline.summary, std::to_string(sent) + " bytes sent");
  append(timeline.summary, std::to_string(received) + " received");
  return timeline;
}

std::string readable(nanoseconds duration) {
  const double milliseconds = std::chrono::duration<double, std::milli>(duration).count();
  const bool isLong = milliseconds >= 999.5;
  const double value = isLong ? milliseconds / 1000 : milliseconds;
  const int digits = value >= 99.95 ? 0 : value >= 9.995 ? 1 : 2;
  char text[64];
  std::snprintf(text, sizeof text, "%.*f %s", digits, value, isLong ? "s" : "ms");
  return text;
}
