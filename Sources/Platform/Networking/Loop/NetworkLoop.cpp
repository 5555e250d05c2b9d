#include "Platform/Networking/Loop/NetworkLoop.hpp"

#include <cstdlib>

#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Foundation/Internal/PathsToRemove.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

NetworkLoop& NetworkLoop::shared() {
  static NetworkLoop& loop = *new NetworkLoop;
  return loop;
}

NetworkLoop::NetworkLoop() {
  release(LoopOwnership::Successor::leader);
  if (!detail::startThread("corvane.network", [this] { runThread(); })) {
    trap("the network loop cannot start: the system has no thread left");
  }
  Driver::shared.store(this, std::memory_order_release);
  // At the exit transfers stop first, then what they leave behind is removed.
  detail::PathsToRemove::shared();
  std::atexit([] { shared().ownership().stop(); });
}

void NetworkLoop::release(LoopOwnership::Successor successor) {
  const bool hasWork = loop_.hasWork();
  if (!hasWork) loop_.watchTimers();
  ownership().release(hasWork, successor);
}

void NetworkLoop::runThread() {
  for (;;) {
    if (ownership().tryAcquire()) {
      // At least one iteration: it also sees connections that were closed while idle, and timers.
      bool delivered = false;
      do {
        delivered = loop_.iterate(loop_.hasWork() ? Duration::max() : Duration::zero());
      } while (loop_.hasWork() && !ownership().isStopped() && !(delivered && ownership().offersTheLoop(loop_.now())));
      release(LoopOwnership::Successor::leader);
    }
    ownership().park(loop_.descriptor());
  }
}

bool NetworkLoop::drive(CooperativeWait& wait, Seconds limit) {
  if (!ownership().tryAcquire()) return false;
  const TimePoint deadline = NetworkClock::now() + durationOfSeconds(limit.count());
  while (!wait.isDone() && !ownership().isStopped() && loop_.hasWork()) {
    const Duration left = deadline - NetworkClock::now();
    if (left <= Duration::zero()) break;
    InlineDrain local;
    LoopOwnership::noteThatThisThreadLeads(wait.willWaitAgain());
    if (!loop_.iterate(left)) continue;
    // What the iteration finished runs on this thread, but the loop must not stand still for long meanwhile.
    release(LoopOwnership::Successor::leader);
    local.run();
    if (!ownership().tryAcquire()) return wait.isDone();
  }
  release(wait.willWaitAgain() ? LoopOwnership::Successor::leader : LoopOwnership::Successor::networkThread);
  return wait.isDone();
}

}  // namespace platform::networking
