#pragma once

#include <concepts>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace corvane {

namespace detail {
/// What every `HTTPRequestCancelable` derives from, whatever its argument.
struct CancelMark {};
}  // namespace detail

/// Lets a request be cancelled after it was sent, by anyone who holds the request or a copy of it.
///
/// | you write                                    | you get                                          |
/// |----------------------------------------------|--------------------------------------------------|
/// | `HTTPRequestCancelable<GetUser>` as a base   | `uuid`, made with the request and copied with it |
/// |                                              | `request.cancel()`                               |
/// | a `uuid` of your own (stored or computed)    | that one; it must always read the same           |
///
///     struct GetUser : DataGetRequestable<GetUser>, HTTPRequestCancelable<GetUser> { … };
///
///     GetUser request{.login = "ada"};
///     request.send(queue, [](DataResponse response) { … });   // failure: HTTPResponseError::taskCancelled
///     request.cancel();
///
/// Of two sends of one request (or of copies) that run at the same time, `cancel` reaches the later one only:
/// give each send a request of its own.
template <class Self>
struct HTTPRequestCancelable : detail::CancelMark {
  /// Names this request and its copies.
  platform::UUID uuid;

  /// Cancels the request's task; does nothing when none is under way. Returns at once, on any thread. The
  /// completion is still called, once.
  void cancel() const {
    if constexpr (detail::checkSelf<Self, HTTPRequestCancelable>())
      TaskManager::shared().cancelTask(detail::read(&Self::uuid, static_cast<const Self&>(*this)));
  }
};

/// A request type that takes part in cancellation.
template <class T>
concept Cancelable = std::derived_from<T, HTTPRequestCancelable<T>>;

/// Cancels every request of a range, in its order.
template <class Requests>
  requires requires(const Requests& requests) { (*requests.begin()).cancel(); }
void cancel(const Requests& requests) {
  for (const auto& request : requests) request.cancel();
}

}  // namespace corvane
