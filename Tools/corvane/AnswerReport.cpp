#include "AnswerReport.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "DownloadFolder.hpp"
#include "FileOutput.hpp"
#include "ReadableBody.hpp"
#include "ReportLine.hpp"

using namespace corvane;

namespace {

std::string sentence(const Error& error, const ToolResponse& response) {
  std::string text = error.message();
  const auto code = statusCode(response);
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
  const auto file = saved(exchange);
  if (options_.reportsJSON) {
    print(reportLine(exchange, options_.url, file));
  } else if (options_.downloadDirectory) {
    if (file) print(*file + "\n");
  } else if (!options_.outputFile) {
    printBody(exchange.response);
  }
}

std::optional<std::string> AnswerReport::saved(const FinishedExchange& exchange) {
  if (options_.outputFile) return savedBody(exchange);
  if (folder_ && exchange.response.file) return savedDownload(exchange.response);
  return std::nullopt;
}

std::optional<std::string> AnswerReport::savedDownload(const ToolResponse& response) {
  try {
    return folder_->take(*response.file);
  } catch (const Error& error) {
    complain("cannot save the download: " + error.message());
    return std::nullopt;
  }
}

std::optional<std::string> AnswerReport::savedBody(const FinishedExchange& exchange) {
  if (!exchange.response.isComplete()) return std::nullopt;
  std::string path = *options_.outputFile;
  if (options_.hasSeveralResponses()) path += "." + std::to_string(exchange.number);
  const std::string problem = writeFile(path, exchange.response.data.value_or(Data()));
  if (problem.empty()) return path;
  complain(problem);
  return std::nullopt;
}

void AnswerReport::printBody(const ToolResponse& response) {
  if (!response.isComplete() || !response.data) return;
  const bool isLaidOut = reader_ == Reader::person && !options_.printsBodiesAsTheyCame;
  print((isLaidOut ? readableBody(response) : *response.data).view());
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
