#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Loading/Internal/LoopClock.hpp"

namespace platform::detail {

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
  LoopOwnership(const LoopOwnership&) = delete;
  LoopOwnership& operator=(const LoopOwnership&) = delete;

  // Any thread.

  /// Queues a command for the owner, and sees to it that there will be one.
  void post(Block command);
  bool tryOwn();
  /// Ends a wait of the owner.
  void interrupt();
  /// Nobody owns the loop from here on; waits a second at most until nobody does.
  void stop();
  bool isStopped() const { return isStopped_; }
  /// Tells that the calling thread drives, and so will probably do so when it waits next; `always`: whatever it
  /// does in between, as a worker.
  static void noteThatThisThreadLeads(bool always);

  // The owner.

  /// Becomes readable to end the owner's wait; then to be cleared.
  int wakeDescriptor() const { return wake_; }
  void clearWake();
  bool hasCommands();
  /// Takes the commands that wait, in their order, into the empty list. False when there are none.
  bool takeCommands(std::vector<Block>& commands);
  /// Whether the owner may wait for events now: not when commands wait, or at the exit.
  bool beginSleep();
  void endSleep();
  /// `isBusy`: exchanges are under way.
  void disown(bool isBusy, Successor successor);

  // The network thread.

  /// Waits until this thread is needed, or `idleEvents` becomes readable while nothing is under way.
  void park(int idleEvents);
  /// Whether this thread lets a worker take over that just got work and will come back to wait: then the next
  /// answers need no change of threads. When leaders are late, they are offered the loop less and less.
  bool offersTheLoop(LoopTime now);

 private:
  bool needsGraceTimer();
  void startGraceTimer();
  bool isLeaderLate();
  void pauseOffers();

  const int wake_;        ///< eventfd: ends a wait of the owner
  const int parkWake_;    ///< eventfd: ends the network thread's parking
  const int graceTimer_;  ///< timerfd: ends it in case a leader does not come

  std::mutex mutex_;  ///< guards what stands down to the blank line; held for moments only
  std::vector<Block> inbox_;
  std::uint64_t owners_ = 0;  ///< how often the loop was taken
  std::uint64_t ownersAtLastLook_ = 0;
  bool isOwned_ = false;
  bool isSleeping_ = false;   ///< the owner waits for events, or is about to
  bool isParked_ = false;     ///< the network thread
  bool wasLeftBusy_ = false;  ///< nobody owns the loop, though there is work
  bool graceTimerTicks_ = false;
  bool trustsLeaders_ = true;            ///< workers that drove have not been late lately
  std::atomic<bool> isStopped_ = false;  ///< written under the mutex, read anywhere
  std::condition_variable disowned_;

  LoopTime pause_ = 0;  // of the network thread
  LoopTime offersAgain_ = 0;
};

}  // namespace platform::detail
