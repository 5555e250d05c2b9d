#pragma once

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/Clock.hpp"
#include "Platform/Dispatch/Internal/QueueCore.hpp"
#include "Platform/Dispatch/Internal/RingQueue.hpp"
#include "Platform/Dispatch/Internal/WaitDeadline.hpp"

namespace platform::detail {

/// The serial queue that the application drains.
class CORVANE_API MainQueueCore final : public QueueCore {
 public:
  static MainQueueCore& shared();

  void async(Block&& block) override;
  void async(std::vector<Block>&& blocks) override;
  void sync(void* object, void (*call)(void*)) override { enqueueAndWait(object, call); }
  std::shared_ptr<QueueCore> handle() override;

  void run();
  std::size_t runOnce();
  bool runUntil(void* object, bool (*isDone)(void*), Seconds timeout);
  void stop();
  void attachToHost(UniqueFunction<void()> schedule);
  /// What measures how long the queue was not drained. The system's clock: a clock that a test advances would count
  /// the hint among the timers of what is tested. Before the first block.
  void hintBy(std::shared_ptr<Clock> clock) { hintClock_ = std::move(clock); }

 private:
  using Host = std::shared_ptr<UniqueFunction<void()>>;
  /// What a thread that submitted blocks has to do after it released the lock.
  struct Announcement {
    Host host;
    bool wakes = false;
    bool expectsDrain = false;
  };

  MainQueueCore() : QueueCore("corvane.main") {}
  bool isReady() const CORVANE_REQUIRES(mutex_) { return !blocks_.isEmpty() && !isBusy_; }
  Announcement announcement(bool wasEmpty) CORVANE_REQUIRES(mutex_);
  void announce(const Announcement& announcement) noexcept;
  void expectDrain();
  void enterDrain(const char* function);
  Host hostOfWhatIsLeft() CORVANE_REQUIRES(mutex_);
  void runNext() CORVANE_REQUIRES(mutex_);
  void sleep(const WaitDeadline& deadline) CORVANE_REQUIRES(mutex_);

  Mutex mutex_;
  ConditionVariable changed_;
  RingQueue<Block> blocks_ CORVANE_GUARDED_BY(mutex_);
  // A block is running.
  bool isBusy_ CORVANE_GUARDED_BY(mutex_) = false;
  bool shallStop_ CORVANE_GUARDED_BY(mutex_) = false;
  bool wasEverDrained_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isExpectingDrain_ CORVANE_GUARDED_BY(mutex_) = false;
  std::size_t sleepers_ CORVANE_GUARDED_BY(mutex_) = 0;
  Host host_ CORVANE_GUARDED_BY(mutex_);
  std::shared_ptr<Clock> hintClock_ = Clock::ofTheSystem();
};

}  // namespace platform::detail
