#include "Platform/Dispatch/DispatchSemaphore.hpp"

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Dispatch/Internal/WaitDeadline.hpp"
#include "Platform/Trap.hpp"

namespace platform {

struct DispatchSemaphore::State {
  detail::Mutex mutex;
  detail::ConditionVariable raised;
  long value CORVANE_GUARDED_BY(mutex);
};

DispatchSemaphore::DispatchSemaphore(long value) : state_(std::make_shared<State>()) {
  if (value < 0) trap("A DispatchSemaphore cannot start with a negative value.");
  state_->value = value;
}

void DispatchSemaphore::signal() const {
  const auto state = state_;
  {
    const detail::MutexLock lock(state->mutex);
    ++state->value;
  }
  state->raised.notifyOne();
}

void DispatchSemaphore::wait() const { wait(Seconds::unlimited()); }

bool DispatchSemaphore::wait(Seconds timeout) const {
  auto& state = *state_;
  detail::MutexLock lock(state.mutex);
  if (state.value == 0) {
    lock.unlock();
    detail::LocalQueues::flushCurrent();
    lock.lock();
    if (!detail::waitUntil(state.raised, state.mutex, detail::WaitDeadline(timeout),
                           [&]() CORVANE_REQUIRES(state.mutex) { return state.value > 0; }))
      return false;
  }
  --state.value;
  return true;
}

}  // namespace platform
