#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace platform {

class HTTPURLResponse;

/// Which redirects are followed (RFC 9110, 15.4).
enum class RedirectFollowing : std::uint8_t {
  /// All.
  always,
  /// Those that lead to the same scheme, host and port. Any other is not followed, and is no failure, whatever it leads
  /// to and however many were followed before.
  sameOrigin,
  /// None.
  never
};

/// The function that decides about a redirect; copies share it.
///
///     redirects.decide = [](const HTTPURLResponse& response, URLRequest proposed) -> std::optional<URLRequest> {
///       if (proposed.url.host() == "login.example.com") return std::nullopt;  // the response stands
///       return proposed;
///     };
///
/// It returns the request to send, the proposed one or a changed one, or nothing, where the response is to stand. The
/// proposal has the method, the fields and the body that are due (RFC 9110, 15.4), without credentials where it leads
/// to another origin. It is called on the global queue, perhaps for several redirects at a time, when the response has
/// arrived; a request under way waits for it, beyond its time-out. What it throws is the error of the task.
/// Another body of the request is bytes, not a stream (-1000). The file of an upload is sent where the proposal has it,
/// to a method that may have a body, unless the decision has bytes.
class CORVANE_API RedirectDecider {
  using Function = UniqueFunction<std::optional<URLRequest>(const HTTPURLResponse&, URLRequest)>;

 public:
  /// None.
  RedirectDecider() = default;
  template <class F>
    requires(!std::same_as<std::remove_cvref_t<F>, RedirectDecider> &&
             std::is_invocable_r_v<std::optional<URLRequest>, std::decay_t<F>&, const HTTPURLResponse&, URLRequest>)
  RedirectDecider(F&& function)  // NOLINT(google-explicit-constructor): a function is a decider
      : function_(std::make_shared<Function>(std::forward<F>(function))) {}

  /// Whether there is a function.
  explicit operator bool() const { return function_ != nullptr; }
  /// Requires: not empty.
  std::optional<URLRequest> operator()(const HTTPURLResponse& response, URLRequest proposed) const {
    return (*function_)(response, std::move(proposed));
  }

 private:
  std::shared_ptr<Function> function_;
};

/// How a session treats redirects. A redirect that is not followed is a response as any other: its status and its
/// fields, "Location" among them, can be read.
struct RedirectConfiguration {
  /// Default: `always`.
  RedirectFollowing following = RedirectFollowing::always;
  /// How many are followed for one task; one more fails with -1007. Default: 20.
  int limit = 20;
  /// Is asked about each redirect that `following` and `limit` let through. Those that cannot be followed (a Location
  /// that is no URL, one that leaves http and https, or leads from https to http) fail without being asked about.
  /// Default: none, every one is followed as proposed.
  RedirectDecider decide;
};

}  // namespace platform
