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

/// The return type of a coroutine that awaits futures, for programs without another coroutine library:
///
///     Task<std::string> title(URL page) {
///       const GetPage request{page};
///       const auto response = co_await request.send();
///       co_return titleOf(response.body);
///     }
///     const auto text = title("https://example.org").get();
///
/// The coroutine starts at once, on the caller's thread, and runs to its end whether or not the program keeps the task.
/// A task is a future: you can wait for it, register callbacks, await it, and convert it to `Future<T>`. It fails with
/// the exception that leaves the coroutine. It is completed after the coroutine's variables and parameters have been
/// destroyed.
///
/// Give a request that is an aggregate a name, as here: GCC 12 destroys an aggregate that is created within the
/// `co_await` expression twice.
///
/// After each `co_await` the coroutine resumes on the queue of the block in which it ran (`DispatchQueue::current()`),
/// or on the global queue if it ran in none. If the future was completed already, it continues at once on the same
/// thread.
///
/// `whenAll`, `whenAny`, `withTimeout` and `sleepFor` give futures to await: several at a time, for so long, or a time.
///
/// **Cancellation.** `task.cancel()`, on any thread, cancels the future that the coroutine awaits: a request, or a task
/// together with the future that it awaits in turn. It also cancels every future that the coroutine awaits later. The
/// coroutine gets the failure: a request throws `HTTPResponseError::taskCancelled` at the `co_await`. The coroutine may
/// handle it; usually the exception leaves the coroutine, and the task fails with it. The coroutine ends normally: its
/// variables are destroyed as usual, and the task is completed when it has ended. A coroutine that awaits nothing, or
/// only futures that cannot be cancelled, continues.
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
