#include "Platform/Dispatch/Internal/LocalQueues.hpp"

#include <new>
#include <utility>

#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

thread_local LocalQueues* LocalQueues::current_ = nullptr;

LocalQueues& LocalQueues::begin() {
  if (current_) trap("A thread can have only one InlineDrain at a time.");
  thread_local LocalQueues ofThisThread;
  current_ = &ofThisThread;
  return ofThisThread;
}

void LocalQueues::end() {
  current_ = nullptr;
  flush();
}

bool LocalQueues::collect(SerialQueueCore& queue) {
  if (!current_ || current_->rests_) return false;
  try {
    current_->collected_.push_back(queue.shared_from_this());
    return true;
  } catch (const std::bad_alloc&) {
    return false;  // the pool has a place for it
  }
}

bool LocalQueues::run() {
  // A block that comes here again finds nothing: its submissions went to the pool.
  if (rests_ || collected_.empty()) return false;
  drained_.swap(collected_);
  rests_ = true;
  while (nextDrained_ < drained_.size()) {
    const auto queue = std::move(drained_[nextDrained_++]);
    queue->drainHere();
  }
  rests_ = false;
  drained_.clear();
  nextDrained_ = 0;
  return true;
}

void LocalQueues::flush() {
  for (auto& queue : collected_) SerialQueueCore::submitDrain(std::move(queue));
  collected_.clear();
  // A block that `run` is in the middle of may be about to wait for a queue that has its turn only later.
  while (nextDrained_ < drained_.size()) SerialQueueCore::submitDrain(std::move(drained_[nextDrained_++]));
}

}  // namespace platform::detail
