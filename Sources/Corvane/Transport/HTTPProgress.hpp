#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Progress.hpp"

namespace platform {
class URLSessionTask;
}

namespace corvane {

class HTTPProgressHandler;

namespace detail {
class ProgressHandlers;
}

/// The progress of a download or an upload: the number of bytes of the body that went over the network, and their
/// total. It shares the progress object of its task, so that its values are always current.
class CORVANE_API HTTPProgress {
 public:
  /// The total while the server has not announced one.
  static constexpr std::int64_t unknownTotal = -1;
  /// A function that is called with the progress.
  using Handler = HTTPProgressHandler;

  /// The progress of a task.
  explicit HTTPProgress(std::shared_ptr<platform::Progress> shared) : progress(std::move(shared)) {}

  /// 0 before the first byte.
  std::int64_t completedBytes() const;
  /// `unknownTotal` while the total is unknown, as for a chunked response.
  std::int64_t totalBytes() const;
  /// A fraction from 0 to 1, despite its name; 0 while the total is unknown. Always present.
  std::optional<double> percentCompleted() const;

  /// Calls the handler on the queue (absent: the main queue), asynchronously, once for each change that the task
  /// reports: at most every 50 ms, and when it succeeded. The handler stays registered as long as the returned value
  /// exists; the value is empty without a handler.
  [[nodiscard]] static platform::ProgressObservation observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                                             std::optional<platform::DispatchQueue> queue,
                                                             HTTPProgressHandler handler);

  /// The progress object of the task, which counts the same bytes.
  std::shared_ptr<platform::Progress> progress;
};

/// A handler for the progress of a transfer, called on the completion queue; empty for no handler. Calls come in order
/// and one at a time, on any kind of queue: at most every 50 ms, and once more when the transfer succeeded, but never
/// after the completion was called. The handler must not throw, nor wait for the completion.
///
/// Constructed from any callable that takes an `HTTPProgress`. Copies share the callable.
class CORVANE_API HTTPProgressHandler {
 public:
  HTTPProgressHandler() noexcept = default;
  HTTPProgressHandler(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): no handler
  template <std::invocable<HTTPProgress> Function>
    requires(!std::same_as<Function, HTTPProgressHandler>)
  HTTPProgressHandler(Function function)  // NOLINT(google-explicit-constructor): a function is a handler
      : function_(made(std::move(function))) {}
  /// Calls the handlers of a future.
  explicit HTTPProgressHandler(std::shared_ptr<detail::ProgressHandlers> handlers) : handlers_(std::move(handlers)) {}

  /// Whether there is a handler.
  explicit operator bool() const noexcept { return function_ || handlers_; }
  /// Requires: not empty.
  void operator()(const HTTPProgress& progress) const;
  /// Whether there is a handler that a call would reach now.
  bool isListenedTo() const;

 private:
  using Shared = platform::UniqueFunction<void(HTTPProgress)>;

  template <class Function>
  static std::shared_ptr<Shared> made(Function function) {
    if constexpr (requires { function == nullptr; }) {
      if (function == nullptr) return nullptr;
    } else if constexpr (requires { function.operator bool(); }) {
      if (!function) return nullptr;
    }
    return std::make_shared<Shared>(std::move(function));
  }

  std::shared_ptr<Shared> function_;
  std::shared_ptr<detail::ProgressHandlers> handlers_;
};

}  // namespace corvane
