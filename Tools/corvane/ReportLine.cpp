#include "ReportLine.hpp"

#include <Platform/Foundation/UTF8.hpp>
#include <cstdio>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "ErrorFacts.hpp"

using namespace corvane;

namespace {

/// null where there is nothing: a report always has all its keys.
template <class T>
using OrNull = std::variant<std::monostate, T>;

/// Seconds, so that the lines of many exchanges can be read below each other.
struct SixDigits {
  double value;
};

struct ReportedError {
  std::string domain;
  std::int64_t code;
  std::string type;
  OrNull<std::string> case_;
  std::string message;
};

struct Report {
  OrNull<int> status;
  std::string statusName;
  std::string url;
  JSONObject headers;
  std::uintmax_t bodyBytes;
  OrNull<std::string> file;
  OrNull<ReportedError> error;
  SixDigits seconds;
};

struct ReportedAttempt {
  OrNull<int> status;
  OrNull<ReportedError> error;
};

struct ReportedRetries {
  int attempts;
  std::vector<ReportedAttempt> failures;
};

struct ReportedRequest {
  std::string requestedURL;
};

}  // namespace

template <>
struct platform::JSONCodec<ReportedError> {
  static constexpr JSONKey keys[] = {{"case_", "case"}};
};

template <>
struct platform::JSONCodec<SixDigits> {
  static void encode(const SixDigits& number, JSONWriter& writer) {
    char text[400];  // the largest double has 309 digits
    std::snprintf(text, sizeof text, "%.6f", number.value);
    writer.writeRaw(text);
  }
};

namespace {

/// A server may send any bytes, and a path may have any; JSON is UTF-8.
std::string inUTF8(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = platform::utf8CharacterLength(text);
    result.append(length == 0 ? "\xEF\xBF\xBD" : text.substr(0, length));
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

template <class T>
OrNull<T> orNull(std::optional<T> value) {
  if (!value) return std::monostate();
  return *std::move(value);
}

OrNull<std::string> inUTF8(const std::optional<std::string>& text) {
  return text ? OrNull<std::string>(inUTF8(std::string_view(*text))) : std::monostate();
}

JSONObject headersOf(const std::optional<HTTPHeaderFields>& fields) {
  JSONObject headers;
  if (!fields) return headers;
  HTTPHeaderFields seen;
  for (const auto& [name, value] : *fields) {
    if (seen.contains(name)) continue;
    seen.add(name, value);
    JSONValue::Array values;
    for (const std::string& each : fields->values(name)) values.emplace_back(inUTF8(std::string_view(each)));
    headers[name] = std::move(values);
  }
  return headers;
}

OrNull<ReportedError> reported(const Error* error) {
  if (!error) return std::monostate();
  const auto facts = ErrorFacts::of(*error);
  return ReportedError{.domain = facts.domain,
                       .code = facts.code,
                       .type = facts.type,
                       .case_ = orNull(facts.caseName),
                       .message = inUTF8(std::string_view(facts.message))};
}

std::vector<ReportedAttempt> reported(const std::vector<FailedAttempt>& failures) {
  std::vector<ReportedAttempt> attempts;
  for (const FailedAttempt& failure : failures) attempts.push_back({orNull(failure.status), reported(&failure.error)});
  return attempts;
}

template <class Facts>
std::string encoded(const Facts& facts) {
  return std::string(JSONEncoder().encode(facts).view());
}

/// One object of two that have members.
std::string joined(std::string first, std::string_view second) {
  first.back() = ',';
  return first.append(second.substr(1));
}

/// A space after each colon and comma, for readability.
std::string spaced(std::string_view json) {
  std::string text;
  bool isInString = false;
  for (std::size_t index = 0; index < json.size(); ++index) {
    const char c = json[index];
    text.push_back(c);
    if (c == '"') isInString = !isInString;
    if (c == '\\') text.push_back(json[++index]);
    if (!isInString && (c == ',' || c == ':')) text.push_back(' ');
  }
  return text;
}

}  // namespace

std::string reportLine(const FinishedExchange& exchange, const ToolOptions& options,
                       const std::optional<std::string>& file) {
  const ToolResponse& response = exchange.response;
  std::string json = encoded(Report{.status = orNull(statusCode(response)),
                                    .statusName = std::string(response.status.name()),
                                    .url = response.url.value_or(exchange.url).absoluteString(),
                                    .headers = headersOf(response.headers),
                                    .bodyBytes = response.bodyBytes,
                                    .file = inUTF8(file),
                                    .error = reported(response.result.error()),
                                    .seconds = {exchange.seconds}});
  if (options.hasSeveralURLs()) json = joined(json, encoded(ReportedRequest{exchange.url.absoluteString()}));
  if (options.retry) json = joined(json, encoded(ReportedRetries{exchange.attempts, reported(exchange.failures)}));
  return spaced(json) + "\n";
}
