#include "Corvane/Transport/SendCancellation.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <vector>

namespace corvane {

struct SendCancellation::State : std::enable_shared_from_this<SendCancellation::State> {
  struct Reach {
    std::weak_ptr<void> target;
    void (*cancel)(void*);
  };

  static thread_local State* current;

  void cancel() {
    std::vector<Reach> reached;
    {
      const std::lock_guard lock(mutex);
      if (isCancelled.exchange(true)) return;
      reached.swap(reaches);
    }
    for (const auto& [target, call] : reached) {
      if (const auto object = target.lock()) call(object.get());
    }
  }

  void add(std::shared_ptr<void> target, void (*call)(void*)) {
    {
      const std::lock_guard lock(mutex);
      if (!isCancelled) {
        if (reaches.size() >= limit) prune();
        reaches.push_back({std::move(target), call});
        return;
      }
    }
    call(target.get());
  }

  /// Forgets those that are gone. The limit grows with those that stay, so that each costs a look or two.
  void prune() {
    std::erase_if(reaches, [](const Reach& reach) { return reach.target.expired(); });
    limit = std::max<std::size_t>(16, 2 * reaches.size());
  }

  std::mutex mutex;
  std::atomic<bool> isCancelled = false;
  // Guarded by the mutex.
  std::vector<Reach> reaches;
  std::size_t limit = 16;
};

thread_local SendCancellation::State* SendCancellation::State::current = nullptr;

SendCancellation::SendCancellation() : state_(std::make_shared<State>()) {
  if (State::current) State::current->add(state_, [](void* state) { static_cast<State*>(state)->cancel(); });
}

void SendCancellation::cancel() const { state_->cancel(); }

bool SendCancellation::isCancelled() const { return state_->isCancelled; }

std::optional<SendCancellation> SendCancellation::current() {
  if (!State::current) return std::nullopt;
  return SendCancellation(State::current->shared_from_this());
}

void SendCancellation::add(std::shared_ptr<void> target, void (*call)(void*)) const {
  state_->add(std::move(target), call);
}

SendCancellation::Scope::Scope(SendCancellation cancellation)
    : held_(cancellation.state_), outer_(std::exchange(State::current, cancellation.state_.get())) {}

SendCancellation::Scope::~Scope() { State::current = static_cast<State*>(outer_); }

}  // namespace corvane
