#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "Platform/Networking/Loop/Timer.hpp"

namespace platform::networking {

/// What a descriptor became ready for.
struct Readiness {
  bool readable = false;
  bool writable = false;
  /// The peer closed, or the connection broke; reading tells which.
  bool hungUp = false;
};

/// Something that the loop watches a descriptor for. Loop side only.
class Watcher {
 public:
  virtual void descriptorReady(Readiness readiness) = 0;

 protected:
  ~Watcher() = default;
};

/// Something that is called once more, soon, without waiting for an event. Loop side only.
class Deferred {
 public:
  virtual void runDeferred() = 0;

 protected:
  ~Deferred() = default;

 private:
  friend class EventLoop;
  bool isDeferred_ = false;
};

/// The one event loop that drives every transfer of the process.
///
/// Code marked "loop side" runs on the thread that owns the loop at the moment. Everything else reaches the loop by
/// `post`. What iterations of the loop finish is delivered in one batch for each queue.
class EventLoop {
 public:
  /// The bytes of `receiveBuffer`.
  static constexpr std::size_t receiveBufferBytes = std::size_t{64} * 1024;

  /// The process's loop, with the network thread; never destroyed.
  static EventLoop& shared();
  /// A loop without a thread, driven by `iterate` alone: for tests.
  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Runs the command on the loop side, soon. Commands keep their order. Any thread.
  void post(Block command);

  // Loop side.

  /// Waits at most that long for events, handles them and what is due; whether anything was delivered.
  bool iterate(Duration limit);
  /// Reports reading, writing and hanging up of an open descriptor, edge-triggered, until `unwatch`. Fails with the
  /// system's error (0: it worked), as when the system has no memory for it.
  [[nodiscard]] int watch(int descriptor, Watcher& watcher);
  /// To be called before the descriptor is closed. Events of this iteration that were not handled yet are dropped.
  void unwatch(int descriptor);
  /// Calls it in the next iteration, which does not wait for events; once, however often this is called before.
  void defer(Deferred& deferred);
  void cancelDeferred(Deferred& deferred);
  /// Arms the timer, or moves it, earlier or later.
  void arm(Timer& timer, TimePoint deadline);
  void disarm(Timer& timer);
  /// The time at which the present iteration began.
  TimePoint now() const { return now_; }
  /// Scratch space that whoever reads now may use until the next read.
  std::span<std::byte> receiveBuffer() { return {receiveBuffer_.get(), receiveBufferBytes}; }
  /// Hands a finished piece of work to a queue at the end of this iteration.
  void deliver(const DispatchQueue& queue, Block block);
  /// Counts exchanges under way: while there is one, somebody has to wait for the network.
  void beginWork() { ++workCount_; }
  void endWork() { --workCount_; }

 private:
  struct State;
  std::unique_ptr<State> state_;
  std::unique_ptr<std::byte[]> receiveBuffer_;
  TimePoint now_{};
  std::size_t workCount_ = 0;
};

}  // namespace platform::networking
