#include "Platform/Dispatch/Internal/LocalQueues.hpp"

#include <utility>

#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

thread_local LocalQueues* LocalQueues::current_ = nullptr;

LocalQueues::LocalQueues() {
  if (current_) trap("A thread can have only one LocalWork at a time.");
  current_ = this;
}

LocalQueues::~LocalQueues() {
  current_ = nullptr;
  flush();
}

bool LocalQueues::collect(SerialQueueCore& queue) {
  if (!current_ || current_->rests_) return false;
  current_->queues_.push_back(queue.shared_from_this());
  return true;
}

bool LocalQueues::run() {
  // A block that comes here again finds nothing: its submissions went to the pool.
  if (queues_.empty()) return false;
  const auto collected = std::exchange(queues_, {});
  rests_ = true;
  for (const auto& queue : collected) queue->drainHere();
  rests_ = false;
  return true;
}

void LocalQueues::flush() {
  for (const auto& queue : std::exchange(queues_, {})) SerialQueueCore::submitDrain(queue);
}

}  // namespace platform::detail
