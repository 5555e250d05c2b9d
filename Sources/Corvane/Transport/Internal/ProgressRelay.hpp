#pragma once

#include <memory>
#include <optional>

#include "Corvane/Transport/HTTPProgress.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane::detail {

/// Stands between the progress of a task and the caller's handler: lets through one call at a time, and none once
/// the completion's turn has come, on queues that run several blocks at once, too. No lock is held meanwhile.
class ProgressRelay : public std::enable_shared_from_this<ProgressRelay> {
 public:
  explicit ProgressRelay(HTTPProgressHandler handler) : handler_(std::move(handler)) {}

  /// Watches the task. A call is scheduled on the queue, but not while nobody listens, nor while another waits there.
  platform::ProgressObservation observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                        std::optional<platform::DispatchQueue> queue);
  /// Calls the handler; a call that comes while another is under way is made up for when that one returns.
  void call(const HTTPProgress& progress);
  /// The completion is about to be called: the handler is released, with all that it keeps alive, and then
  /// `whenQuiet` is called: at once, or by the call that is under way.
  void end(platform::Block whenQuiet);

 private:
  bool shallSchedule();

  platform::detail::Mutex mutex_;
  HTTPProgressHandler handler_ CORVANE_GUARDED_BY(mutex_);
  std::optional<HTTPProgress> missed_ CORVANE_GUARDED_BY(mutex_);  ///< came while a call was under way
  /// A call waits on the queue, and will tell the latest.
  bool isScheduled_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isCalling_ CORVANE_GUARDED_BY(mutex_) = false;
  bool hasEnded_ CORVANE_GUARDED_BY(mutex_) = false;
  platform::Block whenQuiet_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace corvane::detail
