#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Platform/Export.hpp"

namespace corvane {

/// Cancels sends, of whatever requests: all that were started in its scope, and those that come of them, as the
/// attempts of a retrying send and the requests of a batch.
///
///     const SendCancellation cancellation;
///     {
///       const SendCancellation::Scope scope(cancellation);
///       request.send(queue, completion);
///     }
///     cancellation.cancel();
///
/// The future forms of sending bring one of their own, which `Future::cancel` calls. Copies are handles to the same.
/// One that is made in the scope of another is cancelled with that. Thread-safe.
class CORVANE_API SendCancellation {
 public:
  /// Not cancelled yet, and for no send yet.
  SendCancellation();

  /// Cancels what was started and has not ended; what is started in its scope later is cancelled at once, so that
  /// nothing reaches a server. Each send still completes, with `HTTPResponseError::taskCancelled` unless it was faster,
  /// and is not retried. Returns at once; further calls do nothing.
  void cancel() const;
  /// Whether `cancel` was called, here or on one around it.
  bool isCancelled() const;

  /// While it lives, the sends that this thread starts are cancelled by the given one. Scopes nest; the innermost
  /// counts. A `send` of a request type's own that goes on on another thread takes `current()` along and makes a scope
  /// there.
  class CORVANE_API Scope {
   public:
    /// For the calling thread.
    explicit Scope(SendCancellation cancellation);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    std::shared_ptr<void> held_;
    void* outer_;
  };
  /// That of the innermost scope of the calling thread; absent outside of any.
  static std::optional<SendCancellation> current();

  /// Calls the method of the target on `cancel`, at once when that has been, unless the target is gone by then: on the
  /// thread that cancels, so it must return soon, and not throw.
  template <auto method, class T>
  void reaches(const std::shared_ptr<T>& target) const {
    add(target, [](void* object) { (static_cast<T*>(object)->*method)(); });
  }

 private:
  struct State;

  explicit SendCancellation(std::shared_ptr<State> state) : state_(std::move(state)) {}
  void add(std::shared_ptr<void> target, void (*call)(void*)) const;

  std::shared_ptr<State> state_;
};

namespace detail {

/// What the future cancels from now on.
template <class Future>
SendCancellation cancellationOf(const Future& future) {
  SendCancellation cancellation;
  future.whenCancelled([cancellation] { cancellation.cancel(); });
  return cancellation;
}

}  // namespace detail

}  // namespace corvane
