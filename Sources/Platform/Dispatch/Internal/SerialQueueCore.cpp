#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"

#include <algorithm>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"

namespace platform::detail {
namespace {

// After so many blocks a queue lets others have the worker, if any wait.
constexpr std::size_t blocksPerIteration = 256;
// A burst's memory is given back once the burst is over.
constexpr std::size_t mostBlocksKept = 1024;

}  // namespace

/// Releases the queue at the end of a scope, also when an exception passes.
class SerialQueueCore::Hold {
 public:
  explicit Hold(SerialQueueCore& queue) : queue_(queue) { queue_.acquire(); }
  ~Hold() { queue_.release(); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  SerialQueueCore& queue_;
};

SerialQueueCore::SerialQueueCore(std::string label) : QueueCore(std::move(label)), threadName_(QueueCore::label()) {
  WorkerPool::shared().addQueue();
}

SerialQueueCore::~SerialQueueCore() { WorkerPool::shared().removeQueue(); }

void SerialQueueCore::async(Block&& block) {
  MutexLock lock(mutex_);
  pending_.push_back(std::move(block));
  ++submitted_;
  if (std::exchange(isHeld_, true)) return;
  lock.unlock();
  arrangeDrain();
}

void SerialQueueCore::async(std::vector<Block>&& blocks) {
  if (blocks.empty()) return;
  const std::size_t count = blocks.size();
  MutexLock lock(mutex_);
  if (pending_.empty() && pending_.capacity() < count) {
    pending_ = std::move(blocks);
  } else {
    pending_.insert(pending_.end(), std::make_move_iterator(blocks.begin()), std::make_move_iterator(blocks.end()));
  }
  submitted_ += count;
  if (std::exchange(isHeld_, true)) return;
  lock.unlock();
  arrangeDrain();
}

void SerialQueueCore::sync(void* object, void (*call)(void*)) {
  trapWhenCurrent();
  const Hold hold(*this);
  const QueueFrame frame(*this);
  call(object);
}

void SerialQueueCore::arrangeDrain() noexcept {
  if (allowsInlineDrain_.load(std::memory_order_relaxed) && LocalQueues::collect(*this)) return;
  submitDrain(shared_from_this());
}

void SerialQueueCore::submitDrain(std::shared_ptr<SerialQueueCore> queue) noexcept {
  WorkerPool::shared().submitDrain(std::move(queue));
}

void SerialQueueCore::work(Block&) { drain(true); }

void SerialQueueCore::drainHere() { drain(false); }

void SerialQueueCore::drain(bool onWorker) {
  const QueueFrame frame(*this);
  std::size_t ran = 0;
  while (proceed()) {
    for (; next_ < stop_; ++next_, ++executed_, ++ran) performAndDrop(batch_[next_]);
    if (ran < blocksPerIteration) continue;
    ran = 0;
    if (onWorker && !WorkerPool::shared().hasWaitingJobs()) continue;
    submitDrain(shared_from_this());
    return;
  }
}

/// Finds out up to where the holder may run blocks; false when it does not hold the queue any more.
bool SerialQueueCore::proceed() {
  MutexLock lock(mutex_);
  if (Waiter* waiter = takeWaiterWhoseTurnItIs()) {
    lock.unlock();
    waiter->isHolder.set();
    return false;
  }
  if (next_ == batch_.size()) {
    batch_.clear();
    if (batch_.capacity() > mostBlocksKept) batch_.shrink_to_fit();
    next_ = 0;
    if (pending_.empty()) {
      isHeld_ = false;
      return false;
    }
    batch_.swap(pending_);
  }
  stop_ = std::min(batch_.size(), next_ + blocksPerIteration);
  // Waiters that come later have their turn after this whole batch.
  if (firstWaiter_) stop_ = std::min(stop_, next_ + static_cast<std::size_t>(firstWaiter_->turn - executed_));
  return true;
}

void SerialQueueCore::acquire() {
  MutexLock lock(mutex_);
  if (!std::exchange(isHeld_, true)) return;
  Waiter self{submitted_, {}, nullptr};
  (firstWaiter_ ? lastWaiter_->next : firstWaiter_) = &self;
  lastWaiter_ = &self;
  lock.unlock();
  LocalQueues::flushCurrent();
  self.isHolder.wait();
}

void SerialQueueCore::release() {
  MutexLock lock(mutex_);
  if (Waiter* waiter = takeWaiterWhoseTurnItIs()) {
    lock.unlock();
    waiter->isHolder.set();
  } else if (next_ < batch_.size() || !pending_.empty()) {
    lock.unlock();
    arrangeDrain();
  } else {
    isHeld_ = false;
  }
}

SerialQueueCore::Waiter* SerialQueueCore::takeWaiterWhoseTurnItIs() {
  Waiter* const waiter = firstWaiter_;
  if (!waiter || waiter->turn != executed_) return nullptr;
  firstWaiter_ = waiter->next;
  return waiter;
}

}  // namespace platform::detail
