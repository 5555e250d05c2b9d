#include "Platform/Dispatch/Internal/ManualClock.hpp"

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/TimerHeap.hpp"

namespace platform::detail {
namespace {

Seconds seconds(std::chrono::nanoseconds interval) { return interval; }

}  // namespace

class ManualClock::Time final : public Clock {
 public:
  Instant now() const override {
    const MutexLock lock(mutex);
    return now_;
  }

  Key schedule(Instant due, std::chrono::nanoseconds leeway, Block action) override {
    const MutexLock lock(mutex);
    return add(due, leeway, std::move(action));
  }

  Key scheduleAfter(std::chrono::nanoseconds delay, Block action) override {
    const MutexLock lock(mutex);
    return add(now_ + delay, {}, std::move(action));
  }

  void cancel(const Key& key) override {
    Block dropped;
    const MutexLock lock(mutex);
    dropped = timers.remove(key);
  }

  void advance(std::chrono::nanoseconds interval) {
    const MutexLock lock(mutex);
    const Instant end = now_ + interval;
    while (const auto wakeUp = timers.nextWakeUp()) {
      if (*wakeUp > end) break;
      now_ = std::max(now_, *wakeUp);
      ++wakeUps;
      callDue();
    }
    now_ = end;
  }

  void callDue() CORVANE_REQUIRES(mutex) {
    while (Block action = timers.takeDue(now_)) {
      const MutexUnlock unlocked(mutex);
      action();
      action = nullptr;
    }
  }

  mutable Mutex mutex;
  ConditionVariable changed;
  TimerHeap timers CORVANE_GUARDED_BY(mutex);
  std::vector<Seconds> waits CORVANE_GUARDED_BY(mutex);
  std::size_t wakeUps CORVANE_GUARDED_BY(mutex) = 0;

 private:
  Key add(Instant due, std::chrono::nanoseconds leeway, Block action) CORVANE_REQUIRES(mutex) {
    waits.push_back(seconds(due - now_));
    const Key key = timers.add(due, leeway, std::move(action));
    changed.notifyAll();
    return key;
  }

  Instant now_ CORVANE_GUARDED_BY(mutex){};
};

ManualClock::ManualClock() : time_(std::make_shared<Time>()) { Clock::install(time_); }

ManualClock::~ManualClock() {
  Clock::install(nullptr);
  TimerHeap dropped;
  const MutexLock lock(time_->mutex);
  std::swap(dropped, time_->timers);
}

Seconds ManualClock::now() const { return seconds(time_->now()); }

void ManualClock::advance(Seconds interval) { time_->advance(Clock::nanoseconds(interval)); }

Seconds ManualClock::advanceToNextTimer() {
  MutexLock lock(time_->mutex);
  const auto wakeUp = time_->timers.nextWakeUp();
  lock.unlock();
  if (!wakeUp) return 0;
  const auto interval = std::max(*wakeUp - time_->now(), std::chrono::nanoseconds(0));
  time_->advance(interval);
  return seconds(interval);
}

std::size_t ManualClock::pendingTimers() const {
  const MutexLock lock(time_->mutex);
  return time_->timers.count();
}

bool ManualClock::waitForTimers(std::size_t count, Seconds limit) const {
  const MutexLock lock(time_->mutex);
  return time_->changed.waitUntil(time_->mutex, std::chrono::steady_clock::now() + Clock::nanoseconds(limit),
                                  [&]() CORVANE_REQUIRES(time_->mutex) { return time_->timers.count() >= count; });
}

std::vector<Seconds> ManualClock::waits() const {
  const MutexLock lock(time_->mutex);
  return time_->waits;
}

std::size_t ManualClock::wakeUps() const {
  const MutexLock lock(time_->mutex);
  return time_->wakeUps;
}

}  // namespace platform::detail
