#include "Platform/Dispatch/CooperativeWait.hpp"

#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Dispatch/Internal/Futex.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"

namespace platform {

std::atomic<Driver*> Driver::shared = nullptr;

bool CooperativeWait::wait(Seconds limit) {
  if (isDone()) return true;
  detail::ForkGuard::requireThreads();
  const detail::WaitDeadline deadline(limit);
  if (auto* const driver = Driver::shared.load(std::memory_order_acquire)) {
    // From here on `signal` interrupts the driver; had it come before, the driver would sleep unaware.
    if ((state_.fetch_or(driving, std::memory_order_acq_rel) & done) != 0) return true;
    driver->drive(*this, deadline.remaining());
    if ((state_.fetch_and(~driving, std::memory_order_acq_rel) & done) != 0) return true;
  }
  detail::LocalQueues::flushCurrent();
  auto state = state_.fetch_or(asleep, std::memory_order_acq_rel) | asleep;
  while ((state & done) == 0) {
    if (deadline.hasPassed()) return false;
    detail::futexWait(state_, state, deadline);
    state = state_.load(std::memory_order_acquire);
  }
  return true;
}

void CooperativeWait::signal() {
  // The waiter may be gone, and this object with it, once `done` is set: after that only its address is used.
  const auto* const word = &state_;
  const auto before = state_.fetch_or(done, std::memory_order_acq_rel);
  if ((before & asleep) != 0) detail::futexWake(word);
  if ((before & driving) != 0) {
    if (auto* const driver = Driver::shared.load(std::memory_order_acquire)) driver->interrupt();
  }
}

}  // namespace platform
