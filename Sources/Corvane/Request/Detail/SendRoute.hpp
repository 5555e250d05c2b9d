#pragma once

#include <optional>
#include <utility>

#include "Corvane/Request/BehaviourMarks.hpp"
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
/// A type that declares a `send(queue, completion)` of its own never comes here: its own is called instead.
template <class Request>
constexpr SendRoute sendRoute() {
  return Polls<Request> ? SendRoute::polling : singleRoute<Request>();
}

/// `progress` is the handler of a transfer, or nothing.
template <class Request, class Completion, class... Progress>
void dispatchSingleSend(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion,
                        Progress... progress) {
  constexpr SendRoute route = singleRoute<Request>();
  if constexpr (route == SendRoute::testResponse) {
    request.test(std::move(queue), std::move(completion));
  } else if constexpr (route == SendRoute::mockResponse) {
    request.mock(std::move(queue), std::move(completion));
  } else if constexpr (route == SendRoute::transfer && sizeof...(Progress) == 0) {
    request.sendToNetwork(std::move(queue), nullptr, std::move(completion));
  } else {
    request.sendToNetwork(std::move(queue), std::move(progress)..., std::move(completion));
  }
}

/// `send` as behaviours call it; a `send` of the type's own is honoured, which takes the progress of a transfer, too.
template <class Request, class Completion>
void sendViaRequest(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion) {
  if constexpr (Transfers<Request>) {
    request.send(std::move(queue), nullptr, std::move(completion));
  } else {
    request.send(std::move(queue), std::move(completion));
  }
}

/// Every way of sending starts here.
template <class Request, class Completion, class... Progress>
void dispatchSend(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion,
                  Progress... progress) {
  if constexpr (!checkBehaviours<Request>()) {
    return;
  } else if constexpr (sendRoute<Request>() == SendRoute::polling) {
    Request::firePoll(request, std::move(queue), std::move(completion), std::move(progress)...);
  } else {
    dispatchSingleSend(request, std::move(queue), std::move(completion), std::move(progress)...);
  }
}

}  // namespace corvane::detail
