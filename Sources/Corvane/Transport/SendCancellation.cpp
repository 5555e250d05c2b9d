#include "Corvane/Transport/SendCancellation.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"

namespace corvane {

using platform::detail::Mutex;
using platform::detail::MutexLock;

struct SendCancellation::State : std::enable_shared_from_this<SendCancellation::State> {
  struct Reach {
    std::weak_ptr<void> target;
    void (*cancel)(void*);
  };

  static thread_local State* current;

  void cancel() {
    std::vector<Reach> reached;
    {
      const MutexLock lock(mutex);
      if (isCancelled.exchange(true)) return;
      reached.swap(reaches);
    }
    // It counts once, and must reach all of them.
    platform::detail::requiringMemory("a send cannot be cancelled", [&] {
      for (const auto& [target, call] : reached) {
        if (const auto object = target.lock()) call(object.get());
      }
    });
  }

  void add(std::shared_ptr<void> target, void (*call)(void*)) {
    {
      const MutexLock lock(mutex);
      if (!isCancelled) {
        if (reaches.size() >= limit) prune();
        reaches.push_back({std::move(target), call});
        return;
      }
    }
    call(target.get());
  }

  /// Forgets those that are gone. The limit grows with those that stay, so that each costs a look or two.
  void prune() CORVANE_REQUIRES(mutex) {
    std::erase_if(reaches, [](const Reach& reach) { return reach.target.expired(); });
    limit = std::max<std::size_t>(16, 2 * reaches.size());
  }

  Mutex mutex;
  std::atomic<bool> isCancelled = false;
  std::vector<Reach> reaches CORVANE_GUARDED_BY(mutex);
  std::size_t limit CORVANE_GUARDED_BY(mutex) = 16;
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
