#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Velisand/Detail/FutureState.hpp"
#include "Velisand/Result.hpp"

namespace velisand {

namespace detail {
struct FutureAccess;
}

/// A value or an error that becomes available later. Copies are handles to the same future.
///
/// Its producer completes it once, on any thread. Any number of consumers, on any threads, wait for it, register
/// callbacks, or `co_await` it:
///
///     Future<int> future;
///     future.whenSucceeded([](int value) { show(value); });
///     future.markCompletion(42);
///
/// All consumers share the value, so it must be copyable. When the last handle is destroyed before the future is
/// completed, its callbacks are dropped without being called.
template <class T>
class Future {
  static_assert(
      std::is_void_v<T> || std::copy_constructible<T>,
      "A future's value is shared by everyone who asks for it, so it must be copyable: of a type that can only "
      "be moved, take the response in a completion");

 public:
  /// The type of the value.
  using Value = T;

  /// A future that is not completed.
  Future() : state_(std::make_shared<State>()) {}
  /// A future that a block of this serial queue will complete. A block of that queue that waits for it would wait
  /// forever, and traps instead.
  static Future completedOn(platform::DispatchQueue queue) {
    Future future;
    future.state_->setCompletingQueue(std::move(queue));
    return future;
  }

  /// Completes the future. The first completion or failure wins; any later one changes nothing and returns false.
  template <class U = T>
    requires(!std::is_void_v<T> && std::convertible_to<U, T>)
  bool markCompletion(U&& value) const {
    return markResult(Result<T>::success(std::forward<U>(value)));
  }
  bool markCompletion() const
    requires std::is_void_v<T>
  {
    return markResult(Result<T>::success());
  }
  /// Fails the future; otherwise the same as `markCompletion`.
  bool markFailure(platform::Error error) const { return markResult(Result<T>::failure(std::move(error))); }
  /// Completes or fails the future with an outcome.
  bool markResult(Result<T> result) const { return state_->complete(std::move(result)); }

  /// Whether the future is completed.
  bool isCompleted() const { return state_->isCompleted(); }

  /// Asks the producer of the value to stop. Returns at once; any thread; only the first call counts, and none on a
  /// completed future. The future is still completed by its maker, once, with the value if that was faster: that of a
  /// sent request fails with `HTTPResponseError::taskCancelled`, that of a `Task` with what its coroutine makes of the
  /// cancellation of what it awaits. A future whose maker does not heed `stopToken` goes on; one that has no maker, as
  /// that of a request whose `shouldSend` is false, stays open. It is cancelled for all who share it.
  void cancel() const { state_->cancel(); }
  /// Whether `cancel` was called before the future was completed. For producers, between two steps.
  bool isCancelled() const { return state_->isCancelled(); }
  /// For makers: the stop that `cancel` requests, on the thread that cancels. Callbacks of it must return soon and not
  /// throw. Always the same until the future is completed; then one that no stop comes by.
  std::stop_token stopToken() const { return state_->stopToken(); }

  /// Blocks until the future is completed. The waiting thread may meanwhile drive the network loop.
  void wait() const { state_->wait(); }
  /// The same with a limit. False when the limit passed first.
  bool wait(platform::Seconds limit) const { return state_->wait(limit); }
  /// Blocks until the future is completed, and returns the outcome.
  Result<T> result() const {
    wait();
    return state_->result();
  }
  /// Blocks until the future is completed. Returns the value, or throws the error as a `platform::Error`.
  T get() const {
    wait();
    if (const auto* error = state_->result().error()) throw *error;
    if constexpr (!std::is_void_v<T>) return *state_->result().value();
  }

  /// Calls `callback(const Result<T>&)` once, asynchronously, when the future is completed, or soon if it is completed
  /// already: on the given queue, or on the main queue if it is absent. Callbacks are submitted in the order of their
  /// registration.
  template <std::invocable<const Result<T>&> F>
  void whenCompleted(std::optional<platform::DispatchQueue> queue, F callback) const {
    // A plain pointer: the state holds the block, and keeps itself alive while the block runs.
    state_->whenCompleted(std::move(queue), [state = state_.get(), callback = std::move(callback)]() mutable {
      callback(state->result());
    });
  }
  template <std::invocable<const Result<T>&> F>
  void whenCompleted(F callback) const {
    whenCompleted(std::nullopt, std::move(callback));
  }

  /// Calls `callback(value)`, or `callback()` for a future without a value, in the same way, but only on success.
  template <class F>
  void whenSucceeded(std::optional<platform::DispatchQueue> queue, F callback) const {
    whenCompleted(std::move(queue), [callback = std::move(callback)](const Result<T>& result) mutable {
      if (!result) return;
      if constexpr (std::is_void_v<T>) {
        callback();
      } else {
        callback(*result.value());
      }
    });
  }
  template <class F>
  void whenSucceeded(F callback) const {
    whenSucceeded(std::nullopt, std::move(callback));
  }

  /// Calls `callback(const platform::Error&)` in the same way, but only on failure.
  template <std::invocable<const platform::Error&> F>
  void whenFailed(std::optional<platform::DispatchQueue> queue, F callback) const {
    whenCompleted(std::move(queue), [callback = std::move(callback)](const Result<T>& result) mutable {
      if (const auto* error = result.error()) callback(*error);
    });
  }
  template <std::invocable<const platform::Error&> F>
  void whenFailed(F callback) const {
    whenFailed(std::nullopt, std::move(callback));
  }

  /// State that an extension keeps with this future under its own name, shared by all handles. It is created on the
  /// first call. Requires: all users of the name use the same type.
  template <class Member>
  std::shared_ptr<Member> dynamicMember(const char* name) const {
    auto member = state_->member(name);
    if (!member) member = state_->keepMember(name, std::make_shared<Member>());
    return std::static_pointer_cast<Member>(std::move(member));
  }

  class Awaiter;
  /// Returns the value or throws a `platform::Error`, like `get()`, without blocking a thread. A suspended coroutine
  /// resumes on the queue of the block in which it ran, or on the global queue if it ran in none.
  Awaiter operator co_await() const { return Awaiter(*this); }

 private:
  using State = detail::FutureState<T>;

  std::shared_ptr<State> state_;

  template <class>
  friend class Task;
  friend struct detail::FutureAccess;
};

/// What `co_await` works with.
template <class T>
class Future<T>::Awaiter {
 public:
  /// Awaits that future.
  explicit Awaiter(Future future) : future_(std::move(future)) {}

  bool await_ready() const { return future_.isCompleted(); }
  template <class Handle>
  void await_suspend(Handle handle) {
    auto queue = detail::queueToResumeOn();
    // The coroutine may be running elsewhere, and this awaiter be gone, before the last call returns.
    const auto state = future_.state_;
    if constexpr (requires { handle.promise().suspend(queue, state); }) {
      suspended_ = handle.promise().suspend(queue, state);
    }
    try {
      state->whenCompleted(std::move(queue), [handle]() mutable { handle.resume(); });
    } catch (...) {
      // It goes on at once, with the exception.
      if (suspended_) suspended_->resume();
      throw;
    }
  }
  T await_resume() const {
    if (suspended_) suspended_->resume();
    return future_.get();
  }

 private:
  Future future_;
  detail::AnyFutureState* suspended_ = nullptr;
};

}  // namespace velisand
