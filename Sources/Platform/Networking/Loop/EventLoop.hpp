#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Networking/Loop/Deliveries.hpp"
#include "Platform/Networking/Loop/LoopOwnership.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "Platform/Networking/Loop/TimerQueue.hpp"

struct epoll_event;

namespace platform::networking {

/// What a descriptor became ready for.
struct Readiness {
  bool readable = false;
  bool writable = false;
  /// The peer closed, or the connection broke; reading tells which.
  bool hungUp = false;
};

/// What an event is for the commands that were posted before it is handled.
enum class EventOrder : std::uint8_t {
  beforeCommands,  ///< they have to know of it
  afterCommands    ///< they need not, or ask `isAboutToTell`; ends and errors come first nevertheless
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
  virtual ~Deferred() = default;

 private:
  friend class EventLoop;
  static constexpr std::size_t notDeferred = static_cast<std::size_t>(-1);
  std::size_t place_ = notDeferred;
};

/// Something that wants to know how long the loop slept. Loop side only.
class SleepObserver {
 public:
  /// The loop waited that long for events, until `now`.
  virtual void loopSlept(TimePoint now, Duration duration) = 0;

 protected:
  virtual ~SleepObserver() = default;
};

/// An event loop over epoll. Code marked "loop side" runs on the thread that owns the loop at the moment; everything
/// else reaches the loop by `post`. What an iteration finishes is delivered in one batch for each queue.
class EventLoop {
 public:
  /// The bytes of `receiveBuffer`.
  static constexpr std::size_t receiveBufferBytes = std::size_t{64} * 1024;

  /// Traps when the system has no descriptor left for it. The caller owns it: it alone calls `iterate`.
  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Runs the command on the loop side, soon. Commands keep their order. Any thread.
  void post(Block command) { ownership_.post(std::move(command)); }

  // Loop side.

  /// Waits at most that long for events, handles them and what is due, and submits what is to be delivered; whether
  /// there was anything. What it calls deals with its own failures, as by failing one exchange; an exception that gets
  /// here ends the process.
  bool iterate(Duration limit) noexcept;
  /// The same, but what is to be delivered is left to `submitDeliveries`.
  bool iterateUndelivered(Duration limit) noexcept;
  /// Calls `leave`, from where on another thread may own the loop, and then submits what is to be delivered.
  template <class Leave>
  void submitDeliveries(Leave leave) noexcept {
    deliveries_.submit(std::move(leave));
  }
  /// Reports reading, writing and hanging up of an open descriptor, edge-triggered, until `unwatch`. Gives the system's
  /// error, 0 when it worked.
  [[nodiscard]] int watch(int descriptor, Watcher& watcher, EventOrder order = EventOrder::beforeCommands);
  /// To be called before the descriptor is closed. Events of this iteration that were not handled yet are dropped.
  void unwatch(int descriptor);
  /// Whether the descriptor became readable, and its watcher is told of it later in this iteration.
  bool isAboutToTell(int descriptor) const;
  /// Calls it in the next iteration, which does not wait for events; once, however often this is called before.
  void defer(Deferred& deferred);
  void cancelDeferred(Deferred& deferred);
  /// Arms the timer, or moves it, earlier or later.
  void arm(Timer& timer, TimePoint deadline) { timers_.arm(timer, deadline); }
  void disarm(Timer& timer) { timers_.disarm(timer); }
  void addObserver(SleepObserver& observer) { observers_.push_back(&observer); }
  void removeObserver(SleepObserver& observer) { std::erase(observers_, &observer); }
  /// The time at which the present iteration began.
  TimePoint now() const { return now_; }
  /// Scratch space that the current reader may use until the next read.
  std::span<std::byte> receiveBuffer() { return {receiveBuffer_.get(), receiveBufferBytes}; }
  /// Hands a finished piece of work to a queue at the end of this iteration.
  void deliver(const DispatchQueue& queue, Block block) noexcept { deliveries_.add(queue, std::move(block)); }
  /// Counts exchanges under way: while there is one, somebody has to wait for the network.
  void beginWork() { ++workCount_; }
  void endWork() { --workCount_; }
  /// Whether anything is under way, or waits to be done.
  bool hasWork();
  /// Whether the next iteration has something to do, whatever the network says.
  bool hasDeferred() const { return !deferred_.empty(); }
  LoopOwnership& ownership() { return ownership_; }
  /// Readable when there are events, and when a timer is due that `watchTimers` set.
  int descriptor() const { return epoll_; }
  /// Sees to it that `descriptor` becomes readable when the next timer is due, while nobody drives the loop.
  void watchTimers();

 private:
  struct Watch {
    Watcher* watcher = nullptr;
    std::uint32_t generation = 0;
    EventOrder order = EventOrder::beforeCommands;
    bool isReadable = false;  ///< as an event of this iteration says that is not handled yet
  };

  void runOnce(Duration limit);
  int waitBudget(Duration limit);
  Watch* watchOf(const epoll_event& event);
  bool note(std::span<const epoll_event> events);
  void handle(std::span<const epoll_event> events);
  void runDeferred();
  void runCommands();
  void fireTimers();

  int epoll_ = -1;
  int alarm_ = -1;  ///< timerfd: for `watchTimers`
  LoopOwnership ownership_;

  // From here on: loop side.
  std::vector<Block> commands_;
  TimePoint alarmDue_ = never;  ///< when the timerfd fires
  std::vector<Watch> watches_;  ///< by descriptor
  std::uint32_t generation_ = 0;
  TimerQueue timers_;
  std::vector<SleepObserver*> observers_;
  std::vector<Deferred*> deferred_;
  std::vector<Deferred*> running_;  ///< of the deferred, those that this iteration calls
  Deliveries deliveries_;
  std::unique_ptr<std::byte[]> receiveBuffer_;
  TimePoint now_{};
  std::size_t workCount_ = 0;
};

}  // namespace platform::networking
