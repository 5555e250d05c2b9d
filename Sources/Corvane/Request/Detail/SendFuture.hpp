#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Responses/HTTPResponse.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLResponse.hpp"
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

/// `HTTPResponseError::noContent`, with the response that it came with.
CORVANE_API platform::Error noContent(const std::shared_ptr<const platform::URLResponse>& response,
                                      const std::optional<platform::Data>& data);

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
      future.markFailure(noContent(read(&Response::urlResponse, response), read(&Response::data, response)));
    }
  } catch (...) {
    future.markFailure(platform::Error::current());  // as where there is no memory for a copy
  }
}

/// Completed on that queue, else on the caller's, where there is one, which is put in its place.
template <class Value>
velisand::Future<Value> openFuture(std::optional<platform::DispatchQueue>& queue) {
  if (!queue) queue = velisand::currentQueue();
  return queue ? velisand::Future<Value>::completedOn(*queue) : velisand::Future<Value>();
}

/// A send in the form of a future: the future, and what to send with to complete it, which stops with it.
template <class Response>
struct CORVANE_API SendFuture {
  static SendFuture make(const SendOptions& options = {});

  velisand::Future<HTTPResponse<BodyOf<Response>>> future;
  std::optional<platform::DispatchQueue> queue;
  SendCompletion<Response> completion;
};

template <class Response>
SendFuture<Response> SendFuture<Response>::make(const SendOptions& options) {
  auto queue = options.queue;
  const auto future = openFuture<HTTPResponse<BodyOf<Response>>>(queue);
  SendCompletion<Response> completion([future](Response&& response) { fulfill(future, response); },
                                      SendBounds::by(future.stopToken()));
  completion.add(options);
  return {future, std::move(queue), std::move(completion)};
}

}  // namespace corvane::detail
