#pragma once

#include <signal.h>

#include <array>
#include <string_view>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"

namespace platform::detail {

/// A name as the kernel keeps it: 15 characters. Of a longer label the end stays, which tells queues apart
/// better than a common prefix does.
class ThreadName {
 public:
  explicit ThreadName(std::string_view label);

  /// Names the calling thread, unless it got another name less than a millisecond ago: a worker that hurries
  /// from queue to queue shows one of them, since a system call for each would cost more than its blocks.
  void apply() const;
  const char* text() const { return text_.data(); }

 private:
  std::array<char, 16> text_{};
};

/// Blocks on the calling thread, while it lives, all signals but those that a thread raises by its own fault. A
/// thread that is started meanwhile keeps this mask: it leaves the process's signals to the application's threads,
/// and a crash on it still reaches the handlers of crash reporters and sanitizers.
class CORVANE_API SignalShield {
 public:
  SignalShield();
  ~SignalShield();
  SignalShield(const SignalShield&) = delete;
  SignalShield& operator=(const SignalShield&) = delete;

 private:
  sigset_t previous_;
};

/// Starts a detached thread under a `SignalShield`. Every thread of the library is started here. Returns false when
/// the system refuses, or there is no memory.
[[nodiscard]] bool startThread(std::string_view name, UniqueFunction<void()> body) noexcept;

}  // namespace platform::detail
