#include "Platform/Dispatch/Internal/MainQueueCore.hpp"

#include <new>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/TrapException.hpp"
#include "Platform/Dispatch/DispatchHint.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {
namespace {

constexpr std::chrono::seconds patience{5};
constexpr const char* nothingDrains =
    "work is waiting on the main queue, but nothing drains it: call DispatchQueue::main().run() or runUntil(), or hand "
    "it to your event loop with attachToHost()";

/// The blocks that the host is told of were submitted, so that it is too late to fail.
void announceTo(UniqueFunction<void()>& host) noexcept {
  try {
    host();
  } catch (...) {
    trapException({"out of memory in the host's function that the main queue calls"},
                  {"The host's function that the main queue calls threw"});
  }
}

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
  MutexLock lock(mutex_);
  const bool wasEmpty = blocks_.isEmpty();
  blocks_.push(std::move(block));
  const Announcement next = announcement(wasEmpty);
  lock.unlock();
  announce(next);
}

void MainQueueCore::async(std::vector<Block>&& blocks) {
  if (blocks.empty()) return;
  MutexLock lock(mutex_);
  const bool wasEmpty = blocks_.isEmpty();
  for (auto& block : blocks) blocks_.push(std::move(block));
  const Announcement next = announcement(wasEmpty);
  lock.unlock();
  announce(next);
}

MainQueueCore::Announcement MainQueueCore::announcement(bool wasEmpty) {
  return {.host = wasEmpty ? host_ : nullptr,
          .wakes = sleepers_ != 0 && !isBusy_,
          .expectsDrain = !wasEverDrained_ && !std::exchange(isExpectingDrain_, true)};
}

/// Wakes the thread that drains.
void MainQueueCore::announce(const Announcement& announcement) noexcept {
  if (announcement.wakes) changed_.notifyOne();
  if (announcement.host) announceTo(*announcement.host);
  if (announcement.expectsDrain) expectDrain();
}

/// Prints a hint, once, when no thread drains the queue for a while.
void MainQueueCore::expectDrain() {
  try {
    hintClock_->scheduleAfter(patience, [this] {
      {
        const MutexLock lock(mutex_);
        if (wasEverDrained_) return;
      }
      giveDispatchHint(nothingDrains);
    });
  } catch (const std::bad_alloc&) {
    const MutexLock lock(mutex_);
    isExpectingDrain_ = false;  // the next block tries again
  }
}

void MainQueueCore::run() {
  enterDrain("run");
  MutexLock lock(mutex_);
  while (!shallStop_) {
    if (isReady()) {
      runNext();
    } else {
      sleep(WaitDeadline(Seconds::unlimited()));
    }
  }
  shallStop_ = false;
  const Host host = hostOfWhatIsLeft();
  lock.unlock();
  if (host) (*host)();
}

bool MainQueueCore::runUntil(void* object, bool (*isDone)(void*), Seconds timeout) {
  enterDrain("runUntil");
  const WaitDeadline deadline(timeout);
  MutexLock lock(mutex_);
  while (true) {
    lock.unlock();
    const bool done = isDone(object);
    const bool ends = done || deadline.hasPassed();
    lock.lock();
    if (ends) {
      const Host host = hostOfWhatIsLeft();
      lock.unlock();
      if (host) (*host)();
      return done;
    }
    if (!isReady()) sleep(deadline);
    if (isReady()) runNext();
  }
}

std::size_t MainQueueCore::runOnce() {
  MutexLock lock(mutex_);
  wasEverDrained_ = true;
  const std::size_t count = blocks_.count();
  std::size_t ran = 0;
  // Not ready when this was called inside a block (a host's event loop may run there, as for a modal
  // dialogue) or while another thread drains. The queue stays serial.
  while (ran < count && isReady()) {
    runNext();
    ++ran;
  }
  const Host host = isBusy_ ? nullptr : hostOfWhatIsLeft();
  lock.unlock();
  if (host) (*host)();
  return ran;
}

void MainQueueCore::stop() {
  const MutexLock lock(mutex_);
  shallStop_ = true;
  changed_.notifyAll();
}

void MainQueueCore::attachToHost(UniqueFunction<void()> schedule) {
  MutexLock lock(mutex_);
  host_ = schedule ? std::make_shared<UniqueFunction<void()>>(std::move(schedule)) : nullptr;
  if (host_) wasEverDrained_ = true;
  const Host host = hostOfWhatIsLeft();
  lock.unlock();
  if (host) (*host)();
}

void MainQueueCore::enterDrain(const char* function) {
  if (QueueFrame::contains(*this)) {
    trapWith({function, " was called on the main queue from inside one of its own blocks."});
  }
  LocalQueues::flushCurrent();
  const MutexLock lock(mutex_);
  wasEverDrained_ = true;
}

/// Whom a drain that ends has to tell, without the lock. What is left may have come while other blocks waited, so that
/// the host was not told, or the host's reaction to the one call that it got may have been turned away.
MainQueueCore::Host MainQueueCore::hostOfWhatIsLeft() { return blocks_.isEmpty() ? nullptr : host_; }

void MainQueueCore::runNext() {
  isBusy_ = true;
  Block block = blocks_.pop();
  {
    const MutexUnlock unlocked(mutex_);
    const QueueFrame frame(*this);
    performAndDrop(block);
  }
  isBusy_ = false;
  // Others that drain may take the next block, and what this one did may be what they wait for.
  if (sleepers_ != 0) changed_.notifyAll();
}

void MainQueueCore::sleep(const WaitDeadline& deadline) {
  ++sleepers_;
  if (deadline.isNever()) {
    changed_.wait(mutex_);
  } else {
    changed_.waitUntil(mutex_, deadline.point());
  }
  --sleepers_;
}

}  // namespace platform::detail
