#include "Platform/Dispatch/DispatchGroup.hpp"

#include <condition_variable>
#include <mutex>
#include <vector>

#include "Platform/Dispatch/Internal/Deadline.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Trap.hpp"

namespace platform {

struct DispatchGroup::State {
  struct Notification {
    DispatchQueue queue;
    Block block;
  };

  std::mutex mutex;
  std::condition_variable emptied;
  std::size_t count = 0;
  // How often the count has come down to zero: a waiter's moment may be over by the time it wakes up.
  std::size_t rounds = 0;
  std::vector<Notification> notifications;
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() const {
  const std::lock_guard lock(state_->mutex);
  ++state_->count;
}

void DispatchGroup::leave() const {
  const auto state = state_;
  std::vector<State::Notification> notifications;
  {
    const std::lock_guard lock(state->mutex);
    if (state->count == 0) trap("DispatchGroup::leave was called without a matching enter.");
    if (--state->count != 0) return;
    ++state->rounds;
    notifications.swap(state->notifications);
    state->emptied.notify_all();
  }
  for (auto& [queue, block] : notifications) queue.async(std::move(block));
}

void DispatchGroup::notify(const DispatchQueue& queue, Block block) const {
  {
    const std::lock_guard lock(state_->mutex);
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
  std::unique_lock lock(state.mutex);
  if (state.count == 0) return true;
  const auto round = state.rounds;
  lock.unlock();
  detail::LocalQueues::flushCurrent();
  lock.lock();
  return detail::waitUntil(state.emptied, lock, detail::Deadline(timeout), [&] { return state.rounds != round; });
}

}  // namespace platform
