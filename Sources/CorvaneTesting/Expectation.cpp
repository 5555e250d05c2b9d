#include "CorvaneTesting/Expectation.hpp"

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>

namespace corvane::testing::detail {

struct Fulfilments::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t count = 0;
};

Fulfilments::Lock::Lock(Fulfilments& fulfilments) : fulfilments_(fulfilments) { fulfilments_.state_->mutex.lock(); }

Fulfilments::Lock::~Lock() { fulfilments_.state_->mutex.unlock(); }

Fulfilments::Fulfilments() : state_(std::make_unique<State>()) {}

Fulfilments::~Fulfilments() = default;

void Fulfilments::add() {
  ++state_->count;
  state_->changed.notify_all();
}

std::size_t Fulfilments::count() const { return state_->count; }

bool Fulfilments::waitFor(std::size_t least, std::chrono::milliseconds limit) {
  std::unique_lock lock(state_->mutex, std::adopt_lock);
  const bool isEnough = state_->changed.wait_for(lock, limit, [&] { return state_->count >= least; });
  lock.release();  // it stays the caller's
  return isEnough;
}

void Fulfilments::demand(std::size_t least, std::chrono::milliseconds limit) {
  if (waitFor(least, limit)) return;
  throw std::runtime_error("an expectation was fulfilled " + std::to_string(state_->count) + " times within " +
                           std::to_string(limit.count()) + " ms, not " + std::to_string(least));
}

}  // namespace corvane::testing::detail
