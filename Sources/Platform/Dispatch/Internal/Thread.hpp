#pragma once

#include <array>
#include <string_view>

#include "Platform/Dispatch/UniqueFunction.hpp"

namespace platform::detail {

/// A name as the kernel keeps it: 15 characters. Of a longer label the end stays, which tells queues apart
/// better than a common prefix does.
class ThreadName {
 public:
  explicit ThreadName(std::string_view label);

  /// Names the calling thread; costs a system call only when the thread has another name.
  void apply() const;

 private:
  std::array<char, 16> text_{};
};

/// Starts a detached thread that leaves the process's signals to the application's threads. Returns false
/// when the system refuses.
[[nodiscard]] bool startThread(std::string_view name, UniqueFunction<void()> body);

}  // namespace platform::detail
