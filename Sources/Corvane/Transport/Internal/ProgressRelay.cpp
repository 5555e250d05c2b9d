#include "Corvane/Transport/Internal/ProgressRelay.hpp"

#include <utility>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

using platform::detail::MutexLock;

platform::ProgressObservation ProgressRelay::observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                                     std::optional<platform::DispatchQueue> queue) {
  return task->progress()->observe(
      [self = shared_from_this(), queue = std::move(queue)](const std::shared_ptr<platform::Progress>& progress) {
        if (self->shallSchedule()) velisand::async(queue, [self, progress] { self->call(HTTPProgress(progress)); });
      });
}

/// The progress is that of the moment when it is told, so one call that waits will do for all.
bool ProgressRelay::shallSchedule() {
  const MutexLock lock(mutex_);
  if (hasEnded_ || !handler_.isListenedTo()) return false;
  return !std::exchange(isScheduled_, true);
}

void ProgressRelay::call(const HTTPProgress& progress) {
  MutexLock lock(mutex_);
  isScheduled_ = false;
  if (hasEnded_) return;
  missed_ = progress;
  if (isCalling_) return;
  isCalling_ = true;
  // A copy, which keeps alive what is being called.
  HTTPProgressHandler handler = handler_;
  while (missed_) {
    const HTTPProgress latest = *std::exchange(missed_, std::nullopt);
    lock.unlock();
    handler(latest);
    lock.lock();
  }
  isCalling_ = false;
  platform::Block whenQuiet = std::exchange(whenQuiet_, {});
  lock.unlock();
  handler = nullptr;
  if (whenQuiet) whenQuiet();
}

void ProgressRelay::end(platform::Block whenQuiet) {
  HTTPProgressHandler dropped;
  {
    const MutexLock lock(mutex_);
    hasEnded_ = true;
    std::swap(dropped, handler_);
    if (isCalling_) {
      whenQuiet_ = std::move(whenQuiet);
      return;
    }
  }
  dropped = nullptr;
  whenQuiet();
}

std::shared_ptr<ProgressRelay> progressRelay(HTTPProgressHandler handler) {
  return handler ? std::make_shared<ProgressRelay>(std::move(handler)) : nullptr;
}

void tell(const std::shared_ptr<ProgressRelay>& relay, const std::optional<platform::DispatchQueue>& queue,
          const HTTPProgress& progress) {
  velisand::async(queue, [relay, progress] { relay->call(progress); });
}

void end(ProgressRelay& relay, platform::Block whenQuiet) { relay.end(std::move(whenQuiet)); }

}  // namespace corvane::detail
