#pragma once

#include <optional>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "Platform/Networking/Loop/OwnershipStates.hpp"

namespace platform::networking {

/// Who drives the loop, what waits to be done there, and who is woken for it: `OwnershipStates` with a mutex around it,
/// and the descriptors that wake threads.
class LoopOwnership {
 public:
  /// Who is to drive what is under way next.
  enum class Successor { networkThread, leader };

  LoopOwnership();
  ~LoopOwnership();
  LoopOwnership(const LoopOwnership&) = delete;
  LoopOwnership& operator=(const LoopOwnership&) = delete;

  // Any thread.

  /// Queues a command for the owner, and sees to it that there will be one.
  void post(Block command);
  bool tryAcquire();
  /// Makes the owner's sleep end, or the next one not begin.
  void interrupt();
  /// Nobody owns the loop from here on; waits a second at most until nobody does.
  void stop();
  bool isStopped();
  /// Tells that the calling thread drives, and so will probably do so when it waits next; `always`: whatever it
  /// does in between, as a worker.
  static void noteThatThisThreadLeads(bool always);

  // The owner.

  /// Has an event to end the owner's wait; to be watched edge-triggered, so that nobody has to read it.
  int wakeDescriptor() const { return wake_; }
  bool hasCommands();
  /// Takes the commands that wait, in their order, into the empty list. False when there are none.
  bool takeCommands(std::vector<Block>& commands);
  /// Whether the owner may wait for events now: not when commands wait, after an interrupt, or at the exit.
  /// A timer that has run for a while is stopped first: in the sleep it would fire, and wake the network thread.
  bool beginSleep();
  void endSleep();
  /// `isBusy`: exchanges are under way. They are left to a leader only while leaders are in time.
  void release(bool isBusy, Successor successor);

  // The network thread.

  /// Waits until this thread is needed, or `idleEvents` becomes readable while nothing is under way.
  void park(int idleEvents);
  /// Whether this thread, having delivered, lets a leader take over that will come back to wait: then the next
  /// responses need no change of threads. Not while leaders are late.
  bool offersTheLoop();

 private:
  using State = OwnershipStates::State;
  using Event = OwnershipStates::Event;
  using Action = OwnershipStates::Action;

  Action tell(Event event);
  Action on(Event event) CORVANE_REQUIRES(mutex_);
  void carryOut(Action action);
  bool isLeaderLate();
  bool trustsLeaders() CORVANE_REQUIRES(mutex_);

  const int wake_;        ///< eventfd: ends a wait of the owner
  const int parkWake_;    ///< eventfd: ends the network thread's parking
  const int graceTimer_;  ///< timerfd: ends it in case a leader does not come

  detail::Mutex mutex_;  ///< held for moments only
  std::vector<Block> inbox_ CORVANE_GUARDED_BY(mutex_);
  OwnershipStates states_ CORVANE_GUARDED_BY(mutex_);
  TimePoint timerSet_ CORVANE_GUARDED_BY(mutex_);
  int releases_ CORVANE_GUARDED_BY(mutex_) = 0;  ///< since then
  /// Set when a leader was late.
  std::optional<TimePoint> trustsAgain_ CORVANE_GUARDED_BY(mutex_);
  detail::ConditionVariable stopped_;
};

}  // namespace platform::networking
