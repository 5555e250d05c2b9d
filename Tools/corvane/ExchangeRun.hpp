#pragma once

#include <functional>
#include <map>

#include "ToolOptions.hpp"
#include "ToolResponse.hpp"

class ProgressBar;

struct FinishedExchange {
  /// From 1, in the order of sending.
  int number;
  ToolResponse response;
  /// From sending to the completion.
  double seconds;
};

/// Sends what the options ask for, and hands over each response as it completes. All functions are for the main
/// thread.
class ExchangeRun {
 public:
  using Report = std::function<void(const FinishedExchange&)>;

  /// The options and the bar must outlive it. Without a bar, nobody is told of progress.
  ExchangeRun(const ToolOptions& options, ProgressBar* bar, Report report)
      : options_(options), bar_(bar), report_(std::move(report)) {}

  /// Returns after the last response. Requires: called outside of any block.
  void run();
  /// Cancels what is under way, without a report, and sends nothing more.
  void stop();

 private:
  void send(int number);
  template <class Request>
  void send(const Request& request, int number);
  void finish(const FinishedExchange& exchange);

  const ToolOptions& options_;
  ProgressBar* const bar_;
  const Report report_;
  bool isStopped_ = false;
  /// What cancels each exchange that is under way, by its number.
  std::map<int, std::function<void()>> underWay_;
};
