#include "Corvane/Transport/Internal/SentOutput.hpp"

#include <string>
#include <utility>
#include <vector>

#include "Corvane/DebugOutput/Detail/HTTPRequestableDebugAdditions.hpp"
#include "Corvane/DebugOutput/Detail/Redactions.hpp"
#include "Corvane/Settings.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace corvane::detail {

using platform::Dictionary;
using platform::HTTPURLResponse;
using platform::URLRequest;

namespace {

/// Fields that interceptors add, and that are nobody's business in a log.
constexpr const char* secretFields[] = {"Authorization", "Proxy-Authorization", "Cookie"};

std::string curlCommandOf(const URLRequest& sent, HTTPRedaction redaction) {
  for (const char* const name : secretFields) redaction.headerFields.emplace_back(name);
  const auto& fields = sent.allHTTPHeaderFields;
  Dictionary headers;
  for (const auto& [name, value] : fields) headers.set(name, fields.value(name).value_or(value));
  std::vector<std::string> parts = curlCommandParts(sent.httpMethod, sent.url, headers, redaction);
  if (sent.httpBody) parts.push_back(curlBodyPart(sent.httpBody));
  return joinedWithSpaces(parts);
}

}  // namespace

void printSent(const SendExchange& exchange, const TaskOutcome& received) {
  const HTTPVerbosityLevel level = Corvane::verbosity;
  if (level == HTTPVerbosityLevel::none) return;
  const URLRequest& sent = *received.sent;
  const HTTPRedaction redaction = redactionFor(exchange.sessionKey().sessionConfigurationIdentifier);
  const bool isVerbose = level == HTTPVerbosityLevel::verbose;
  const auto* const http = dynamic_cast<const HTTPURLResponse*>(received.response.get());
  printDebugOutput(level, DebugRecord{.method = sent.httpMethod,
                                      .url = sent.url,
                                      .curlCommand = isVerbose ? curlCommandOf(sent, redaction) : std::string(),
                                      .status = httpStatus(http).value_or(HTTPStatus::unknown),
                                      .headers = http ? std::optional(http->allHeaderFields()) : std::nullopt,
                                      .body = received.data,
                                      .error = received.error,
                                      .redaction = redaction});
}

}  // namespace corvane::detail
