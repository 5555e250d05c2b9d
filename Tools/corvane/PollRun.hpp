#pragma once

#include <functional>
#include <map>
#include <memory>

#include "ExchangeRun.hpp"
#include "PollPlan.hpp"

/// Sends what the options ask for at a fixed rate, and hands over each response as it completes. All functions are for
/// the main thread.
class PollRun {
 public:
  PollRun(const ToolOptions& options, ExchangeListener listener);

  /// Returns after as many responses as the options ask for, or when it was stopped. Requires: called outside of any
  /// block.
  void run();
  /// Cancels what is under way, without a report, and sends nothing more.
  void stop();

 private:
  void started(const std::shared_ptr<ExchangeRecorder>& recorder, std::function<void()> cancel);
  void finish(const FinishedExchange& exchange);
  void cancelAll() const;
  bool isOver() const;

  const ExchangeListener listener_;
  const std::shared_ptr<PollPlan> plan_;
  bool isStopped_ = false;
  int finished_ = 0;
  /// What cancels each poll that is under way, by its number.
  std::map<int, std::function<void()>> underWay_;
};
