#include "ResponseReport.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "DownloadFolder.hpp"
#include "FileOutput.hpp"
#include "Hint.hpp"
#include "ReadableBody.hpp"
#include "ReportLine.hpp"

using namespace corvane;

void ResponseReport::add(const FinishedExchange& exchange) {
  if (const auto* error = exchange.response.result.error()) {
    hasFailure_ = true;
    if (!options_.reportsJSON) {
      complain(prefix(exchange.url) + sentence(*error, exchange.response));
      hint(*error);
    }
  }
  const auto file = saved(exchange);
  if (options_.reportsJSON) {
    print(reportLine(exchange, options_, file));
  } else if (options_.downloadDirectory) {
    if (file) printPath(*file, exchange.url);
  } else if (!options_.outputFile) {
    printBody(exchange);
  }
}

void ResponseReport::add(const URL& url, const FailedAttempt& attempt) {
  if (options_.reportsJSON) return;  // it tells all of them at once
  std::fprintf(stderr, "%s %sattempt %d failed: %s\n", problemStyle_.problem("corvane:").c_str(), prefix(url).c_str(),
               attempt.number, attempt.problem.c_str());
}

std::string ResponseReport::prefix(const URL& url) const {
  return options_.hasSeveralURLs() ? url.absoluteString() + ": " : "";
}

std::optional<std::string> ResponseReport::saved(const FinishedExchange& exchange) {
  if (options_.outputFile) return savedBody(exchange);
  if (folder_ && exchange.response.file) return savedDownload(exchange.response);
  return std::nullopt;
}

std::optional<std::string> ResponseReport::savedDownload(const ToolResponse& response) {
  try {
    return folder_->take(*response.file);
  } catch (const Error& error) {
    complain("cannot save the download: " + error.message());
    return std::nullopt;
  }
}

std::optional<std::string> ResponseReport::savedBody(const FinishedExchange& exchange) {
  if (!exchange.response.isComplete()) return std::nullopt;
  std::string path = *options_.outputFile;
  if (options_.hasSeveralResponses()) path += "." + std::to_string(exchange.number);
  const std::string problem = writeFile(path, exchange.response.data.value_or(Data()));
  if (problem.empty()) return path;
  complain(problem);
  return std::nullopt;
}

void ResponseReport::printPath(const std::string& path, const URL& url) {
  print(path + (options_.hasSeveralURLs() ? "\t" + url.absoluteString() : "") + "\n");
}

void ResponseReport::printHeading(const URL& url) {
  print((isInsideLine_ ? "\n" : "") + outputStyle_.heading("==> " + url.absoluteString() + " <==") + "\n");
}

void ResponseReport::printBody(const FinishedExchange& exchange) {
  const ToolResponse& response = exchange.response;
  if (options_.hasSeveralURLs() && response.isComplete()) printHeading(exchange.url);
  if (!response.isComplete() || !response.data) return;
  const bool isLaidOut = reader_ == Reader::person && !options_.printsBodiesAsTheyCame;
  print((isLaidOut ? readableBody(response, outputStyle_) : *response.data).view());
}

void ResponseReport::print(std::string_view bytes) {
  if (!canPrint_ || bytes.empty()) return;
  isInsideLine_ = bytes.back() != '\n';
  const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0;
  if (isWritten) return;
  complain(std::string("cannot write to standard output: ") + std::strerror(errno));
  canPrint_ = false;
}

void ResponseReport::complain(const std::string& problem) {
  hasFailure_ = true;
  std::fprintf(stderr, "%s %s\n", problemStyle_.problem("corvane:").c_str(), problem.c_str());
}

void ResponseReport::hint(const Error& error) {
  const std::string hint = hintFor(error, options_);
  if (hint.empty() || !given_.insert(hint).second) return;
  std::fprintf(stderr, "%s %s\n", problemStyle_.heading("Hint:").c_str(), hint.c_str());
}
