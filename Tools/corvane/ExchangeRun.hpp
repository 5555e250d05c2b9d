#pragma once

#include <functional>
#include <map>
#include <memory>

#include "FinishedExchange.hpp"
#include "ToolOptions.hpp"

class ProgressBar;
struct ExchangeRecorder;

/// Observes exchanges. Called on the main thread.
struct ExchangeListener {
  std::function<void(const FinishedExchange&)> finished;
  /// Of an exchange for which there may be another attempt; may be empty.
  std::function<void(const corvane::URL&, const FailedAttempt&)> attemptFailed = {};
};

/// Sends what the options ask for, and hands over each response as it completes. All functions are for the main
/// thread.
///
/// Not with the library's batches: those keep all responses until the last has come, which may be more than fits into
/// memory here, and have neither progress nor retries.
class ExchangeRun {
 public:
  /// The options and the bar must outlive it. Without a bar, progress is not shown.
  ExchangeRun(const ToolOptions& options, ProgressBar* bar, ExchangeListener listener)
      : options_(options), bar_(bar), listener_(std::move(listener)) {}

  /// Returns after the last response. Requires: called outside of any block.
  void run();
  /// Cancels what is under way, without a report, and sends nothing more.
  void stop();
  bool isStopped() const { return isStopped_; }

 private:
  void runRound();
  void sendNext();
  std::shared_ptr<ExchangeRecorder> recorder(int number, const corvane::URL& url);
  template <class Request>
  void send(const Request& request);
  void finish(const FinishedExchange& exchange);

  const ToolOptions& options_;
  ProgressBar* const bar_;
  const ExchangeListener listener_;
  bool isStopped_ = false;
  int sent_ = 0;
  /// How many of this round are still to be sent.
  int waiting_ = 0;
  /// What cancels each exchange that is under way, by its number.
  std::map<int, std::function<void()>> underWay_;
};
