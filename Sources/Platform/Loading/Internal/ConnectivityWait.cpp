#include "Platform/Loading/Internal/ConnectivityWait.hpp"

#include <algorithm>
#include <utility>

#include "Platform/Loading/Internal/TaskCore.hpp"

namespace platform::detail {

ConnectivityWait& ConnectivityWait::shared(NetworkLoop& loop) {
  static ConnectivityWait& wait = *new ConnectivityWait(loop);
  return wait;
}

ConnectivityWait::ConnectivityWait(NetworkLoop& loop) : loop_(loop) { loop_.add(*this); }

void ConnectivityWait::add(const std::shared_ptr<TaskCore>& task) {
  if (!isWatching_ && monitor_.descriptor() >= 0) loop_.watch(monitor_.descriptor(), EPOLLIN, *this);
  isWatching_ = true;
  tasks_.push_back(task);
  nextTry_ = std::min(nextTry_, loop_.now() + interval_);
}

void ConnectivityWait::tick(LoopTime now) {
  interval_ = std::min(interval_ * 2, longestInterval);
  nextTry_ = now + interval_;
  retryAll();
}

void ConnectivityWait::ready(int, std::uint32_t) {
  if (!monitor_.drain()) return;
  interval_ = firstInterval;
  retryAll();
}

void ConnectivityWait::retryAll() {
  // Those that fail again come back through `add`.
  for (const auto& waiting : std::exchange(tasks_, {})) {
    if (const auto task = waiting.lock()) task->retryConnecting();
  }
  if (tasks_.empty()) nextTry_ = never;
}

}  // namespace platform::detail
