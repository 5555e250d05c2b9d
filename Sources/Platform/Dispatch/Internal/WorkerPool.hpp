#pragma once

#include <sys/types.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/Internal/RingQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"

namespace platform::detail {

class ThreadName;

/// A queue that sends its work to the pool.
class PoolClient {
 public:
  virtual ~PoolClient() = default;
  virtual const ThreadName& threadName() const = 0;
  /// Runs on a worker. A serial queue drains itself and gets an empty block.
  virtual void work(Block& block) = 0;
};

struct PoolJob {
  std::shared_ptr<PoolClient> client;
  Block block;
};

/// The process's worker threads. Never destroyed.
///
/// There are at first as many workers as cores. When jobs wait and none was begun for ten milliseconds, the
/// workers are taken to be blocked, and one more is started, up to 64. A worker that was idle for ten
/// seconds ends.
class WorkerPool {
 public:
  static WorkerPool& shared();

  /// A block of the global queue. Throws `std::bad_alloc` where there is no room for it, and has not taken it then.
  void submit(PoolJob&& job);
  void submit(const std::shared_ptr<PoolClient>& client, std::vector<Block>&& blocks);
  /// A serial queue that is to be drained. It has its place here as long as it lives, so this never fails.
  void submitDrain(std::shared_ptr<PoolClient> queue) noexcept;
  /// Makes that place. Throws `std::bad_alloc`.
  void addQueue();
  void removeQueue() noexcept { queues_.fetch_sub(1, std::memory_order_relaxed); }
  /// Whether a job waits for a worker, so that a long-running one should make room.
  bool hasWaitingJobs() const { return waitingJobs_.load(std::memory_order_relaxed) != 0; }
  /// The threads of the workers (gettid(2)), of those that rest, too.
  std::vector<pid_t> workerThreads();

 private:
  struct Worker {
    /// Of the rest at hand. A worker that rests drives the network meanwhile, when no other thread does.
    std::optional<CooperativeWait> woken;
    /// Has got a job from its own thread while it drives, and takes it when it is done with what it does.
    bool isClaimed = false;
  };
  /// What a thread has to do, after it released the lock, so that the waiting jobs get a worker.
  struct WakeAction {
    Worker* wake = nullptr;
    bool start = false;
    bool watch = false;
  };

  WorkerPool();
  void makeRoom(std::size_t jobs) CORVANE_REQUIRES(mutex_);
  WakeAction nextWakeAction() CORVANE_REQUIRES(mutex_);
  void wakeOne(WakeAction& action) CORVANE_REQUIRES(mutex_);
  bool startsWatch() CORVANE_REQUIRES(mutex_);
  Worker* takeIdleWorker() CORVANE_REQUIRES(mutex_);
  void execute(const WakeAction& action) noexcept;
  void startWorker();
  void serve();
  bool rest(Worker& self) CORVANE_REQUIRES(mutex_);
  bool waitUnlocked(CooperativeWait& wait, Seconds limit) CORVANE_REQUIRES(mutex_);
  PoolJob takeJob() CORVANE_REQUIRES(mutex_);
  void watch();
  void checkProgress();

  static thread_local Worker* onThisThread_;

  const std::size_t cores_;
  std::atomic<std::size_t> waitingJobs_ = 0;
  // How many serial queues there are.
  std::atomic<std::size_t> queues_ = 0;

  Mutex mutex_;
  RingQueue<PoolJob> jobs_ CORVANE_GUARDED_BY(mutex_);
  std::vector<Worker*> idle_ CORVANE_GUARDED_BY(mutex_);
  std::vector<pid_t> threads_ CORVANE_GUARDED_BY(mutex_);
  std::size_t workers_ CORVANE_GUARDED_BY(mutex_) = 0;
  // Workers that were woken or started and have not looked for a job yet.
  std::size_t arriving_ CORVANE_GUARDED_BY(mutex_) = 0;
  // Those of them that have something to finish first.
  std::size_t claimed_ CORVANE_GUARDED_BY(mutex_) = 0;
  // Jobs begun, but not those that a new worker began first: a pool that only grows makes no progress.
  std::size_t begun_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::size_t begunAtLastCheck_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool isWatched_ CORVANE_GUARDED_BY(mutex_) = false;
};

}  // namespace platform::detail
