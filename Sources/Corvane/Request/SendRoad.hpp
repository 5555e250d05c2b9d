#pragma once

#include <concepts>
#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::detail {

/// Marks a request that reports its progress: it is sent with a handler for that, which may be empty.
struct TransferMixin {};

template <class Request>
concept Transfers = std::derived_from<Request, TransferMixin>;

/// Decides, from what a request type adopts, which road `send` takes. Every way of sending starts here.
///
/// - A download or an upload takes the road with progress, without anybody who wants to know of it.
/// - A plain request goes to the network.
///
/// A type that declares a `send(queue, completion)` of its own never comes here: its own is called instead.
template <class Request, class Completion>
void takeItsRoad(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion) {
  if constexpr (Transfers<Request>) {
    request.send(std::move(queue), nullptr, std::move(completion));
  } else {
    request.sendToNetwork(std::move(queue), std::move(completion));
  }
}

}  // namespace corvane::detail
