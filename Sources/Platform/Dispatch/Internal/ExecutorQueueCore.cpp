#include "Platform/Dispatch/Internal/ExecutorQueueCore.hpp"

#include <iterator>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/TrapException.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

ExecutorQueueCore::ExecutorQueueCore(std::string label, DispatchQueue::Executor executor)
    : QueueCore(std::move(label)), executor_(std::move(executor)) {
  if (!executor_) trap("The queue \"" + this->label() + "\" was made with an empty executor.");
}

void ExecutorQueueCore::async(Block&& block) {
  MutexLock lock(mutex_);
  pending_.push_back(std::move(block));
  if (std::exchange(isScheduled_, true)) return;
  lock.unlock();
  submitDrain();
}

void ExecutorQueueCore::async(std::vector<Block>&& blocks) {
  if (blocks.empty()) return;
  MutexLock lock(mutex_);
  pending_.insert(pending_.end(), std::make_move_iterator(blocks.begin()), std::make_move_iterator(blocks.end()));
  if (std::exchange(isScheduled_, true)) return;
  lock.unlock();
  submitDrain();
}

/// What the executor gets. When it is destroyed without having been called, the blocks will not be run.
class ExecutorQueueCore::Drain {
 public:
  explicit Drain(std::shared_ptr<ExecutorQueueCore> queue) : queue_(std::move(queue)) {}
  Drain(Drain&&) noexcept = default;
  Drain& operator=(Drain&&) = delete;
  ~Drain() {
    if (queue_) queue_->abandon();
  }
  void operator()() {
    if (const auto queue = std::exchange(queue_, nullptr)) queue->drain();
  }

 private:
  std::shared_ptr<ExecutorQueueCore> queue_;
};

void ExecutorQueueCore::submitDrain() noexcept {
  try {
    executor_(Drain(shared_from_this()));
  } catch (...) {
    trapException({"out of memory in the executor of the queue \"", label(), "\""},
                  {"The executor of the queue \"", label(), "\" threw"});
  }
}

/// One iteration: what is pending now. What comes meanwhile waits for the next one, so that the
/// executor's other work gets a chance.
void ExecutorQueueCore::drain() {
  while (beginIteration()) {
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

/// Drops what is pending. What comes later is offered to the executor again.
void ExecutorQueueCore::abandon() {
  // Destroyed without the lock: what a block keeps alive may come back here as it goes.
  std::vector<Block> dropped;
  const MutexLock lock(mutex_);
  dropped.swap(pending_);
  isScheduled_ = false;
}

/// False when there is nothing to do, or another thread (or a frame further up on this one) is at it.
bool ExecutorQueueCore::beginIteration() {
  const MutexLock lock(mutex_);
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
  const MutexLock lock(mutex_);
  if (!pending_.empty()) return true;
  isScheduled_ = isDraining_ = drainsAgain_ = false;
  return false;
}

/// Whether the executor has called the next drain already, which could do nothing yet.
bool ExecutorQueueCore::mustContinue() {
  const MutexLock lock(mutex_);
  isDraining_ = false;
  return std::exchange(drainsAgain_, false);
}

}  // namespace platform::detail
