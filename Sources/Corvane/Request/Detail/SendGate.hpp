#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Request/Detail/ResponseExchange.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velisand/Detail/WeakStop.hpp"

namespace corvane::detail {

/// Stands before the completion of a send whose own code may not heed a stop: lets one outcome through, the response or
/// the stop.
template <class Response>
class SendGate : public std::enable_shared_from_this<SendGate<Response>> {
 public:
  SendGate(std::optional<platform::DispatchQueue> queue, SendCompletion<Response>&& completion)
      : queue_(std::move(queue)), completion_(std::move(completion)) {}

  /// The completion as it is where nothing can stop the send.
  static SendCompletion<Response> before(const std::optional<platform::DispatchQueue>& queue,
                                         SendCompletion<Response> completion) {
    SharedBounds bounds = completion.bounds();
    if (!SendBounds::of(bounds).stop.stop_possible()) return completion;
    const auto gate = std::make_shared<SendGate>(queue, std::move(completion));
    gate->stopping_.watch(bounds->stop, gate);
    return {[gate](Response response) { gate->pass(std::move(response)); }, std::move(bounds)};
  }

 private:
  friend class velisand::detail::WeakStop<SendGate>;

  void wasStopped() noexcept {
    if (isPassed_.exchange(true)) return;
    // A response is made of it, by code that others must not wait for.
    platform::detail::requiringMemory("a send cannot be cancelled", [this] {
      platform::DispatchQueue::global().async([self = this->shared_from_this()] { self->deliverStop(); });
    });
  }
  void pass(Response response) {
    if (isPassed_.exchange(true)) return;
    if (completion_) completion_(std::move(response));
  }
  void deliverStop() {
    auto error = SendBounds::of(completion_.bounds()).error();
    platform::detail::requiringMemory("the end of a send cannot be told", [&] {
      deliverFailure<Response>(queue_, std::move(completion_), std::move(error));
    });
  }

  const std::optional<platform::DispatchQueue> queue_;
  SendCompletion<Response> completion_;
  std::atomic<bool> isPassed_ = false;
  /// Destroyed first.
  velisand::detail::WeakStop<SendGate> stopping_;
};

}  // namespace corvane::detail
