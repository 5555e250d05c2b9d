#include "Platform/Foundation/Internal/PathsToRemove.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace platform::detail {

PathsToRemove& PathsToRemove::shared() {
  static PathsToRemove& paths = *new PathsToRemove;
  return paths;
}

PathsToRemove::PathsToRemove() : process_(::getpid()) {
  std::atexit([] { shared().removeAll(); });
}

void PathsToRemove::add(const std::string& path) {
  if (!isOurs()) return;
  const MutexLock lock(mutex_);
  if (isOver_) {
    std::remove(path.c_str());
  } else {
    paths_.insert(path);
  }
}

void PathsToRemove::forget(const std::string& path) noexcept {
  if (!isOurs()) return;
  const MutexLock lock(mutex_);
  paths_.erase(path);
}

/// A forked child leaves alone what its parent goes on to use, and a lock that its parent held is never given back.
bool PathsToRemove::isOurs() const noexcept { return ::getpid() == process_; }

void PathsToRemove::removeAll() {
  if (!isOurs()) return;
  const MutexLock lock(mutex_);
  isOver_ = true;
  // From the end, so that a file comes before the directory that it is in. What cannot be removed stays: there is
  // nobody to tell any more.
  for (auto path = paths_.rbegin(); path != paths_.rend(); ++path) std::remove(path->c_str());
  paths_.clear();
}

}  // namespace platform::detail
