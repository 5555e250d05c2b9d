#pragma once

#include <optional>
#include <utility>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Responses/HTTPResponse.hpp"
#include "Corvane/Transport/SendCancellation.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Velisand/Future.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

template <class Response>
struct BodyOfResponse {
  using Type = void;
};
template <class Response>
  requires requires { typename Response::Result::Body; }
struct BodyOfResponse<Response> {
  using Type = typename Response::Result::Body;
};
/// The body that a response type carries on success.
template <class Response>
using BodyOf = typename BodyOfResponse<Response>::Type;

/// Settles a future by a response: its error, else its body, else `HTTPResponseError::noContent`.
template <class Response>
void fulfill(const velisand::Future<HTTPResponse<BodyOf<Response>>>& future, Response& response) {
  try {
    // Where the result is stored and hands out its body for changing, that is moved, else copied.
    auto&& result = storedOrRead(&Response::result, response);
    if (const auto* error = result.error()) {
      future.markFailure(*error);
    } else if (auto* body = result.body()) {
      future.markCompletion(HTTPResponse<BodyOf<Response>>(response, std::move(*body)));
    } else {
      future.markFailure(HTTPResponseError::noContent());
    }
  } catch (...) {
    future.markFailure(platform::Error::current());  // as where there is no memory for a copy
  }
}

/// A send in the form of a future: the future, and what to send with to complete it, in the scope of the cancellation.
template <class Response>
struct CORVANE_API SendFuture {
  /// On the caller's queue, where there is one.
  static SendFuture make();

  velisand::Future<HTTPResponse<BodyOf<Response>>> future;
  std::optional<platform::DispatchQueue> queue;
  platform::UniqueFunction<void(Response)> completion;
  SendCancellation cancellation;
};

template <class Response>
SendFuture<Response> SendFuture<Response>::make() {
  using Outcome = velisand::Future<HTTPResponse<BodyOf<Response>>>;
  auto queue = velisand::currentQueue();
  const auto future = queue ? Outcome::completedOn(*queue) : Outcome();
  return {future, std::move(queue), [future](Response response) { fulfill(future, response); }, cancellationOf(future)};
}

}  // namespace corvane::detail
