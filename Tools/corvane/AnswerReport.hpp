#pragma once

#include <optional>
#include <string>

#include "ExchangeRun.hpp"
#include "ToolOptions.hpp"

/// Tells the user how exchanges went: bodies or JSON lines on standard output or in files, problems on
/// standard error. The options must outlive it. Never throws; one thread at a time.
class AnswerReport {
 public:
  /// Who reads standard output. A person gets JSON laid out, a program what came.
  enum class Reader { person, program };

  AnswerReport(const ToolOptions& options, Reader reader) : options_(options), reader_(reader) {}

  void add(const FinishedExchange& exchange);
  /// Whether an exchange failed, or its answer could not be written.
  bool hasFailure() const { return hasFailure_; }

 private:
  std::optional<std::string> saveBody(const FinishedExchange& exchange);
  void printBody(const ToolResponse& response);
  void print(std::string_view bytes);
  void complain(const std::string& problem);

  const ToolOptions& options_;
  const Reader reader_;
  bool hasFailure_ = false;
  bool canPrint_ = true;  ///< what failed once is said once
};
