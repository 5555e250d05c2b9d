#pragma once

#include <functional>
#include <memory>
#include <optional>

/// While it lives, the first SIGINT, SIGTERM or SIGHUP calls a function on the main queue; a second one ends the
/// process at once. Those that were ignored stay so. Requires: made before any other thread, and one at a time.
class InterruptWatch {
 public:
  explicit InterruptWatch(std::function<void()> stop);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  /// The signal that came, if any.
  std::optional<int> signal() const;

 private:
  class Watcher;
  const std::unique_ptr<Watcher> watcher_;
};

/// Ends the process as the signal would have done by itself.
[[noreturn]] void endBySignal(int signal);
