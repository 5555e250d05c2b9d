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

/// The progress of a download or an upload: the bytes of the body that went over the network, and how many there
/// are in all. It shares the progress object of its task, so that it always tells the latest.
class CORVANE_API HTTPProgress {
 public:
  /// The total while the server has not announced one.
  static constexpr std::int64_t unknownTotal = -1;
  /// What is called with the progress.
  using Handler = HTTPProgressHandler;

  /// Tells of a task's progress.
  explicit HTTPProgress(std::shared_ptr<platform::Progress> shared) : progress(std::move(shared)) {}

  /// 0 before the first byte.
  std::int64_t completedBytes() const;
  /// `unknownTotal` while the server has not announced how many there are, as with a response in chunks.
  std::int64_t totalBytes() const;
  /// A fraction from 0 to 1, despite its name; 0 while the total is unknown. Always present.
  std::optional<double> percentCompleted() const;

  /// Calls the handler on the queue (absent: the main queue), asynchronously, once for each change that the task
  /// tells of: at most every 50 ms, and when it succeeded. Lasts as long as the value that is returned; that is
  /// empty when there is no handler.
  [[nodiscard]] static platform::ProgressObservation observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                                             std::optional<platform::DispatchQueue> queue,
                                                             HTTPProgressHandler handler);

  /// The object of the task, which counts the same bytes.
  std::shared_ptr<platform::Progress> progress;
};

/// Called with the progress of a transfer, on the completion queue; empty for none. In order and
/// one at a time, whatever the queue; at most every 50 ms, which is as often as a person can see, and once when
/// the transfer succeeded; never after the completion was called. It must not throw, nor wait for the completion.
///
/// Made of anything that takes an `HTTPProgress`. Copies share it.
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
  /// Whether a call would reach a handler at present.
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
