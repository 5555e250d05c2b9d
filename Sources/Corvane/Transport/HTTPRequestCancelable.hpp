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

/// Makes a request cancellable after it was sent, through the request or a copy of it.
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
/// If two sends of one request (or of its copies) run at the same time, `cancel` only cancels the later one: use a
/// separate request for each send.
template <class Self>
struct HTTPRequestCancelable : detail::CancelMark {
  /// Identifies this request and its copies.
  platform::UUID uuid;

  /// Cancels the request's task, if one is under way. May be called on any thread; returns at once. The completion is
  /// still called, once.
  void cancel() const {
    if constexpr (detail::checkSelf<Self, HTTPRequestCancelable>())
      TaskManager::shared().cancelTask(detail::read(&Self::uuid, static_cast<const Self&>(*this)));
  }
};

/// A request type that can be cancelled.
///
///     static_assert(Cancelable<GetReport>);  // it is an HTTPRequestCancelable<GetReport>
template <class T>
concept Cancelable = std::derived_from<T, HTTPRequestCancelable<T>>;

/// Cancels every request of a range, in its order.
template <class Requests>
  requires requires(const Requests& requests) { (*requests.begin()).cancel(); }
void cancel(const Requests& requests) {
  for (const auto& request : requests) request.cancel();
}

}  // namespace corvane
