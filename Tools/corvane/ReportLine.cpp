#include "ReportLine.hpp"

#include <string_view>
#include <vector>

#include "ErrorFacts.hpp"
#include "ReportedValues.hpp"
#include "TimingReport.hpp"

using namespace corvane;

namespace {

struct ReportedError {
  std::string domain;
  std::int64_t code;
  std::string type;
  OrNull<std::string> case_;
  std::string message;
  OrNull<std::string> detail;
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

struct ReportedRedirect {
  int status = 0;
  std::string url;
};

struct ReportedRedirects {
  std::vector<ReportedRedirect> redirects;
};

struct ReportedRequest {
  std::string requestedURL;
};

}  // namespace

template <>
struct platform::JSONCodec<ReportedError> {
  static constexpr JSONKey keys[] = {{"case_", "case"}};
};

namespace {

JSONObject headersOf(const std::optional<HTTPHeaderFields>& fields) {
  JSONObject headers;
  if (!fields) return headers;
  HTTPHeaderFields seen;
  for (const auto& [name, value] : *fields) {
    if (seen.contains(name)) continue;
    seen.add(name, value);
    JSONValue::Array values;
    for (const std::string& each : fields->values(name)) values.emplace_back(inUTF8(each));
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
                       .message = inUTF8(facts.message),
                       .detail = facts.detail ? OrNull<std::string>(inUTF8(*facts.detail)) : OrNull<std::string>()};
}

std::vector<ReportedAttempt> reported(const std::vector<FailedAttempt>& failures) {
  std::vector<ReportedAttempt> attempts;
  for (const FailedAttempt& failure : failures) attempts.push_back({orNull(failure.status), reported(&failure.error)});
  return attempts;
}

ReportedRedirects redirectsOf(const ToolResponse& response) {
  ReportedRedirects reported;
  const auto* head = dynamic_cast<const HTTPURLResponse*>(response.urlResponse.get());
  if (!head) return reported;
  for (const auto& redirect : head->redirects()) {
    reported.redirects.push_back({redirect.statusCode, redirect.url.absoluteString()});
  }
  return reported;
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
  std::string json = encoded(Report{.status = orNull(response.statusCode()),
                                    .statusName = std::string(response.status.name()),
                                    .url = response.url.value_or(exchange.url).absoluteString(),
                                    .headers = headersOf(response.headers),
                                    .bodyBytes = response.bodyBytes,
                                    .file = inUTF8OrNull(file),
                                    .error = reported(response.result.error()),
                                    .seconds = {exchange.seconds}});
  if (options.hasSeveralURLs()) json = joined(json, encoded(ReportedRequest{exchange.url.absoluteString()}));
  if (const auto redirects = redirectsOf(response); !redirects.redirects.empty())
    json = joined(json, encoded(redirects));
  if (options.retry) json = joined(json, encoded(ReportedRetries{exchange.attempts, reported(exchange.failures)}));
  if (options.printsTiming) json = joined(json, timingReport(exchange));
  return spaced(json) + "\n";
}
