#pragma once

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/TimerHeap.hpp"

namespace platform::detail {

/// The monotonic clock, and the one thread that calls what is due. The thread starts with the first action.
class SystemClock final : public Clock {
 public:
  static SystemClock& shared();

  Instant now() const override;
  Key schedule(Instant due, std::chrono::nanoseconds leeway, Block action) override;
  void cancel(const Key& key) override;

 private:
  void serve();
  static void perform(Block& action) noexcept;

  Mutex mutex_;
  ConditionVariable changed_;
  TimerHeap timers_ CORVANE_GUARDED_BY(mutex_);
  // When the thread is going to look again; it is woken only for something earlier.
  Instant wakeUp_ CORVANE_GUARDED_BY(mutex_) = Instant::max();
  bool isServed_ CORVANE_GUARDED_BY(mutex_) = false;
};

}  // namespace platform::detail
