#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

/// Who drives the loop, what waits to be done there, and who is woken for it.
///
/// One thread at a time *owns* the loop: the network thread, or a leader, a thread that would sleep otherwise.
/// While nothing is under way nobody does, and the network thread is parked, so that a leader can take over
/// without waking anyone. Work may be left to a leader that is expected to come; a timer, which the parked
/// network thread watches, brings that thread in when it does not.
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
  /// Ends a wait of the owner.
  void interrupt();
  /// Nobody owns the loop from here on; waits a second at most until nobody does.
  void stop();
  bool isStopped() const { return isStopped_; }
  /// Tells that the calling thread drives, and so will probably do so when it waits next; `always`: whatever it
  /// does in between, as a worker.
  static void noteThatThisThreadLeads(bool always);

  // The owner.

  /// Has an event to end the owner's wait; to be watched edge-triggered, so that nobody has to read it.
  int wakeDescriptor() const { return wake_; }
  bool hasCommands();
  /// Takes the commands that wait, in their order, into the empty list. False when there are none.
  bool takeCommands(std::vector<Block>& commands);
  /// Whether the owner may wait for events now: not when commands wait, or at the exit.
  bool beginSleep();
  void endSleep();
  /// `isBusy`: exchanges are under way.
  void release(bool isBusy, Successor successor);

  // The network thread.

  /// Waits until this thread is needed, or `idleEvents` becomes readable while nothing is under way.
  void park(int idleEvents);
  /// Whether this thread lets a worker take over that just got work and will come back to wait: then the next
  /// answers need no change of threads. When leaders are late, they are offered the loop less and less.
  bool offersTheLoop(TimePoint now);

 private:
  bool needsGraceTimer() CORVANE_REQUIRES(mutex_);
  void startGraceTimer();
  bool isLeaderLate();
  void pauseOffers();

  const int wake_;        ///< eventfd: ends a wait of the owner
  const int parkWake_;    ///< eventfd: ends the network thread's parking
  const int graceTimer_;  ///< timerfd: ends it in case a leader does not come

  detail::Mutex mutex_;  ///< held for moments only
  std::vector<Block> inbox_ CORVANE_GUARDED_BY(mutex_);
  std::uint64_t owners_ CORVANE_GUARDED_BY(mutex_) = 0;  ///< how often the loop was taken
  std::uint64_t ownersAtLastLook_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool isOwned_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isSleeping_ CORVANE_GUARDED_BY(mutex_) = false;   ///< the owner waits for events, or is about to
  bool isParked_ CORVANE_GUARDED_BY(mutex_) = false;     ///< the network thread
  bool wasLeftBusy_ CORVANE_GUARDED_BY(mutex_) = false;  ///< nobody owns the loop, though there is work
  bool graceTimerTicks_ CORVANE_GUARDED_BY(mutex_) = false;
  bool trustsLeaders_ CORVANE_GUARDED_BY(mutex_) = true;  ///< workers that drove have not been late lately
  std::atomic<bool> isStopped_ = false;                   ///< written under the mutex, read anywhere
  detail::ConditionVariable released_;

  Duration pause_{};  // of the network thread
  TimePoint offersAgain_{};
};

}  // namespace platform::networking
