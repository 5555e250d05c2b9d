#include "Platform/Dispatch/DispatchSemaphore.hpp"

#include <condition_variable>
#include <mutex>

#include "Platform/Dispatch/Internal/Deadline.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Trap.hpp"

namespace platform {

struct DispatchSemaphore::State {
  std::mutex mutex;
  std::condition_variable raised;
  long value;
};

DispatchSemaphore::DispatchSemaphore(long value) : state_(std::make_shared<State>()) {
  if (value < 0) trap("A DispatchSemaphore cannot start with a negative value.");
  state_->value = value;
}

void DispatchSemaphore::signal() const {
  const auto state = state_;
  {
    const std::lock_guard lock(state->mutex);
    ++state->value;
  }
  state->raised.notify_one();
}

void DispatchSemaphore::wait() const { wait(Seconds::unlimited()); }

bool DispatchSemaphore::wait(Seconds timeout) const {
  auto& state = *state_;
  std::unique_lock lock(state.mutex);
  if (state.value == 0) {
    lock.unlock();
    detail::LocalQueues::flushCurrent();
    lock.lock();
    if (!detail::waitUntil(state.raised, lock, detail::Deadline(timeout), [&] { return state.value > 0; }))
      return false;
  }
  --state.value;
  return true;
}

}  // namespace platform
