#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Responses/HTTPResponse.hpp"
#include "Corvane/Transport/Detail/ProgressHandlers.hpp"
#include "Corvane/Transport/HTTPProgress.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

/// The future of a download or an upload, which also reports the progress of the transfer.
///
///     auto download = DownloadGetRequest(url).send();
///     download.during([](HTTPProgress progress) { show(progress.percentCompleted()); });
///     const auto response = download.get();
template <class Body>
class TransferFuture : public velisand::Future<HTTPResponse<Body>> {
 public:
  /// The future without its progress.
  using Base = velisand::Future<HTTPResponse<Body>>;

  /// Adds progress to another future; its owner has to call the `handlers()`.
  explicit TransferFuture(Base future) : Base(std::move(future)) {}

  /// Calls the handler with the progress from now on, on the queue (absent: the main queue). Handlers are called in the
  /// order of their registration, as often as `HTTPProgressHandler` describes. Every call is submitted before the
  /// future is completed, but may run later: a thread that waits in `get()` may continue before, so a handler on
  /// another queue must not refer to that thread's local variables. On a serial queue no call comes after a
  /// `whenCompleted` of the same queue. The handler is released after its last call. Returns this future.
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
