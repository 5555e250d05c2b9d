#include "Platform/Networking/Loop/NetworkLoop.hpp"

#include <chrono>
#include <cstdlib>
#include <utility>

#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Dispatch/Internal/WaitDeadline.hpp"
#include "Platform/Foundation/Internal/PathsToRemove.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

/// The loop in the hands of the calling thread. It goes to the network thread when the thread leaves by an exception.
class NetworkLoop::Lease {
 public:
  explicit Lease(NetworkLoop& loop) : loop_(loop), isHeld_(loop.ownership().tryAcquire()) {}
  ~Lease() { passTo(LoopOwnership::Successor::networkThread); }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  bool isHeld() const { return isHeld_; }
  bool renew() { return isHeld_ = loop_.ownership().tryAcquire(); }
  void passTo(LoopOwnership::Successor successor) {
    if (std::exchange(isHeld_, false)) loop_.release(successor);
  }

 private:
  NetworkLoop& loop_;
  bool isHeld_;
};

NetworkLoop& NetworkLoop::shared() {
  static NetworkLoop& loop = *new NetworkLoop;
  return loop;
}

NetworkLoop::NetworkLoop() {
  // At the exit transfers stop first, then what they leave behind is removed. It is also the last that may throw.
  detail::PathsToRemove::shared();
  release(LoopOwnership::Successor::leader);
  if (!detail::startThread("corvane.network", [this] { runThread(); })) {
    trap("the network loop cannot start: out of memory, or of threads");
  }
  Driver::shared.store(this, std::memory_order_release);
  std::atexit([] { shared().ownership().stop(); });
}

void NetworkLoop::release(LoopOwnership::Successor successor) {
  const bool hasWork = loop_.hasWork();
  if (!hasWork) loop_.watchTimers();
  ownership().release(hasWork, successor);
}

/// The loop is offered before what was delivered can wake a worker: one that is done with it at once would find the
/// loop taken, sleep, and not come for it any more.
void NetworkLoop::runThread() {
  for (;;) {
    Lease lease(*this);
    // At least one iteration: it also sees connections that were closed while idle, and timers.
    while (lease.isHeld()) {
      const bool delivers = loop_.iterateUndelivered(loop_.hasWork() ? Duration::max() : Duration::zero());
      const bool leaves = !loop_.hasWork() || ownership().isStopped() || (delivers && ownership().offersTheLoop());
      const auto leaveIfAtAll = [&] {
        if (leaves) lease.passTo(LoopOwnership::Successor::leader);
      };
      delivers ? loop_.submitDeliveries(leaveIfAtAll) : leaveIfAtAll();
    }
    ownership().park(loop_.descriptor());
  }
}

bool NetworkLoop::drive(CooperativeWait& wait, Seconds limit) {
  Lease lease(*this);
  if (!lease.isHeld()) return false;
  const detail::WaitDeadline deadline(limit);
  while (!wait.isDone() && !ownership().isStopped() && loop_.hasWork() && !deadline.hasPassed()) {
    InlineDrain local;
    LoopOwnership::noteThatThisThreadLeads(wait.willWaitAgain());
    if (!loop_.iterate(durationOfSeconds(deadline.remaining().count()))) continue;
    // What the iteration finished runs on this thread, but the loop must not stand still for long meanwhile.
    lease.passTo(LoopOwnership::Successor::leader);
    local.run();
    if (!lease.renew()) return wait.isDone();
  }
  lease.passTo(LoopOwnership::Successor::leader);
  return wait.isDone();
}

}  // namespace platform::networking
