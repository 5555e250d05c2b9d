#include "ResponseReport.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "DownloadFolder.hpp"
#include "FileOutput.hpp"
#include "Hint.hpp"
#include "ReadableBody.hpp"
#include "ReportLine.hpp"
#include "TerminalLine.hpp"
#include "TimelineDrawing.hpp"
#include "TimingReport.hpp"

using namespace corvane;

namespace {

/// Without secrets.
std::string shown(const URL& url) { return HTTPRedaction::secrets().redactedURL(url.absoluteString()); }

/// Where it happened, if a redirect led to another server than the one that was asked.
std::string placeOf(const Error& error, const URL& asked) {
  const auto userInfo = error.userInfo();
  const auto* const text = userInfo.find(platform::URLErrorKey::failingURL);
  const auto failing = text ? URL::parse(text->description()) : std::nullopt;
  if (!failing || (failing->host() == asked.host() && failing->port() == asked.port())) return "";
  return " (after a redirect to " + shown(*failing) + ")";
}

/// What an error keeps of the body of its response.
constexpr std::size_t mostBytesOfError = std::size_t{64} * 1024;

}  // namespace

void ResponseReport::add(const FinishedExchange& exchange) {
  if (const auto* error = exchange.response.result.error()) {
    hasFailure_ = true;
    if (!options_.reportsJSON) {
      complain(prefix(exchange.url) + sentence(*error, exchange.response) + placeOf(*error, exchange.url));
      hint(*error);
    }
  }
  const auto file = saved(exchange);
  if (options_.printsHeads) printHead(exchange);
  if (options_.reportsJSON) {
    print(reportLine(exchange, options_, file));
  } else if (options_.downloadDirectory) {
    if (file) printPath(*file, exchange.url);
  } else if (!options_.outputFile) {
    printBody(exchange);
  }
  if (options_.printsTiming && !options_.reportsJSON) printTimeline(exchange);
}

void ResponseReport::printTimeline(const FinishedExchange& exchange) {
  // On one terminal, it begins a line of its own.
  if (isInsideLine_ && reader_ == Reader::person && isatty(STDERR_FILENO) != 0) print("\n");
  const Timeline timeline = Timeline::of(metricsOf(exchange));
  const int columns = TerminalLine(STDERR_FILENO).columns();
  std::fputs(drawn(timeline, columns, barStyleFor(STDERR_FILENO), problemStyle_).c_str(), stderr);
}

void ResponseReport::add(const URL& url, const FailedAttempt& attempt) {
  if (options_.reportsJSON) return;  // it tells all of them at once
  std::fprintf(stderr, "%s %sattempt %d failed: %s\n", problemStyle_.problem("corvane:").c_str(), prefix(url).c_str(),
               attempt.number, attempt.problem.c_str());
}

std::string ResponseReport::prefix(const URL& url) const { return options_.hasSeveralURLs() ? shown(url) + ": " : ""; }

std::optional<std::string> ResponseReport::saved(const FinishedExchange& exchange) {
  if (lacksItsFile(exchange.response)) {
    complain(prefix(exchange.url) + "no file came with the status " +
             std::to_string(exchange.response.statusCode().value_or(0)) + ": nothing is saved");
    return std::nullopt;
  }
  if (options_.outputFile) return savedBody(exchange);
  if (folder_ && exchange.response.file) return savedDownload(exchange.response);
  return std::nullopt;
}

/// Whether one file was asked for, and a response that counts as a success brought another body, or none: nobody went
/// on with that, or held it to the digest.
bool ResponseReport::lacksItsFile(const ToolResponse& response) const {
  if (!(options_.continuesDownload || options_.expectedDigest) || !response.result.isSuccess()) return false;
  const int status = response.statusCode().value_or(0);
  const bool isContent = status >= HTTPStatus::success.rawValue() && status <= HTTPStatus::partialContent.rawValue();
  return !response.file || !isContent;
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
  // What tells of an error is not the file that was asked for.
  const bool isOneFile = options_.continuesDownload || options_.expectedDigest;
  if (isOneFile && !exchange.response.file) return std::nullopt;
  const std::string path = options_.outputPath(exchange.number);
  const std::string problem = problemOfSaving(exchange.response, path);
  if (problem.empty()) return path;
  complain(problem);
  return std::nullopt;
}

/// Of a download, the library has saved what a success has, and knows the beginning of what tells of an error.
std::string ResponseReport::problemOfSaving(const ToolResponse& response, const std::string& path) const {
  if (response.file) return moveFile(response.file->fileSystemPath(), path);
  const Error* const error = response.result.error();
  const auto* const failed = error && options_.downloadsToOutput ? error->response() : nullptr;
  if (response.data || !failed) return writeFile(path, response.data.value_or(Data()));
  const Data body = failed->body().value_or(Data());
  if (body.count() >= mostBytesOfError) return "the body of this response is too long to be saved in " + path;
  return writeFile(path, body);
}

void ResponseReport::printPath(const std::string& path, const URL& url) {
  print(path + (options_.hasSeveralURLs() ? "\t" + url.absoluteString() : "") + "\n");
}

void ResponseReport::printHeading(const URL& url) {
  print((isInsideLine_ ? "\n" : "") + outputStyle_.heading("==> " + shown(url) + " <==") + "\n");
}

/// As an HTTP/1.1 message has it (RFC 9112, 4), with the version of the response.
void ResponseReport::printHead(const FinishedExchange& exchange) {
  const auto* head = dynamic_cast<const platform::HTTPURLResponse*>(exchange.response.urlResponse.get());
  if (!head) return;
  if (options_.hasSeveralURLs()) printHeading(exchange.url);
  std::string text;
  for (const auto& redirect : head->redirects()) {
    text += std::to_string(redirect.statusCode) + " " + redirect.url.absoluteString() + "\n";
  }
  if (!text.empty()) print(text);
  text = head->httpVersion() + " " + std::to_string(head->statusCode());
  if (const auto phrase = exchange.response.status.reasonPhrase(); !phrase.empty()) text.append(" ").append(phrase);
  text = outputStyle_.heading(text) + "\n";
  for (const auto& [name, value] : head->allHeaderFields()) {
    text.append(outputStyle_.key(name)).append(": ").append(value).append("\n");
  }
  print(text + "\n");
}

void ResponseReport::printBody(const FinishedExchange& exchange) {
  const ToolResponse& response = exchange.response;
  if (!options_.printsHeads && options_.hasSeveralURLs() && response.isComplete()) printHeading(exchange.url);
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
