#pragma once

#include <sys/epoll.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Loading/Internal/LoopClock.hpp"
#include "Platform/Loading/Internal/LoopOwnership.hpp"

namespace platform::detail {

/// Something that the loop watches: it is told when its descriptor is ready. Loop side only.
class EventHandler {
 public:
  virtual ~EventHandler() = default;
  virtual void ready(int descriptor, std::uint32_t events) = 0;
};

/// Something with deadlines of its own, asked once a turn. Loop side only.
class Ticker {
 public:
  virtual ~Ticker() = default;
  /// The earliest time at which `tick` has something to do; the maximum when never.
  virtual LoopTime nextTick() = 0;
  virtual void tick(LoopTime now) = 0;
  /// Whether a network exchange is under way, i.e. somebody has to wait for the network.
  virtual bool isBusy() const = 0;
  /// Called when the loop had nothing to do for that long.
  virtual void slept(LoopTime) {}
};

/// The one event loop that drives every transfer of the process.
///
/// Its state belongs to whoever owns the loop at the moment (`LoopOwnership`). Code marked "loop side" runs on
/// the owner only. Everything else reaches the loop by `post`. What turns of the loop finish is delivered in one
/// batch per queue.
class NetworkLoop final : public Driver {
 public:
  static NetworkLoop& shared();

  /// Runs the command on the loop side, soon. Commands keep their order. Any thread.
  void post(Block command) { ownership_.post(std::move(command)); }

  // Loop side.
  void add(Ticker& ticker);
  void remove(Ticker& ticker);
  /// Watches the descriptor from now on. 0, or the number of the system's error; then nothing is watched.
  int watch(int descriptor, std::uint32_t events, EventHandler& handler);
  /// Changes the events of a descriptor that is watched, which may have become another one of the same number. 0, or
  /// the number of the system's error; then it is watched no more.
  int rewatch(int descriptor, std::uint32_t events);
  /// Forgets the descriptor; events of this turn that are not handled yet are dropped. To be called before it is
  /// closed: a copy of it in another process would keep the watch alive.
  void unwatch(int descriptor);
  /// Hands a finished piece of work to a queue at the end of this turn.
  void deliver(const DispatchQueue& queue, Block block);
  /// The time at which the present turn began.
  LoopTime now() const { return now_; }

  // Driver.
  bool drive(CooperativeWait& wait, Seconds limit) override;
  void interrupt() override { ownership_.interrupt(); }

 private:
  struct Watch {
    EventHandler* handler = nullptr;
    std::uint32_t generation = 0;
    std::uint32_t events = 0;
  };

  NetworkLoop();
  void runThread();
  bool watchWake(int epoll) const;
  bool hasWork();
  /// Waits at most that long for events and handles them; whether anything was delivered.
  bool turn(LoopTime limit);
  void runCommands();
  int waitBudget(LoopTime limit);
  void handle(const epoll_event* events, int count);
  int control(int operation, int descriptor);
  bool isCurrent(const epoll_event& event) const;
  void watchAnew();
  void tick();
  bool flushDeliveries();

  LoopOwnership ownership_;
  int epoll_ = -1;

  std::vector<Block> commands_;  // from here on: loop side
  std::vector<Watch> watches_;
  std::vector<Ticker*> tickers_;
  std::vector<std::pair<DispatchQueue, std::vector<Block>>> deliveries_;
  LoopTime now_ = 0;
  std::uint32_t generation_ = 0;
};

}  // namespace platform::detail
