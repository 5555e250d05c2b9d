#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "Corvane/Transfers/HTTPProgress.hpp"

namespace corvane::detail {

/// Stands between the progress of a task and the caller's handler: lets through one call at a time, and none once
/// the completion's turn has come, on queues that run several blocks at once, too.
class ProgressRelay : public std::enable_shared_from_this<ProgressRelay> {
 public:
  explicit ProgressRelay(HTTPProgressHandler handler) : handler_(std::move(handler)) {}

  /// Watches the task. Each call is scheduled on the queue, but not while nobody listens.
  platform::ProgressObservation observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                        std::optional<platform::DispatchQueue> queue);
  /// The completion is about to be called.
  void end();

 private:
  void call(const std::shared_ptr<platform::Progress>& progress);

  std::mutex mutex_;
  bool hasEnded_ = false;
  HTTPProgressHandler handler_;
};

}  // namespace corvane::detail
