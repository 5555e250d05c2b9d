#include "Platform/Loading/Internal/ConnectivityWait.hpp"

#include <algorithm>
#include <utility>

#include "Platform/Loading/Internal/NetworkChanges.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"

namespace platform::detail {

ConnectivityWait& ConnectivityWait::shared(networking::EventLoop& loop) {
  static ConnectivityWait& wait = *new ConnectivityWait(loop);
  return wait;
}

ConnectivityWait::ConnectivityWait(networking::EventLoop& loop) : loop_(loop) {
  NetworkChanges::shared(loop).tell([this] { networkChanged(); });
}

void ConnectivityWait::add(const std::shared_ptr<TaskCore>& task) {
  tasks_.push_back(task);
  if (tasks_.size() == 1) loop_.beginWork();
  if (!isArmed()) loop_.arm(*this, loop_.now() + interval_);
}

void ConnectivityWait::timerFired() {
  interval_ = std::min(interval_ * 2, longestInterval);
  retryAll();
}

void ConnectivityWait::networkChanged() {
  interval_ = firstInterval;
  retryAll();
}

void ConnectivityWait::retryAll() {
  if (tasks_.empty()) return;
  loop_.disarm(*this);
  loop_.endWork();
  // Those that fail again come back through `add`.
  for (const auto& waiting : std::exchange(tasks_, {})) {
    if (const auto task = waiting.lock()) task->retryConnecting();
  }
}

}  // namespace platform::detail
