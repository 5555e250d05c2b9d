#pragma once

#include <concepts>
#include <coroutine>
#include <optional>
#include <type_traits>

#include "Platform/Dispatch/DispatchQueue.hpp"

/// What takes the likely mistakes in using a request, to say what is wrong: the compiler alone would say that nothing
/// fits.
namespace corvane::detail {

template <class T>
inline constexpr bool isNothing = false;

/// Something that may be meant as a function.
template <class F>
concept MeantAsFunction =
    (std::is_class_v<std::decay_t<F>> || std::is_function_v<std::remove_pointer_t<std::decay_t<F>>>) &&
    !std::convertible_to<F, std::optional<platform::DispatchQueue>>;

/// Takes a function that is not of the type `Completion`.
template <class Completion>
struct NoCompletion {
  template <class F>
    requires(MeantAsFunction<F> && !std::convertible_to<F, Completion>)
  NoCompletion(F&&) {  // NOLINT(google-explicit-constructor)
    static_assert(
        isNothing<F>,
        "A completion is called with the response: write `[](DataResponse response) { … }` with the request's "
        "`Response`, or `[](auto response) { … }`");
  }
};

/// What `co_await` on a request gives.
struct NoAwaiter {
  bool await_ready() const noexcept { return true; }
  void await_suspend(std::coroutine_handle<>) const noexcept {}
  void await_resume() const noexcept {}
};

}  // namespace corvane::detail
