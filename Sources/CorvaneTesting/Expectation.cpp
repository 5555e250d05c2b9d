#include "CorvaneTesting/Expectation.hpp"

#include <stdexcept>
#include <string>

#include "Platform/Detail/Locking.hpp"

namespace corvane::testkit::detail {

struct Fulfilments::State {
  platform::detail::Mutex mutex;
  platform::detail::ConditionVariable changed;
  std::size_t count CORVANE_GUARDED_BY(mutex) = 0;
};

Fulfilments::Lock::Lock(Fulfilments& fulfilments) : fulfilments_(fulfilments) { fulfilments_.state_->mutex.lock(); }

Fulfilments::Lock::~Lock() { fulfilments_.state_->mutex.unlock(); }

Fulfilments::Fulfilments() : state_(std::make_unique<State>()) {}

Fulfilments::~Fulfilments() = default;

// From here on the caller has a `Lock`.

void Fulfilments::add() {
  state_->mutex.assumeHeld();
  ++state_->count;
  state_->changed.notifyAll();
}

std::size_t Fulfilments::count() const {
  state_->mutex.assumeHeld();
  return state_->count;
}

bool Fulfilments::waitFor(std::size_t least, std::chrono::milliseconds limit) {
  state_->mutex.assumeHeld();
  return state_->changed.waitUntil(state_->mutex, std::chrono::steady_clock::now() + limit,
                                   [&]() CORVANE_REQUIRES(state_->mutex) { return state_->count >= least; });
}

void Fulfilments::demand(std::size_t least, std::chrono::milliseconds limit) {
  if (waitFor(least, limit)) return;
  throw std::runtime_error("an expectation was fulfilled " + std::to_string(count()) + " times within " +
                           std::to_string(limit.count()) + " ms, not " + std::to_string(least));
}

}  // namespace corvane::testkit::detail
