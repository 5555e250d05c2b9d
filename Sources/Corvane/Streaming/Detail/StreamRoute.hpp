#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Streaming/Detail/StreamCore.hpp"
#include "Corvane/Streaming/Detail/StreamExchange.hpp"
#include "Corvane/Streaming/Detail/StreamPipeline.hpp"
#include "Corvane/Streaming/Detail/StreamPump.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

/// Whether `Self` can be streamed. Says what is wrong while it compiles.
template <class Self>
constexpr bool canBeStreamed() {
  static_assert(!Transfers<Self>,
                "A download or an upload is not streamed: HTTPStreaming is adopted beside the mixin of a data or JSON "
                "request, `struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed>`");
  if constexpr (!Transfers<Self> && isValidRequest<Self>) return checkBehaviours<Self>();
  return false;
}

/// Decides where a stream comes from: a mock, or the network.
template <class Request>
void dispatchStream(const Request& request, platform::HTTPHeaderFields moreFields,
                    std::optional<platform::DispatchQueue> queue, std::shared_ptr<StreamConsumer> consumer,
                    SendCompletion<HTTPStreamResponse> completion) {
  auto exchange = StreamExchange<Request>::make(request, std::move(queue), std::move(completion));
  if (!exchange) return;
  if constexpr (Mocks<Request>) {
    exchange->consumerOfMock = std::move(consumer);
    if constexpr (TestMocks<Request>) {
      request.testExchange(exchange);
    } else {
      request.mockExchange(exchange);
    }
  } else {
    exchange->moreFields = std::move(moreFields);
    streamFromNetwork(std::move(exchange), std::move(consumer));
  }
}

/// A stream whose pieces are asked for.
template <class Request>
std::shared_ptr<StreamCore> streamCore(const Request& request, platform::HTTPHeaderFields moreFields,
                                       const SendOptions& options) {
  const auto core = StreamCore::make();
  dispatchStream(request, std::move(moreFields), velisand::inlineExecutor(), core, core->completion(options));
  return core;
}

}  // namespace corvane::detail
