#pragma once

#include <set>
#include <string>

#include "Platform/Detail/Locking.hpp"

namespace platform::detail {

/// The temporary files and directories of this process. What is left of them at its normal exit is removed then; a
/// directory only when it is empty. Any thread.
class PathsToRemove {
 public:
  /// Never destroyed. From the first call on, the exit handler is registered: it runs after the handlers that are
  /// registered later.
  static PathsToRemove& shared();

  void add(const std::string& path);
  /// The path is not temporary any more, or is gone.
  void forget(const std::string& path) noexcept;

 private:
  PathsToRemove();
  bool isOurs() const noexcept;
  void removeAll();

  const int process_;
  Mutex mutex_;
  std::set<std::string> paths_ CORVANE_GUARDED_BY(mutex_);
  bool isOver_ CORVANE_GUARDED_BY(mutex_) = false;
};

}  // namespace platform::detail
