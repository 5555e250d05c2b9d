#include "Platform/Dispatch/Internal/ExecutorQueueCore.hpp"

#include <exception>
#include <iterator>

#include "Platform/Trap.hpp"

namespace platform::detail {

ExecutorQueueCore::ExecutorQueueCore(std::string label, DispatchQueue::Executor executor)
    : QueueCore(std::move(label)), executor_(std::move(executor)) {
  if (!executor_) trap("The queue \"" + this->label() + "\" was made with an empty executor.");
}

void ExecutorQueueCore::async(Block&& block) {
  std::unique_lock lock(mutex_);
  pending_.push_back(std::move(block));
  if (std::exchange(isScheduled_, true)) return;
  lock.unlock();
  submitDrain();
}

void ExecutorQueueCore::async(std::vector<Block>&& blocks) {
  if (blocks.empty()) return;
  std::unique_lock lock(mutex_);
  pending_.insert(pending_.end(), std::make_move_iterator(blocks.begin()), std::make_move_iterator(blocks.end()));
  if (std::exchange(isScheduled_, true)) return;
  lock.unlock();
  submitDrain();
}

void ExecutorQueueCore::submitDrain() {
  try {
    executor_([self = shared_from_this()] { self->drain(); });
  } catch (const std::exception& error) {
    trap("The executor of the queue \"" + label() + "\" threw: " + error.what());
  }
}

/// One turn: what is pending now. What comes meanwhile waits for the executor's next turn, so that the
/// executor's other work gets a chance.
void ExecutorQueueCore::drain() {
  while (beginTurn()) {
    {
      const QueueFrame frame(*this);
      for (auto& block : batch_) performAndDrop(block);
    }
    batch_.clear();
    if (!hasMore()) return;
    submitDrain();
    if (!mustContinue()) return;
  }
}

/// False when there is nothing to do, or another thread (or a frame further up on this one) is at it.
bool ExecutorQueueCore::beginTurn() {
  const std::lock_guard lock(mutex_);
  if (isDraining_) {
    drainsAgain_ = true;
    return false;
  }
  if (pending_.empty()) return false;
  isDraining_ = true;
  batch_.swap(pending_);
  return true;
}

bool ExecutorQueueCore::hasMore() {
  const std::lock_guard lock(mutex_);
  if (!pending_.empty()) return true;
  isScheduled_ = isDraining_ = drainsAgain_ = false;
  return false;
}

/// Whether the executor has called the next drain already, which could do nothing yet.
bool ExecutorQueueCore::mustContinue() {
  const std::lock_guard lock(mutex_);
  isDraining_ = false;
  return std::exchange(drainsAgain_, false);
}

}  // namespace platform::detail
