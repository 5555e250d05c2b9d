#pragma once

#include <optional>
#include <utility>

#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/SendGate.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::detail {

/// Where `send` may lead.
enum class SendRoute {
  /// One exchange now, of which everyone who polls the type hears; see `firePoll`.
  polling,
  testResponse,
  mockResponse,
  /// To the network, with progress.
  transfer,
  network
};

/// The route of a single exchange.
template <class Request>
constexpr SendRoute singleRoute() {
  if (TestMocks<Request>) return SendRoute::testResponse;
  if (Mocks<Request>) return SendRoute::mockResponse;
  return Transfers<Request> ? SendRoute::transfer : SendRoute::network;
}

/// Decides, from what a request type adopts, which route `send` takes. A polling type's leads on to its single route;
/// retrying leaves `send` as it is, and starts one for each attempt.
///
/// A type that declares a `send` of its own never comes here: its own is called instead.
template <class Request>
constexpr SendRoute sendRoute() {
  return Polls<Request> ? SendRoute::polling : singleRoute<Request>();
}

/// `progress` is for a transfer.
template <class Request>
void dispatchSingleSend(const Request& request, std::optional<platform::DispatchQueue> queue,
                        HTTPProgressHandler progress, CompletionOf<Request> completion) {
  constexpr SendRoute route = singleRoute<Request>();
  if constexpr (route == SendRoute::testResponse) {
    request.test(std::move(queue), std::move(completion));
  } else if constexpr (route == SendRoute::mockResponse) {
    request.mock(std::move(queue), std::move(completion));
  } else if constexpr (route == SendRoute::transfer) {
    request.sendToNetwork(std::move(queue), std::move(progress), std::move(completion));
  } else {
    request.sendToNetwork(std::move(queue), std::move(completion));
  }
}

/// What the library's `send` does.
template <class Request>
void dispatchSend(const Request& request, std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress,
                  CompletionOf<Request> completion) {
  if constexpr (!checkBehaviours<Request>()) {
    return;
  } else if constexpr (sendRoute<Request>() == SendRoute::polling) {
    Request::firePoll(request, std::move(queue), std::move(completion), std::move(progress));
  } else {
    dispatchSingleSend(request, std::move(queue), std::move(progress), std::move(completion));
  }
}

// Which `send` of a request type is the library's. One of the type's own hides it, or is chosen before it.

template <class Request>
void takesInherited(void (RequestMixin<Request>::*)(std::optional<platform::DispatchQueue>, CompletionOf<Request>)
                        const);
template <class Request>
void takesInheritedWithOptions(void (RequestMixin<Request>::*)(SendOptions, CompletionOf<Request>) const);
template <class Request>
void takesInheritedTransfer(void (Request::TransferMixin::*)(std::optional<platform::DispatchQueue>,
                                                             HTTPProgressHandler, CompletionOf<Request>) const);

/// The type declares a `send(options, completion)`.
template <class Request>
concept SendsWithOptions = requires(const Request& request, SendOptions options, CompletionOf<Request> completion) {
  request.send(std::move(options), std::move(completion));
} && !requires { detail::takesInheritedWithOptions<Request>(&Request::send); };

/// The type declares a `send(queue, completion)`, or a `send(queue, progress, completion)` if it is a transfer.
template <class Request>
inline constexpr bool sendsByItself = !requires { detail::takesInherited<Request>(&Request::send); };
template <Transfers Request>
inline constexpr bool sendsByItself<Request> = !requires { detail::takesInheritedTransfer<Request>(&Request::send); };

/// Sends in whatever form. Everything but the library's own `send(queue, completion)`, which a `send` of the type's own
/// may call, comes here, with a completion that carries the options.
template <class Request>
void sendByForm(const Request& request, std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress,
                CompletionOf<Request> completion) {
  if constexpr (SendsWithOptions<Request>) {
    SendOptions options = completion.options(queue);
    options.progress = std::move(progress);
    request.send(std::move(options), SendGate<ResponseOf<Request>>::before(queue, std::move(completion)));
  } else {
    if constexpr (sendsByItself<Request>)
      completion = SendGate<ResponseOf<Request>>::before(queue, std::move(completion));
    if constexpr (Transfers<Request>) {
      request.send(std::move(queue), std::move(progress), std::move(completion));
    } else {
      request.send(std::move(queue), std::move(completion));
    }
  }
}

}  // namespace corvane::detail
