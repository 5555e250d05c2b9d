#include "SweepRun.hpp"

#include <condition_variable>
#include <mutex>

namespace corvane::testkit {

struct Outcomes::State {
  std::mutex mutex;
  std::condition_variable changed;
  int count = 0;
  bool hadError = false;
};

Outcomes::Outcomes() : state_(std::make_shared<State>()) {}

void Outcomes::add(bool isError) const {
  const std::lock_guard lock(state_->mutex);
  ++state_->count;
  state_->hadError = state_->hadError || isError;
  state_->changed.notify_all();
}

int Outcomes::count() const {
  const std::lock_guard lock(state_->mutex);
  return state_->count;
}

bool Outcomes::hadError() const {
  const std::lock_guard lock(state_->mutex);
  return state_->hadError;
}

void Outcomes::await(int least) const {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [&] { return state_->count >= least; });
}

}  // namespace corvane::testkit
