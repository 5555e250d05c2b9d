#pragma once

#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::detail {

/// Decides, from what a request type adopts, which road `send` takes. Every way of sending starts here.
///
/// A plain request goes to the network. A type that declares a `send(queue, completion)` of its own never
/// comes here: its own is called instead.
template <class Request, class Completion>
void takeItsRoad(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion) {
  request.sendToNetwork(std::move(queue), std::move(completion));
}

}  // namespace corvane::detail
