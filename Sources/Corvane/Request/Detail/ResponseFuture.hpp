#pragma once

#include <utility>

#include "Corvane/Request/Detail/SendFuture.hpp"
#include "Corvane/Request/Detail/SendRoute.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Velisand/Future.hpp"

namespace corvane::detail {

/// Sends, and completes a future by the response, whatever that says.
template <class Request>
velisand::Future<ResponseOf<Request>> sendForResponse(const Request& request, SendOptions options) {
  const auto future = openFuture<ResponseOf<Request>>(options.queue);
  CompletionOf<Request> completion(
      [future](ResponseOf<Request> response) { future.markCompletion(std::move(response)); },
      SendBounds::by(future.stopToken()));
  completion.add(options);
  sendByForm(request, std::move(options.queue), std::move(options.progress), std::move(completion));
  return future;
}

}  // namespace corvane::detail
