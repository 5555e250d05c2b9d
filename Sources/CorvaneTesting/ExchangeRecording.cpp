#include "CorvaneTesting/ExchangeRecording.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::testkit {

using platform::Data;
using platform::Error;
using platform::HTTPHeaderFields;

namespace detail {

// The file, member by member.

struct RecordedBody {
  std::optional<std::string> text;
  std::optional<Data> base64;
};

struct RecordedRequest {
  std::string method;
  std::string url;
  std::vector<std::string> headers;
  std::optional<RecordedBody> body;
};

struct RecordedResponse {
  int status = 0;
  std::vector<std::string> headers;
  std::optional<RecordedBody> body;
};

struct RecordedError {
  std::string domain;
  std::int64_t code = 0;
  std::string message;
  /// Absent where the error does not tell.
  std::optional<bool> requestWasSent;
};

struct RecordedPair {
  RecordedRequest request;
  std::optional<RecordedResponse> response;
  std::optional<RecordedError> error;
};

struct RecordedRedaction {
  std::vector<std::string> headers;
  std::vector<std::string> queryItems;
  bool urlCredentials = false;
};

struct RecordingHead {
  std::string format;
  int version = 0;
};

struct RecordingFile {
  std::string format;
  int version = 0;
  RecordedRedaction redacted;
  std::vector<RecordedPair> exchanges;
};

namespace {

constexpr const char* formatName = "corvane-exchanges";
constexpr const char* errorDomain = "Corvane.ExchangeRecording";
constexpr int damaged = 1;
constexpr int otherVersion = 2;

/// What is wrong with one exchange.
[[noreturn]] void failDamaged(std::string problem) { throw Error(errorDomain, damaged, std::move(problem)); }

std::optional<RecordedBody> inFile(const Data& body) {
  if (body.isEmpty()) return std::nullopt;
  if (auto text = body.utf8()) return RecordedBody{.text = std::move(text)};
  return RecordedBody{.base64 = body};
}

std::vector<std::string> inFile(const HTTPHeaderFields& fields) {
  std::vector<std::string> lines;
  for (const auto& [name, value] : fields) lines.push_back(name + ": " + value);
  return lines;
}

/// Of a final response. Servers send numbers that no class has, and they are taken as they are.
bool isStatus(int number) { return number >= 200 && number <= 999; }

RecordedError inFile(const Error& error) {
  RecordedError written{error.domain(), error.code(), error.message(), std::nullopt};
  const platform::Dictionary userInfo = error.userInfo();
  if (const auto* wasSent = userInfo.find(platform::URLErrorKey::requestWasSent))
    written.requestWasSent = wasSent->boolean();
  return written;
}

RecordedPair inFile(const ExchangeRecord& exchange) {
  RecordedPair pair{.request = {.method = exchange.method,
                                .url = exchange.url,
                                .headers = inFile(exchange.requestHeaders),
                                .body = inFile(exchange.requestBody)}};
  if (exchange.error) {
    pair.error = inFile(*exchange.error);
  } else {
    pair.response = {exchange.status, inFile(exchange.responseHeaders), inFile(exchange.responseBody)};
  }
  return pair;
}

Data fromFile(std::optional<RecordedBody> body) {
  if (!body) return {};
  if (body->text.has_value() == body->base64.has_value()) failDamaged("a body is either \"text\" or \"base64\"");
  return body->text ? Data(*body->text) : std::move(*body->base64);
}

HTTPHeaderFields fromFile(const std::vector<std::string>& lines) {
  HTTPHeaderFields fields;
  for (const std::string& line : lines) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) failDamaged("\"" + line + "\" is not \"Name: value\"");
    const std::string_view name = std::string_view(line).substr(0, colon);
    const std::string_view value = std::string_view(line).substr(colon + 2);
    if (std::string problem = HTTPHeaderFields::problem(name, value); !problem.empty()) failDamaged(std::move(problem));
    fields.add(name, value);
  }
  return fields;
}

ExchangeRecord fromFile(RecordedPair pair) {
  if (std::string problem = platform::URL::problem(pair.request.url); !problem.empty()) failDamaged(std::move(problem));
  if (pair.response.has_value() == pair.error.has_value()) failDamaged("it has either a \"response\" or an \"error\"");
  ExchangeRecord exchange{.method = std::move(pair.request.method),
                          .url = std::move(pair.request.url),
                          .requestHeaders = fromFile(pair.request.headers),
                          .requestBody = fromFile(std::move(pair.request.body))};
  if (pair.error) {
    platform::Dictionary userInfo;
    if (pair.error->requestWasSent) userInfo.set(platform::URLErrorKey::requestWasSent, *pair.error->requestWasSent);
    exchange.error = Error(pair.error->domain, pair.error->code, pair.error->message, std::move(userInfo));
    return exchange;
  }
  exchange.status = pair.response->status;
  if (!isStatus(exchange.status)) failDamaged(std::to_string(exchange.status) + " is no status");
  exchange.responseHeaders = fromFile(pair.response->headers);
  exchange.responseBody = fromFile(std::move(pair.response->body));
  return exchange;
}

ExchangeRecording fromFile(RecordingFile file) {
  ExchangeRecording recording{.redaction = {.headerFields = std::move(file.redacted.headers),
                                            .queryItems = std::move(file.redacted.queryItems),
                                            .hidesURLCredentials = file.redacted.urlCredentials}};
  for (std::size_t place = 0; place < file.exchanges.size(); ++place) {
    try {
      recording.exchanges.push_back(fromFile(std::move(file.exchanges[place])));
    } catch (const Error& error) {
      failDamaged("exchanges[" + std::to_string(place) + "]: " + error.message());
    }
  }
  return recording;
}

void checkHead(const RecordingHead& head) {
  if (head.format != formatName) failDamaged("it is no recording of exchanges");
  if (head.version == ExchangeRecording::version) return;
  throw Error(errorDomain, otherVersion,
              "it has version " + std::to_string(head.version) + " of the format, not " +
                  std::to_string(ExchangeRecording::version));
}

}  // namespace
}  // namespace detail

ExchangeRecording ExchangeRecording::load(const std::string& path) {
  const Data document = platform::FileManager::contents(path);
  try {
    detail::checkHead(platform::JSONDecoder().decode<detail::RecordingHead>(document));
    return detail::fromFile(platform::JSONDecoder().decode<detail::RecordingFile>(document));
  } catch (const platform::DecodingError& error) {
    throw Error(detail::errorDomain, detail::damaged, path + ": " + error.message());
  } catch (const Error& error) {
    throw Error(detail::errorDomain, error.code(), path + ": " + error.message());
  }
}

void ExchangeRecording::save(const std::string& path) const {
  detail::RecordingFile file{.format = detail::formatName,
                             .version = version,
                             .redacted = {.headers = redaction.headerFields,
                                          .queryItems = redaction.queryItems,
                                          .urlCredentials = redaction.hidesURLCredentials},
                             .exchanges = {}};
  for (const ExchangeRecord& exchange : exchanges) {
    if (exchange.error || detail::isStatus(exchange.status)) {
      file.exchanges.push_back(detail::inFile(exchange));
      continue;
    }
    detail::failDamaged(path + ": exchanges[" + std::to_string(file.exchanges.size()) +
                        "]: " + std::to_string(exchange.status) + " is no status");
  }
  Data document = platform::JSONEncoder(platform::JSONStrategies(), platform::JSONFormatting::pretty).encode(file);
  document.append("\n");
  platform::FileManager::write(document, path);
}

}  // namespace corvane::testkit
