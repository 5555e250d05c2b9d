#pragma once

#include <atomic>
#include <cstdint>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/Futex.hpp"
#include "Platform/Dispatch/Internal/QueueCore.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Dispatch/Internal/WorkerPool.hpp"

namespace platform::detail {

/// A serial queue on the pool.
///
/// A function that makes an unheld queue held must have it drained: `async` sends the queue to the pool, which
/// drains it; `sync` runs its function right there. A `sync` on a held queue waits for its turn, and the
/// thread that holds the queue passes it on when all blocks submitted before have run.
class SerialQueueCore final : public QueueCore,
                              public PoolClient,
                              public std::enable_shared_from_this<SerialQueueCore> {
 public:
  explicit SerialQueueCore(std::string label);
  ~SerialQueueCore() override;

  void async(Block&& block) override;
  void async(std::vector<Block>&& blocks) override;
  void sync(void* object, void (*call)(void*)) override;
  std::shared_ptr<QueueCore> handle() override { return shared_from_this(); }

  const ThreadName& threadName() const override { return threadName_; }
  void work(Block& block) override;

  void allowInlineDrain() { allowsInlineDrain_.store(true, std::memory_order_relaxed); }
  /// Drains on the calling thread a queue that is held for that purpose; leaves what is much to the pool.
  void drainHere();
  static void submitDrain(std::shared_ptr<SerialQueueCore> queue) noexcept;

 private:
  struct Waiter {
    // How many blocks have to run before.
    std::uint64_t turn;
    Event isHolder;
    Waiter* next = nullptr;
  };
  class Hold;

  void arrangeDrain() noexcept;
  void drain(bool onWorker);
  bool proceed();
  void acquire();
  void release();
  Waiter* takeWaiterWhoseTurnItIs() CORVANE_REQUIRES(mutex_);

  const ThreadName threadName_;
  std::atomic<bool> allowsInlineDrain_ = false;

  Mutex mutex_;
  std::vector<Block> pending_ CORVANE_GUARDED_BY(mutex_);
  std::uint64_t submitted_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool isHeld_ CORVANE_GUARDED_BY(mutex_) = false;
  Waiter* firstWaiter_ CORVANE_GUARDED_BY(mutex_) = nullptr;
  Waiter* lastWaiter_ CORVANE_GUARDED_BY(mutex_) = nullptr;
  // Belong to the holder: the batch at hand, the next block in it, where to stop and look at the waiters.
  std::vector<Block> batch_;
  std::size_t next_ = 0;
  std::size_t stop_ = 0;
  std::uint64_t executed_ = 0;
};

}  // namespace platform::detail
