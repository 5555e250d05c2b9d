#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "ExchangeRecorder.hpp"
#include "ToolOptions.hpp"

/// What the polls of the tool are made of, and how many there are to be. Polling belongs to a request type, so there is
/// one plan at a time in the process. Safe on any thread.
class PollPlan : public std::enable_shared_from_this<PollPlan> {
 public:
  /// `started` is called on the main queue for each poll, with what cancels it.
  using Started = std::function<void(const std::shared_ptr<ExchangeRecorder>&, std::function<void()> cancel)>;

  PollPlan(const ToolOptions& options, Started started) : options_(options), started_(std::move(started)) {}

  /// The one in force; null for none.
  static std::shared_ptr<PollPlan> current();
  static void makeCurrent(std::shared_ptr<PollPlan> plan);

  const ToolOptions& options() const { return options_; }
  /// Begins the journal of one more poll, which keeps the plan. Null when there is to be none.
  std::shared_ptr<ExchangeRecorder> begin();
  /// How many polls have begun. Each comes to a response while the type polls.
  int begun() const;
  /// Calls `started`, asynchronously.
  void tellOfStart(const std::shared_ptr<ExchangeRecorder>& recorder, std::function<void()> cancel);
  /// There are to be no more polls.
  void end();

 private:
  const ToolOptions options_;
  const Started started_;
  mutable std::mutex mutex_;
  bool hasEnded_ = false;
  int begun_ = 0;
};
