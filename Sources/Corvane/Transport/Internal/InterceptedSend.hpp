#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

#include "Corvane/Transport/HTTPInterceptedResponse.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Velisand/Detail/WeakStop.hpp"
#include "Velisand/Future.hpp"

namespace corvane::detail {

class Interception;

/// One exchange of an intercepted request with the network: what stops it, and where its outcome goes.
class InterceptedSend : public std::enable_shared_from_this<InterceptedSend> {
 public:
  using Outcome = velisand::Future<HTTPInterceptedResponse>;

  /// Keeps the whole, which passes its stop on.
  InterceptedSend(std::shared_ptr<Interception> whole, Outcome outcome,
                  std::shared_ptr<const platform::URLRequest> sent)
      : whole_(std::move(whole)), outcome_(std::move(outcome)), sent_(std::move(sent)) {}

  /// Stops with the whole request, and with the future of the outcome.
  void follow(const std::stop_token& whole) {
    ofWhole_.watch(whole, weak_from_this());
    ofOutcome_.watch(outcome_->stopToken(), weak_from_this());
  }
  /// Of the task.
  std::stop_token stop() const { return stop_.get_token(); }
  /// The first time only, on the queue of the sessions. Lets go of the future, whose value may refer to the task.
  void receive(HTTPInterceptedResponse response);
  /// Ends the exchange, unless its outcome was received. On the queue of the sessions.
  void endIfAwaited() noexcept {
    if (outcome_) wasStopped();
  }
  const std::shared_ptr<const platform::URLRequest>& sent() const { return sent_; }

 private:
  friend class velisand::detail::WeakStop<InterceptedSend>;
  void wasStopped() noexcept { std::stop_source(stop_).request_stop(); }

  const std::shared_ptr<Interception> whole_;
  std::optional<Outcome> outcome_;
  const std::shared_ptr<const platform::URLRequest> sent_;
  const std::stop_source stop_;
  // Destroyed first.
  velisand::detail::WeakStop<InterceptedSend> ofWhole_, ofOutcome_;
};

}  // namespace corvane::detail
