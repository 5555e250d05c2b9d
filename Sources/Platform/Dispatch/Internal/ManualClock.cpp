#include "Platform/Dispatch/Internal/ManualClock.hpp"

#include <condition_variable>
#include <mutex>

#include "Platform/Dispatch/Internal/TimerHeap.hpp"

namespace platform::detail {
namespace {

Seconds seconds(std::chrono::nanoseconds interval) { return interval; }

}  // namespace

class ManualClock::Time final : public Clock {
 public:
  Instant now() const override {
    const std::lock_guard lock(mutex);
    return now_;
  }

  Key schedule(Instant due, std::chrono::nanoseconds leeway, Block action) override {
    const std::lock_guard lock(mutex);
    return add(due, leeway, std::move(action));
  }

  Key scheduleAfter(std::chrono::nanoseconds delay, Block action) override {
    const std::lock_guard lock(mutex);
    return add(now_ + delay, {}, std::move(action));
  }

  void cancel(const Key& key) override {
    Block dropped;
    const std::lock_guard lock(mutex);
    dropped = timers.remove(key);
  }

  void advance(std::chrono::nanoseconds interval) {
    std::unique_lock lock(mutex);
    const Instant end = now_ + interval;
    while (const auto wakeUp = timers.nextWakeUp()) {
      if (*wakeUp > end) break;
      now_ = std::max(now_, *wakeUp);
      ++wakeUps;
      callDue(lock);
    }
    now_ = end;
  }

  void callDue(std::unique_lock<std::mutex>& lock) {
    while (Block action = timers.takeDue(now_)) {
      lock.unlock();
      action();
      action = nullptr;
      lock.lock();
    }
  }

  mutable std::mutex mutex;
  std::condition_variable changed;
  TimerHeap timers;
  std::vector<Seconds> waits;
  std::size_t wakeUps = 0;

 private:
  Key add(Instant due, std::chrono::nanoseconds leeway, Block action) {
    waits.push_back(seconds(due - now_));
    const Key key = timers.add(due, leeway, std::move(action));
    changed.notify_all();
    return key;
  }

  Instant now_{};
};

ManualClock::ManualClock() : time_(std::make_shared<Time>()) { Clock::install(time_); }

ManualClock::~ManualClock() {
  Clock::install(nullptr);
  TimerHeap dropped;
  const std::lock_guard lock(time_->mutex);
  std::swap(dropped, time_->timers);
}

Seconds ManualClock::now() const { return seconds(time_->now()); }

void ManualClock::advance(Seconds interval) { time_->advance(Clock::nanoseconds(interval)); }

Seconds ManualClock::advanceToNextTimer() {
  std::unique_lock lock(time_->mutex);
  const auto wakeUp = time_->timers.nextWakeUp();
  lock.unlock();
  if (!wakeUp) return 0;
  const auto interval = std::max(*wakeUp - time_->now(), std::chrono::nanoseconds(0));
  time_->advance(interval);
  return seconds(interval);
}

std::size_t ManualClock::pendingTimers() const {
  const std::lock_guard lock(time_->mutex);
  return time_->timers.count();
}

bool ManualClock::waitForTimers(std::size_t count, Seconds limit) const {
  std::unique_lock lock(time_->mutex);
  return time_->changed.wait_for(lock, Clock::nanoseconds(limit), [&] { return time_->timers.count() >= count; });
}

std::vector<Seconds> ManualClock::waits() const {
  const std::lock_guard lock(time_->mutex);
  return time_->waits;
}

std::size_t ManualClock::wakeUps() const {
  const std::lock_guard lock(time_->mutex);
  return time_->wakeUps;
}

}  // namespace platform::detail
