#pragma once

#include <concepts>
#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>

#include "Corvane/Transport/Detail/SendBounds.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"

namespace corvane {

/// What is called with the response to a send: any function object that takes it; moved, never copied. It carries what
/// the caller asked for in `SendOptions`, so that a `send` of a request type's own stays within that:
///
///     void send(std::optional<DispatchQueue> queue, Completion completion) const {
///       const auto options = completion.options(queue);
///       GetToken().send(options, [request = *this, queue, completion = std::move(completion)](auto token) mutable {
///         request.authorized(token).sendToNetwork(queue, std::move(completion));
///       });
///     }
///
/// Passed on as it is, it takes the options along. A function of your own in its place gets them by `wrapping`.
template <class Response>
class SendCompletion : public platform::UniqueFunction<void(Response)> {
  using Function = platform::UniqueFunction<void(Response)>;

 public:
  /// None: nothing is called.
  SendCompletion() noexcept = default;
  SendCompletion(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor)
  template <class F>
    requires(!std::same_as<std::remove_cvref_t<F>, SendCompletion> && std::constructible_from<Function, F>)
  SendCompletion(F&& function)  // NOLINT(google-explicit-constructor): a function is a completion
      : Function(std::forward<F>(function)) {}
  /// One that is called in place of another, and carries the same options.
  template <class F>
    requires std::constructible_from<Function, F>
  SendCompletion(F&& function, detail::SharedBounds bounds)
      : Function(std::forward<F>(function)), bounds_(std::move(bounds)) {}

  /// What the call was sent with, but for its progress handler, to send something else with, whose completion is called
  /// on that queue: the stop, which is also requested when the deadline passes, and the deadline, which goes on to run.
  SendOptions options(std::optional<platform::DispatchQueue> queue) const {
    return detail::SendBounds::options(bounds_, std::move(queue));
  }
  /// The function, called with this completion and the response, as a completion that carries the same options:
  ///
  ///     sendToNetwork(queue, std::move(completion).wrapping([](Completion& inner, Response response) {
  ///       note(response);
  ///       if (inner) inner(std::move(response));
  ///     }));
  template <std::invocable<SendCompletion&, Response> F>
  SendCompletion wrapping(F function) && {
    detail::SharedBounds bounds = bounds_;
    return {[inner = std::move(*this), function = std::move(function)](Response response) mutable {
              function(inner, std::move(response));
            },
            std::move(bounds)};
  }

  /// For the library's own routes.
  const detail::SharedBounds& bounds() const noexcept { return bounds_; }
  /// For the library's own routes: from now on it carries these options, too.
  void add(const SendOptions& options) { bounds_ = detail::SendBounds::add(std::move(bounds_), options); }
  /// For the library's own routes: what is sent with it is not new, and must not be served by what is stored alone.
  void markAsRepetition() { bounds_ = detail::SendBounds::repetition(bounds_); }

 private:
  detail::SharedBounds bounds_;
};

}  // namespace corvane
