#pragma once

#include <unistd.h>

#include <optional>
#include <set>
#include <string>

#include "FinishedExchange.hpp"
#include "TerminalStyle.hpp"
#include "ToolOptions.hpp"

class DownloadFolder;

/// Tells the user how exchanges went: bodies, the paths of downloads or JSON lines on standard output, bodies in
/// files, problems on standard error. Never throws; one thread at a time.
class ResponseReport {
 public:
  /// The reader of standard output. A person gets pretty-printed JSON, a program the bytes as received.
  enum class Reader { person, program };

  /// The options and the folder for downloads, if there is one, must outlive it.
  ResponseReport(const ToolOptions& options, Reader reader, const DownloadFolder* folder = nullptr)
      : options_(options), reader_(reader), folder_(folder) {}

  void add(const FinishedExchange& exchange);
  /// There may be another attempt.
  void add(const corvane::URL& url, const FailedAttempt& attempt);
  /// Whether an exchange failed, or its response could not be written.
  bool hasFailure() const { return hasFailure_; }

 private:
  std::optional<std::string> saved(const FinishedExchange& exchange);
  bool lacksItsFile(const ToolResponse& response) const;
  std::optional<std::string> savedBody(const FinishedExchange& exchange);
  std::string problemOfSaving(const ToolResponse& response, const std::string& path) const;
  std::optional<std::string> savedDownload(const ToolResponse& response);
  void printPath(const std::string& path, const corvane::URL& url);
  void printHead(const FinishedExchange& exchange);
  void printBody(const FinishedExchange& exchange);
  void printHeading(const corvane::URL& url);
  void print(std::string_view bytes);
  void printTimeline(const FinishedExchange& exchange);
  std::string prefix(const corvane::URL& url) const;
  void complain(const std::string& problem);
  void hint(const corvane::Error& error);

  const ToolOptions& options_;
  const Reader reader_;
  const DownloadFolder* const folder_;
  const TerminalStyle outputStyle_{STDOUT_FILENO};
  const TerminalStyle problemStyle_{STDERR_FILENO};
  /// Each hint is given once.
  std::set<std::string> given_;
  bool hasFailure_ = false;
  bool isInsideLine_ = false;
  bool canPrint_ = true;  ///< what failed once is said once
};
