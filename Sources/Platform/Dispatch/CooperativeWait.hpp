#pragma once

#include <atomic>
#include <cstdint>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace platform {

class CooperativeWait;
class DispatchQueue;

namespace detail {
class LocalQueues;
}

/// Something that makes progress only when a thread drives it, such as the network loop. A thread that
/// would otherwise sleep may drive it: that saves the hand-over to another thread and back.
class CORVANE_API Driver {
 public:
  virtual ~Driver() = default;
  /// Drives until `wait` is done or `limit` (a finite time) has passed; returns early, with false, when a
  /// thread drives already (this one included) or there is nothing to drive. Must run, before it blocks
  /// again, the work that its own progress put on queues (see `InlineDrain`).
  virtual bool drive(CooperativeWait& wait, Seconds limit) = 0;
  /// Makes a `drive` under way look at its wait again, also one that is only about to block. Any thread.
  virtual void interrupt() = 0;

  /// The process's driver; null until there is one. Set once, never destroyed.
  static std::atomic<Driver*> shared;
};

/// One thread waits until another (or itself, by driving) calls `signal`. The waiting thread may destroy
/// the object as soon as its wait is over, while `signal` is still returning on another thread.
class CORVANE_API CooperativeWait {
 public:
  CooperativeWait() = default;
  /// `willWaitAgain`: the thread waits again as soon as it has done what it is woken for, as a worker does.
  explicit CooperativeWait(bool willWaitAgain) : willWaitAgain_(willWaitAgain) {}
  CooperativeWait(const CooperativeWait&) = delete;
  CooperativeWait& operator=(const CooperativeWait&) = delete;

  /// Blocks until `signal` was called; drives the shared driver meanwhile when it can. False when `limit` passed first.
  bool wait(Seconds limit);
  void wait() { wait(Seconds::unlimited()); }
  /// Ends the wait, now or when it begins. Once; any thread.
  void signal();
  /// Whether the thread waits again at once.
  bool willWaitAgain() const { return willWaitAgain_; }
  /// Whether the waiting thread drives at this moment.
  bool isDriving() const { return (state_.load(std::memory_order_relaxed) & driving) != 0; }
  /// Whether `signal` was called.
  bool isDone() const { return (state_.load(std::memory_order_acquire) & done) != 0; }

 private:
  static constexpr std::uint32_t done = 1;
  static constexpr std::uint32_t asleep = 2;
  static constexpr std::uint32_t driving = 4;

  std::atomic<std::uint32_t> state_ = 0;
  const bool willWaitAgain_ = false;
};

/// Collects, while it lives on a thread, the serial queues that get work from this thread and would need a
/// pool worker; `run` drains them here, and what is left at destruction goes to the pool. Collecting rests
/// while `run` executes blocks, so work that those blocks submit goes where it always goes and a block may
/// wait for it. At most one per thread (traps).
///
/// Only queues for which `allow` was called are collected. Their blocks may run on a thread that waits
/// inside someone else's code, with that code's locks held and inside its queues, so they must not wait for
/// either; an application's own queue can promise nothing of the kind.
class CORVANE_API InlineDrain {
 public:
  /// Collects from now on, for the calling thread.
  InlineDrain();
  ~InlineDrain();
  InlineDrain(const InlineDrain&) = delete;
  InlineDrain& operator=(const InlineDrain&) = delete;

  /// Lets a serial queue be drained by a waiting thread. Traps for the main, the global and an executor's queue.
  static void allow(const DispatchQueue& queue);

  /// Drains the collected queues; returns whether there were any.
  bool run();
  /// Hands what is collected to the pool. Waiting for a queue, a group, a semaphore or a `CooperativeWait`
  /// does so by itself.
  void flush();

 private:
  detail::LocalQueues& queues_;
};

}  // namespace platform
