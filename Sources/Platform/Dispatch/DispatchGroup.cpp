#include "Platform/Dispatch/DispatchGroup.hpp"

#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Dispatch/Internal/WaitDeadline.hpp"
#include "Platform/Trap.hpp"

namespace platform {

struct DispatchGroup::State {
  struct Notification {
    DispatchQueue queue;
    Block block;
  };

  detail::Mutex mutex;
  detail::ConditionVariable emptied;
  std::size_t count CORVANE_GUARDED_BY(mutex) = 0;
  // How often the count has come down to zero: a waiter's moment may be over by the time it wakes up.
  std::size_t rounds CORVANE_GUARDED_BY(mutex) = 0;
  std::vector<Notification> notifications CORVANE_GUARDED_BY(mutex);
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() const {
  const detail::MutexLock lock(state_->mutex);
  ++state_->count;
}

void DispatchGroup::leave() const {
  const auto state = state_;
  std::vector<State::Notification> notifications;
  {
    const detail::MutexLock lock(state->mutex);
    if (state->count == 0) trap("DispatchGroup::leave was called without a matching enter.");
    if (--state->count != 0) return;
    ++state->rounds;
    notifications.swap(state->notifications);
    state->emptied.notifyAll();
  }
  // The round is over: it is too late to fail.
  detail::requiringMemory("a group cannot be told of its end", [&] {
    for (auto& [queue, block] : notifications) queue.async(std::move(block));
  });
}

void DispatchGroup::notify(const DispatchQueue& queue, Block block) const {
  {
    const detail::MutexLock lock(state_->mutex);
    if (state_->count != 0) {
      state_->notifications.push_back({queue, std::move(block)});
      return;
    }
  }
  queue.async(std::move(block));
}

void DispatchGroup::wait() const { wait(Seconds::unlimited()); }

bool DispatchGroup::wait(Seconds timeout) const {
  auto& state = *state_;
  detail::MutexLock lock(state.mutex);
  if (state.count == 0) return true;
  const auto round = state.rounds;
  lock.unlock();
  detail::LocalQueues::flushCurrent();
  lock.lock();
  return detail::waitUntil(state.emptied, state.mutex, detail::WaitDeadline(timeout),
                           [&]() CORVANE_REQUIRES(state.mutex) { return state.rounds != round; });
}

}  // namespace platform
