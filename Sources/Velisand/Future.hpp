#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Velisand/Detail/FutureState.hpp"
#include "Velisand/Result.hpp"

namespace velisand {

/// A value, or an error, that is there later. Copies are handles to the same future.
///
/// Its maker completes it once, from any thread; any number of others, on any threads, wait for it,
/// ask to be called, or `co_await` it:
///
///     Future<int> future;
///     future.whenSucceeded([](int value) { show(value); });
///     future.markCompletion(42);
///
/// The value is shared by all who ask, so it must be copyable. When the last handle goes before the future
/// is completed, its callbacks are dropped without being called.
template <class T>
class Future {
  static_assert(
      std::is_void_v<T> || std::copy_constructible<T>,
      "A future's value is shared by everyone who asks for it, so it must be copyable: of a type that can only "
      "be moved, take the response in a completion");

 public:
  /// What the future is of.
  using Value = T;

  /// A future that is open.
  Future() : state_(std::make_shared<State>()) {}
  /// A future that will be completed by a block of this serial queue. A block of that queue that waits for
  /// it would wait forever, and traps instead.
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
  /// Fails the future, as `markCompletion` completes it.
  bool markFailure(platform::Error error) const { return markResult(Result<T>::failure(std::move(error))); }
  /// Completes or fails the future with an outcome.
  bool markResult(Result<T> result) const { return state_->complete(std::move(result)); }

  /// Whether there is an outcome yet.
  bool isCompleted() const { return state_->isCompleted(); }

  /// Asks the producer of the value to stop. Returns at once; any thread; only the first call counts, and none on a
  /// completed future. The future is still completed by its maker, once, with the value if that was faster: that of a
  /// sent request fails with `HTTPResponseError::taskCancelled`, that of a `Task` with what its coroutine makes of the
  /// cancellation of what it awaits. A future whose maker has not said how to stop goes on; one that has no maker, as
  /// that of a request whose `shouldSend` is false, stays open. It is cancelled for all who share it.
  void cancel() const { state_->cancel(); }
  /// Whether `cancel` was called before the future was completed: for makers, between two steps.
  bool isCancelled() const { return state_->isCancelled(); }
  /// For makers: how to stop. The block is called once, on the thread that cancels, at once when that has happened; it
  /// is dropped when the future is completed. It must return soon and not throw.
  void whenCancelled(platform::Block block) const { state_->whenCancelled(std::move(block)); }

  /// Blocks until the future is completed. The waiting thread may meanwhile drive the network loop.
  void wait() const { state_->wait(); }
  /// False when the limit passed first.
  bool wait(platform::Seconds limit) const { return state_->wait(limit); }
  /// Blocks; returns the outcome.
  Result<T> result() const {
    wait();
    return state_->result();
  }
  /// Blocks; returns the value, or throws the failure as a `platform::Error`.
  T get() const {
    wait();
    if (const auto* error = state_->result().error()) throw *error;
    if constexpr (!std::is_void_v<T>) return *state_->result().value();
  }

  /// Calls `callback(const Result<T>&)` once, asynchronously, when the future is completed (soon, when it is
  /// already): on the given queue, or on the main queue when it is absent. Callbacks are submitted in the
  /// order in which they were registered.
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

  /// Calls `callback(value)`, or `callback()` for a future without a value, in the same manner, but only on success.
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

  /// Calls `callback(const platform::Error&)` in the same manner, but only on failure.
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

  /// What an extension of futures keeps with this one, shared by its handles, under a name of its own: made when
  /// it is asked for first. Requires: everyone who uses the name means the same type.
  template <class Member>
  std::shared_ptr<Member> dynamicMember(const char* name) const {
    auto member = state_->member(name);
    if (!member) member = state_->keepMember(name, std::make_shared<Member>());
    return std::static_pointer_cast<Member>(std::move(member));
  }

  class Awaiter;
  /// The value, or a thrown `platform::Error`, as with `get()`, without blocking a thread. A coroutine that
  /// was suspended resumes on the queue whose block it ran in, or on the global queue when it ran in none.
  Awaiter operator co_await() const { return Awaiter(*this); }

 private:
  using State = detail::FutureState<T>;

  std::shared_ptr<State> state_;

  template <class>
  friend class Task;
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
