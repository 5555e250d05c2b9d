#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Responses/HTTPResponse.hpp"
#include "Corvane/Transfers/HTTPProgress.hpp"
#include "Platform/Export.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

namespace detail {

/// Who wants to know of the progress of a future. Thread-safe.
class CORVANE_API ProgressHandlers {
 public:
  /// Where a future keeps them.
  static constexpr const char* memberName = "_progressHandlers";

  ProgressHandlers();
  ~ProgressHandlers();
  ProgressHandlers(const ProgressHandlers&) = delete;
  ProgressHandlers& operator=(const ProgressHandlers&) = delete;

  void append(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler);
  bool isEmpty() const;
  /// Calls all that are there by then, in the order in which they came, each on its own queue.
  void call(const HTTPProgress& progress) const;
  /// The future is about to be completed: lets go of all of them, and of those that come later.
  void end();

 private:
  struct List;
  const std::unique_ptr<List> list_;
};

}  // namespace detail

/// The future of a download or an upload: as any other future, and it tells how far the transfer has come.
///
///     auto download = DownloadGetRequest(url).send();
///     download.during([](HTTPProgress progress) { show(progress.percentCompleted()); });
///     const auto response = download.get();
template <class Body>
class TransferFuture : public velisand::Future<HTTPResponse<Body>> {
 public:
  /// The future without its progress.
  using Base = velisand::Future<HTTPResponse<Body>>;

  /// Adds the progress to a future of one's own; nothing tells of it unless `handlers()` are called.
  explicit TransferFuture(Base future) : Base(std::move(future)) {}

  /// Calls the handler with the progress from now on, on the queue (absent: the main queue). Handlers are called in
  /// the order in which they came; see `HTTPProgressHandler` for how often. Every call is scheduled before the future
  /// is completed, but runs when the queue comes to it: a thread that waits with `get()` may go on before, so a handler
  /// on another queue must not refer to that thread's local variables. On a serial queue no call comes after a
  /// `whenCompleted` of the same queue. The handler is let go of after its last call. Returns this future.
  TransferFuture during(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler) const {
    handlers()->append(std::move(queue), std::move(handler));
    return *this;
  }
  /// The same on the main queue.
  TransferFuture during(HTTPProgressHandler handler) const {
    return during(platform::DispatchQueue::main(), std::move(handler));
  }

  /// The handlers of all copies of this future; what completes it calls them.
  std::shared_ptr<detail::ProgressHandlers> handlers() const {
    return this->template dynamicMember<detail::ProgressHandlers>(detail::ProgressHandlers::memberName);
  }
};

}  // namespace corvane
