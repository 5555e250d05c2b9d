#pragma once

#include <condition_variable>
#include <mutex>

#include "Platform/Dispatch/Internal/Clock.hpp"
#include "Platform/Dispatch/Internal/Deadline.hpp"
#include "Platform/Dispatch/Internal/QueueCore.hpp"
#include "Platform/Dispatch/Internal/RingQueue.hpp"

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
  /// What measures how long nobody drained the queue. The system's clock: a clock that a test advances would count
  /// the hint among the timers of what is tested. Before the first block.
  void hintBy(std::shared_ptr<Clock> clock) { hintClock_ = std::move(clock); }

 private:
  using Lock = std::unique_lock<std::mutex>;

  MainQueueCore() : QueueCore("corvane.main") {}
  bool isReady() const { return !blocks_.isEmpty() && !isBusy_; }
  void announce(Lock& lock, bool wasEmpty);
  void expectDrain();
  void enterDrain(const char* function);
  void leaveDrain(Lock& lock);
  void runNext(Lock& lock);
  void sleep(Lock& lock, const Deadline& deadline);

  std::mutex mutex_;
  std::condition_variable changed_;
  RingQueue<Block> blocks_;
  // A block is running.
  bool isBusy_ = false;
  bool shallStop_ = false;
  bool wasEverDrained_ = false;
  bool isExpectingDrain_ = false;
  std::size_t sleepers_ = 0;
  std::shared_ptr<UniqueFunction<void()>> host_;
  std::shared_ptr<Clock> hintClock_ = Clock::ofTheSystem();
};

}  // namespace platform::detail
