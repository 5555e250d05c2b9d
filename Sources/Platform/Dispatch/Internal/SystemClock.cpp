#include "Platform/Dispatch/Internal/SystemClock.hpp"

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/TrapException.hpp"
#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

SystemClock& SystemClock::shared() {
  static auto& clock = *new SystemClock;
  return clock;
}

Clock::Instant SystemClock::now() const {
  return std::chrono::duration_cast<Instant>(std::chrono::steady_clock::now().time_since_epoch());
}

Clock::Key SystemClock::schedule(Instant due, std::chrono::nanoseconds leeway, Block action) {
  ForkGuard::requireThreads();
  MutexLock lock(mutex_);
  const Key key = timers_.add(due, leeway, std::move(action));
  if (!isServed_) {
    isServed_ = true;
    if (!startThread("corvane-timer", [this] { serve(); })) {
      trap("The timer thread could not be started: out of memory, or of threads");
    }
  }
  const bool isEarlier = due + leeway < wakeUp_;
  lock.unlock();
  if (isEarlier) changed_.notifyOne();
  return key;
}

void SystemClock::cancel(const Key& key) {
  if (ForkGuard::isForkedChild()) return;  // as an object of static duration may ask at the exit; nothing is due there
  Block dropped;
  const MutexLock lock(mutex_);
  dropped = timers_.remove(key);
}

void SystemClock::perform(Block& action) noexcept {
  try {
    action();
  } catch (...) {
    trapException({"out of memory: what is due cannot be put on its queue"}, {"An exception escaped the timer"});
  }
}

void SystemClock::serve() {
  MutexLock lock(mutex_);
  while (true) {
    if (Block action = timers_.takeDue(now())) {
      lock.unlock();
      perform(action);
      action = nullptr;
      lock.lock();
      continue;
    }
    const auto wakeUp = timers_.nextWakeUp();
    wakeUp_ = wakeUp.value_or(Instant::max());
    if (wakeUp) {
      changed_.waitUntil(mutex_, std::chrono::steady_clock::time_point(*wakeUp));
    } else {
      changed_.wait(mutex_);
    }
    wakeUp_ = Instant::min();
  }
}

}  // namespace platform::detail
