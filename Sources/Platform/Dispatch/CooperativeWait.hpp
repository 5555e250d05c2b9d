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

/// Something that makes progress only when a thread drives it, such as the network loop. A thread that would otherwise
/// sleep may drive it: this saves two switches between threads.
class CORVANE_API Driver {
 public:
  virtual ~Driver() = default;
  /// Drives until `wait` is done or `limit` (a finite time) has passed. Returns early, with false, when a thread drives
  /// already (this one included) or there is nothing to drive. Must run, before it blocks again, the work that its own
  /// progress put on queues (see `InlineDrain`).
  virtual bool drive(CooperativeWait& wait, Seconds limit) = 0;
  /// Makes a running `drive` check its wait again, even if it is only about to block. Any thread.
  virtual void interrupt() = 0;

  /// The driver of the process; null until it exists. Set once, never destroyed.
  static std::atomic<Driver*> shared;
};

/// A wait of one thread, until another thread (or the same one, while it drives) calls `signal`. The waiting thread may
/// destroy the object as soon as its wait is over, even while `signal` is still returning on another thread.
class CORVANE_API CooperativeWait {
 public:
  CooperativeWait() = default;
  /// `willWaitAgain`: the thread waits again as soon as it has done its work, as a pool worker does.
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

/// While it exists, collects the serial queues that get work from this thread and would need a pool worker. `run`
/// drains them on this thread; the rest goes to the pool at destruction. Collecting pauses while `run` executes blocks,
/// so that work submitted by those blocks goes to the pool as usual and a block may wait for it. At most one per
/// thread; a second one traps.
///
/// Only queues for which `allow` was called are collected. Their blocks may run on a thread that waits inside other
/// code, with locks of that code held and inside its queues, so they must wait for neither. An application's own queue
/// cannot guarantee this.
class CORVANE_API InlineDrain {
 public:
  /// Starts collecting, for the calling thread.
  InlineDrain();
  ~InlineDrain();
  InlineDrain(const InlineDrain&) = delete;
  InlineDrain& operator=(const InlineDrain&) = delete;

  /// Allows a waiting thread to drain this serial queue. Traps for the main queue, the global queue and an executor's
  /// queue.
  static void allow(const DispatchQueue& queue);

  /// Drains the collected queues. Returns whether there were any.
  bool run();
  /// Passes the collected queues to the pool. Waiting for a queue, a group, a semaphore or a `CooperativeWait` calls it
  /// automatically.
  void flush();

 private:
  detail::LocalQueues& queues_;
};

}  // namespace platform
