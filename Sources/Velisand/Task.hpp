#pragma once

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Velisand/Future.hpp"

namespace velisand {

namespace detail {

/// How a coroutine hands its value to its promise.
template <class T>
class TaskResult {
 public:
  template <class U = T>
    requires std::is_convertible_v<U, T>
  void return_value(U&& value) {
    result_.emplace(Result<T>::success(std::forward<U>(value)));
  }

 protected:
  std::optional<Result<T>> result_;
};

template <>
class TaskResult<void> {
 public:
  void return_void() { result_.emplace(Result<void>::success()); }

 protected:
  std::optional<Result<void>> result_;
};

}  // namespace detail

/// What a coroutine returns that awaits futures, for programs without a coroutine library of their own:
///
///     Task<std::string> title(URL page) {
///       const GetPage request{page};
///       const auto response = co_await request.send();
///       co_return titleOf(response.body);
///     }
///     const auto text = title("https://example.org").get();
///
/// The coroutine starts at once, on the caller's thread, and runs to its end whether or not the program keeps
/// the task. A task is a future: it can be waited for, given callbacks, awaited, and converted to `Future<T>`.
/// It fails with what the coroutine throws. It is completed after the coroutine's variables and parameters
/// are destroyed.
///
/// Give the request a name, as here, where it is an aggregate: GCC 12 destroys one that is made within the `co_await`
/// expression twice.
///
/// After each `co_await` it goes on where it was: on the queue whose block it ran in (`DispatchQueue::current()`), or
/// on the global queue when it ran in none; at once, without a change of threads, when the future was there already.
///
/// **Cancellation.** `task.cancel()`, from any thread, cancels the future that the coroutine awaits, and so the request
/// that this stands for, the task, and what that awaits in turn; and from then on every future that it comes to await.
/// The coroutine sees each fail: a request's throws `HTTPResponseError::taskCancelled` at the `co_await`. What it makes
/// of that is its own affair; usually it lets it out, and the task fails with it. Nothing is torn down: variables are
/// destroyed as usual, and the task is completed when the coroutine has ended. A coroutine that awaits nothing, or only
/// what cannot be cancelled, runs on.
template <class T = void>
class Task : public Future<T> {
 public:
  class promise_type;

 private:
  explicit Task(Future<T> future) : Future<T>(std::move(future)) {}
};

/// What the compiler works with.
template <class T>
class Task<T>::promise_type : public detail::TaskResult<T> {
 public:
  Task get_return_object() const { return Task(future_); }
  std::suspend_never initial_suspend() const noexcept { return {}; }
  void unhandled_exception() { this->result_.emplace(Result<T>::failure(platform::Error::current())); }

  /// While the coroutine is suspended, a block of the serial queue it resumes on that waits for it traps, and who
  /// cancels the task cancels what it awaits.
  detail::AnyFutureState* suspend(const platform::DispatchQueue& queue,
                                  std::shared_ptr<detail::AnyFutureState> awaited) const {
    future_.state_->suspend(queue, std::move(awaited));
    return future_.state_.get();
  }

  auto final_suspend() const noexcept {
    struct Completion {
      bool await_ready() const noexcept { return false; }
      void await_suspend(std::coroutine_handle<promise_type> handle) const noexcept {
        const auto future = std::move(handle.promise().future_);
        auto result = std::move(*handle.promise().result_);
        handle.destroy();
        future.markResult(std::move(result));
      }
      void await_resume() const noexcept {}
    };
    return Completion{};
  }

 private:
  Future<T> future_;
};

}  // namespace velisand
