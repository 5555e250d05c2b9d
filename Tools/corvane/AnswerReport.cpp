#include "AnswerReport.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "ErrorFacts.hpp"
#include "FileOutput.hpp"
#include "JSONText.hpp"

using namespace corvane;

namespace {

std::string errorJSON(const Error* error) {
  if (!error) return json::null;
  const auto facts = ErrorFacts::of(*error);
  return json::Object()
      .add("domain", json::text(facts.domain))
      .add("code", json::number(facts.code))
      .add("type", json::text(facts.type))
      .add("case", json::textOrNull(facts.caseName))
      .add("message", json::text(facts.message))
      .text();
}

bool isFirstOfItsName(const HTTPHeaderFields& fields, HTTPHeaderFields::const_iterator place) {
  HTTPHeaderFields earlier;
  for (auto field = fields.begin(); field != place; ++field) earlier.add(field->first, field->second);
  return !earlier.contains(place->first);
}

std::string headersJSON(const std::optional<HTTPHeaderFields>& fields) {
  json::Object object;
  if (!fields) return object.text();
  for (auto field = fields->begin(); field != fields->end(); ++field) {
    if (!isFirstOfItsName(*fields, field)) continue;
    std::vector<std::string> values;
    for (const std::string& value : fields->values(field->first)) values.push_back(json::text(value));
    object.add(field->first, json::array(values));
  }
  return object.text();
}

std::string line(const FinishedExchange& exchange, const URL& requested, const std::optional<std::string>& file) {
  const ToolResponse& response = exchange.response;
  const auto code = response.statusCode();
  const std::size_t bytes = response.data ? response.data->count() : 0;
  return json::Object()
      .add("status", code ? json::number(std::int64_t{*code}) : json::null)
      .add("statusName", json::text(response.status.name()))
      .add("url", json::text(response.url.value_or(requested).absoluteString()))
      .add("headers", headersJSON(response.headers))
      .add("bodyBytes", json::number(static_cast<std::int64_t>(bytes)))
      .add("file", json::textOrNull(file))
      .add("error", errorJSON(response.result.error()))
      .add("seconds", json::number(exchange.seconds))
      .text();
}

std::string sentence(const Error& error, const ToolResponse& response) {
  std::string text = error.message();
  const auto code = response.statusCode();
  if (code && response.status == HTTPStatus::unknown) text += " (status " + std::to_string(*code) + ")";
  const auto userInfo = error.userInfo();
  if (const auto* detail = userInfo.find(platform::URLErrorKey::transportMessage))
    text += " (" + detail->description() + ")";
  return text;
}

}  // namespace

void AnswerReport::add(const FinishedExchange& exchange) {
  if (const auto* error = exchange.response.result.error()) {
    hasFailure_ = true;
    if (!options_.reportsJSON) complain(sentence(*error, exchange.response));
  }
  const auto file = options_.outputFile ? saveBody(exchange) : std::nullopt;
  if (options_.reportsJSON) {
    printLine(exchange, file);
  } else if (!options_.outputFile) {
    printBody(exchange);
  }
}

std::optional<std::string> AnswerReport::saveBody(const FinishedExchange& exchange) {
  if (!exchange.response.isComplete()) return std::nullopt;
  std::string path = *options_.outputFile;
  if (options_.hasSeveralResponses()) path += "." + std::to_string(exchange.number);
  const std::string problem = writeFile(path, exchange.response.data.value_or(Data()));
  if (problem.empty()) return path;
  complain(problem);
  return std::nullopt;
}

void AnswerReport::printBody(const FinishedExchange& exchange) {
  if (exchange.response.isComplete() && exchange.response.data) print(exchange.response.data->view());
}

void AnswerReport::printLine(const FinishedExchange& exchange, const std::optional<std::string>& file) {
  print(line(exchange, options_.url, file) + "\n");
}

void AnswerReport::print(std::string_view bytes) {
  if (!canPrint_) return;
  const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0;
  if (isWritten) return;
  complain(std::string("cannot write to standard output: ") + std::strerror(errno));
  canPrint_ = false;
}

void AnswerReport::complain(const std::string& problem) {
  hasFailure_ = true;
  std::fprintf(stderr, "corvane: %s\n", problem.c_str());
}
