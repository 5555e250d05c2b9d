#pragma once

#include <optional>
#include <utility>

#include "Corvane/Request/BehaviourMarks.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::detail {

/// Where `send` may lead.
enum class SendRoad {
  /// One exchange now, of which everyone who polls the type hears; see `firePoll`.
  polling,
  testAnswer,
  mockAnswer,
  /// To the network, with progress.
  transfer,
  network
};

/// The road of a single exchange.
template <class Request>
constexpr SendRoad singleRoad() {
  if (TestMocks<Request>) return SendRoad::testAnswer;
  if (Mocks<Request>) return SendRoad::mockAnswer;
  return Transfers<Request> ? SendRoad::transfer : SendRoad::network;
}

/// Decides, from what a request type adopts, which road `send` takes. A polling type's leads on to its single road;
/// retrying leaves `send` as it is, and starts one for each attempt.
///
/// A type that declares a `send(queue, completion)` of its own never comes here: its own is called instead.
template <class Request>
constexpr SendRoad sendRoad() {
  return Polls<Request> ? SendRoad::polling : singleRoad<Request>();
}

/// `progress` is the handler of a transfer, or nothing.
template <class Request, class Completion, class... Progress>
void takeSingleRoad(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion,
                    Progress... progress) {
  constexpr SendRoad road = singleRoad<Request>();
  if constexpr (road == SendRoad::testAnswer) {
    request.test(std::move(queue), std::move(completion));
  } else if constexpr (road == SendRoad::mockAnswer) {
    request.mock(std::move(queue), std::move(completion));
  } else if constexpr (road == SendRoad::transfer && sizeof...(Progress) == 0) {
    request.sendToNetwork(std::move(queue), nullptr, std::move(completion));
  } else {
    request.sendToNetwork(std::move(queue), std::move(progress)..., std::move(completion));
  }
}

/// `send` as behaviours call it; a `send` of the type's own is honoured, which takes the progress of a transfer, too.
template <class Request, class Completion>
void sendAsTheTypeSays(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion) {
  if constexpr (Transfers<Request>) {
    request.send(std::move(queue), nullptr, std::move(completion));
  } else {
    request.send(std::move(queue), std::move(completion));
  }
}

/// Every way of sending starts here.
template <class Request, class Completion, class... Progress>
void takeItsRoad(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion,
                 Progress... progress) {
  if constexpr (!checkBehaviours<Request>()) {
    return;
  } else if constexpr (sendRoad<Request>() == SendRoad::polling) {
    Request::firePoll(request, std::move(queue), std::move(completion), std::move(progress)...);
  } else {
    takeSingleRoad(request, std::move(queue), std::move(completion), std::move(progress)...);
  }
}

}  // namespace corvane::detail
