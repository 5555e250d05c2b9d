#pragma once

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Responses/HTTPResponse.hpp"
#include "Velisand/Future.hpp"

namespace corvane::detail {

/// Settles a future by a response: its error, else its body, else `HTTPResponseError::noContent`.
template <class Body, class Response>
void fulfill(const velisand::Future<HTTPResponse<Body>>& future, const Response& response) {
  const auto& result = read(&Response::result, response);
  if (const auto* error = result.error()) {
    future.markFailure(*error);
  } else if (const auto* body = result.body()) {
    future.markCompletion(HTTPResponse<Body>(response, *body));
  } else {
    future.markFailure(HTTPResponseError::noContent());
  }
}

}  // namespace corvane::detail
