#include "Corvane/Transfers/Internal/ProgressRelay.hpp"

#include "Corvane/Transfers/TransferRequestable.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

platform::ProgressObservation ProgressRelay::observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                                     std::optional<platform::DispatchQueue> queue) {
  return task->progress()->observe(
      [self = shared_from_this(), queue = std::move(queue)](const std::shared_ptr<platform::Progress>& progress) {
        if (self->handler_.isListenedTo()) velisand::async(queue, [self, progress] { self->call(progress); });
      });
}

void ProgressRelay::call(const std::shared_ptr<platform::Progress>& progress) {
  const std::lock_guard lock(mutex_);
  if (!hasEnded_) handler_(HTTPProgress(progress));
}

void ProgressRelay::end() {
  const std::lock_guard lock(mutex_);
  hasEnded_ = true;
}

std::shared_ptr<ProgressRelay> progressRelay(HTTPProgressHandler handler) {
  return handler ? std::make_shared<ProgressRelay>(std::move(handler)) : nullptr;
}

void end(ProgressRelay& relay) { relay.end(); }

}  // namespace corvane::detail
