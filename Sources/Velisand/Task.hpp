#pragma once

#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

#include "Velisand/Future.hpp"

namespace velisand {

namespace detail {

/// How a coroutine hands its value to its promise.
template <class T>
class TaskOutcome {
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
class TaskOutcome<void> {
 public:
  void return_void() { result_.emplace(Result<void>::success()); }

 protected:
  std::optional<Result<void>> result_;
};

}  // namespace detail

/// What a coroutine returns that awaits futures, for programs without a coroutine library of their own:
///
///     Task<std::string> title(URL page) {
///       const auto response = co_await GetPage{page}.send();
///       co_return titleOf(response.body);
///     }
///     const auto text = title("https://example.org").get();
///
/// The coroutine starts at once, on the caller's thread, and runs to its end whether or not anybody keeps
/// the task. A task is a future: it can be waited for, given callbacks, awaited, and converted to `Future<T>`.
/// It fails with what the coroutine throws. It is completed after the coroutine's variables and parameters
/// are destroyed.
template <class T = void>
class Task : public Future<T> {
 public:
  class promise_type;

 private:
  explicit Task(Future<T> future) : Future<T>(std::move(future)) {}
};

/// What the compiler works with.
template <class T>
class Task<T>::promise_type : public detail::TaskOutcome<T> {
 public:
  Task get_return_object() const { return Task(future_); }
  std::suspend_never initial_suspend() const noexcept { return {}; }
  void unhandled_exception() { this->result_.emplace(Result<T>::failure(platform::Error::current())); }

  /// While the coroutine is suspended, a block of the serial queue it resumes on that waits for it traps.
  detail::AnyFutureState* resumesOn(const platform::DispatchQueue& queue) const {
    future_.state_->setCompletingQueue(queue);
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
