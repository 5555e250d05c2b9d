#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace platform {

class AssistedWait;

/// Something that makes progress only when a thread drives it, such as the network loop. A thread that
/// would otherwise sleep may drive it: that saves the hand-over to another thread and back.
class CORVANE_API Driver {
 public:
  virtual ~Driver() = default;
  /// Drives until `wait` is done, or returns early (false) when another thread drives already or there is
  /// nothing to drive. Must run, before it blocks again, the work that its own progress put on queues
  /// (see `LocalWork`).
  virtual bool drive(AssistedWait& wait, Seconds limit) = 0;
  /// Makes a `drive` under way look at its wait again. Any thread.
  virtual void interrupt() = 0;

  /// The process's driver; null until there is one. Set once, never destroyed.
  static std::atomic<Driver*> shared;
};

/// One thread waits until another (or itself, by driving) calls `signal`.
class CORVANE_API AssistedWait {
 public:
  /// Blocks until `signal` was called; drives the shared driver meanwhile when it can. False when `limit` passed first.
  bool wait(Seconds limit);
  void wait();
  void signal();
  bool isDone() const { return done_.load(std::memory_order_acquire); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<bool> done_ = false;
  std::atomic<Driver*> driver_ = nullptr;
};

/// Collects, while it lives on a thread, the serial queues that get work from this thread and would need a
/// pool worker; `run` drains them here, and what is left at destruction goes to the pool. Collecting rests
/// while `run` executes blocks, so work that those blocks submit goes where it always goes and a block may
/// wait for it. At most one per thread (traps).
class CORVANE_API LocalWork {
 public:
  LocalWork();
  ~LocalWork();
  LocalWork(const LocalWork&) = delete;
  LocalWork& operator=(const LocalWork&) = delete;
  /// Drains the collected queues; returns whether there were any.
  bool run();
  /// Hands what is collected to the pool.
  void flush();

 private:
  struct State;
  State* state_;
};

}  // namespace platform
