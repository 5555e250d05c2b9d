#include "Platform/Dispatch/Internal/MainQueueCore.hpp"

#include <cstdio>

#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {
namespace {

constexpr std::chrono::seconds patience{5};
constexpr const char* nothingDrains =
    "Corvane: work is waiting on the main queue, but nothing drains it: call DispatchQueue::main().run() or "
    "runUntil(), or hand it to your event loop with attachToHost()\n";

}  // namespace

MainQueueCore& MainQueueCore::shared() {
  static auto& queue = *new MainQueueCore;
  return queue;
}

std::shared_ptr<QueueCore> MainQueueCore::handle() {
  // Owns nothing, since the queue is never destroyed: copying it touches no shared counter.
  return std::shared_ptr<QueueCore>(std::shared_ptr<void>(), this);
}

void MainQueueCore::async(Block&& block) {
  Lock lock(mutex_);
  const bool wasEmpty = blocks_.isEmpty();
  blocks_.push(std::move(block));
  announce(lock, wasEmpty);
}

void MainQueueCore::async(std::vector<Block>&& blocks) {
  if (blocks.empty()) return;
  Lock lock(mutex_);
  const bool wasEmpty = blocks_.isEmpty();
  for (auto& block : blocks) blocks_.push(std::move(block));
  announce(lock, wasEmpty);
}

/// Tells whoever drains. Releases the lock.
void MainQueueCore::announce(Lock& lock, bool wasEmpty) {
  const auto host = wasEmpty ? host_ : nullptr;
  const bool wakes = sleepers_ != 0 && !isBusy_;
  const bool expectsDrain = !wasEverDrained_ && !std::exchange(isExpectingDrain_, true);
  lock.unlock();
  if (wakes) changed_.notify_one();
  if (host) (*host)();
  if (expectsDrain) expectDrain();
}

/// Prints a hint, once, when nobody has drained the queue a while from now.
void MainQueueCore::expectDrain() {
  hintClock_->scheduleAfter(patience, [this] {
    const std::lock_guard lock(mutex_);
    if (!wasEverDrained_) std::fputs(nothingDrains, stderr);
  });
}

void MainQueueCore::run() {
  enterDrain("run");
  Lock lock(mutex_);
  while (!shallStop_) {
    if (isReady()) {
      runNext(lock);
    } else {
      sleep(lock, Deadline(Seconds::unlimited()));
    }
  }
  shallStop_ = false;
  leaveDrain(lock);
}

bool MainQueueCore::runUntil(void* object, bool (*isDone)(void*), Seconds timeout) {
  enterDrain("runUntil");
  const Deadline deadline(timeout);
  Lock lock(mutex_);
  while (true) {
    lock.unlock();
    const bool done = isDone(object);
    const bool ends = done || deadline.hasPassed();
    lock.lock();
    if (ends) {
      leaveDrain(lock);
      return done;
    }
    if (!isReady()) sleep(lock, deadline);
    if (isReady()) runNext(lock);
  }
}

std::size_t MainQueueCore::runOnce() {
  Lock lock(mutex_);
  wasEverDrained_ = true;
  const std::size_t count = blocks_.count();
  std::size_t ran = 0;
  // Not ready when this was called inside a block (a host's event loop may run there, as for a modal
  // dialogue) or while another thread drains. The queue stays serial.
  while (ran < count && isReady()) {
    runNext(lock);
    ++ran;
  }
  if (!isBusy_) leaveDrain(lock);
  return ran;
}

void MainQueueCore::stop() {
  const std::lock_guard lock(mutex_);
  shallStop_ = true;
  changed_.notify_all();
}

void MainQueueCore::attachToHost(UniqueFunction<void()> schedule) {
  Lock lock(mutex_);
  host_ = schedule ? std::make_shared<UniqueFunction<void()>>(std::move(schedule)) : nullptr;
  if (host_) wasEverDrained_ = true;
  const auto host = blocks_.isEmpty() ? nullptr : host_;
  lock.unlock();
  if (host) (*host)();
}

void MainQueueCore::enterDrain(const char* function) {
  if (QueueFrame::contains(*this)) {
    trap(std::string(function) + " was called on the main queue from inside one of its own blocks.");
  }
  LocalQueues::flushCurrent();
  const std::lock_guard lock(mutex_);
  wasEverDrained_ = true;
}

/// Releases the lock. What is left may have come while other blocks waited, so that the host was not told, or the
/// host's answer to the one call that it got may have been turned away.
void MainQueueCore::leaveDrain(Lock& lock) {
  const auto host = blocks_.isEmpty() ? nullptr : host_;
  lock.unlock();
  if (host) (*host)();
}

void MainQueueCore::runNext(Lock& lock) {
  isBusy_ = true;
  Block block = blocks_.pop();
  lock.unlock();
  {
    const QueueFrame frame(*this);
    performAndDrop(block);
  }
  lock.lock();
  isBusy_ = false;
  // Others that drain may take the next block, and what this one did may be what they wait for.
  if (sleepers_ != 0) changed_.notify_all();
}

void MainQueueCore::sleep(Lock& lock, const Deadline& deadline) {
  ++sleepers_;
  if (deadline.isNever()) {
    changed_.wait(lock);
  } else {
    changed_.wait_until(lock, deadline.point());
  }
  --sleepers_;
}

}  // namespace platform::detail
