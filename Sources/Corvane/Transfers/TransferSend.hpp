#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Transfers/HTTPProgress.hpp"
#include "Corvane/Transfers/TransferFuture.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

class ProgressRelay;

/// Null for an empty handler.
CORVANE_API std::shared_ptr<ProgressRelay> progressRelay(HTTPProgressHandler handler);
CORVANE_API void end(ProgressRelay& relay);

/// One exchange of a request with progress, for a road of the pipeline: `startTransfer(download, request, …)`.
template <class Request>
void startTransfer(void (*road)(std::shared_ptr<Exchange>, std::shared_ptr<ProgressRelay>), const Request& request,
                   std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress,
                   typename Request::Completion completion) {
  using Response = typename Request::Response;
  const auto relay = progressRelay(std::move(progress));
  if (relay) {
    completion = [relay, completion = std::move(completion)](Response response) mutable {
      end(*relay);
      completion(std::move(response));
    };
  }
  road(std::make_shared<TypedExchange<Request>>(request, std::move(queue), std::move(completion)), relay);
}

/// The future form of sending with progress.
template <class Request>
TransferFuture<typename Request::ResponseBody> sentWithProgress(const Request& request) {
  auto outcome = SendFuture<typename Request::Response>::make();
  TransferFuture<typename Request::ResponseBody> future(std::move(outcome.future));
  request.send(std::move(outcome.queue), HTTPProgressHandler(future.handlers()), std::move(outcome.completion));
  return future;
}

}  // namespace corvane::detail
