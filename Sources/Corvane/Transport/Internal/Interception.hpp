#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "Corvane/Transport/Internal/AddedCredentials.hpp"
#include "Corvane/Transport/Internal/Sending.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velisand/Detail/WeakStop.hpp"

namespace corvane {

/// A place in the list of interceptors.
struct HTTPInterceptorChain::Position {
  Position(std::shared_ptr<detail::Interception> of, std::size_t place, detail::AddedCredentials received)
      : run(std::move(of)), next(place), credentials(std::move(received)) {}

  const std::shared_ptr<detail::Interception> run;
  /// The interceptor that a send goes to; after the last one: the network.
  const std::size_t next;
  /// Of the request of the interceptor before it.
  const detail::AddedCredentials credentials;
  /// Of the interceptor before it.
  std::atomic<int> sends = 0;
};

}  // namespace corvane

namespace corvane::detail {

/// What depends on the kind of an intercepted exchange.
class InterceptedKind {
 public:
  virtual ~InterceptedKind();

  virtual HTTPExchangeKind name() const = 0;
  /// Starts a task, whose outcome the receiver of the parts gets.
  virtual void begin(Sending::Parts parts) = 0;
  /// Ends the exchange with this response. Once, on the queue of the sessions.
  virtual void conclude(const std::shared_ptr<SendExchange>& exchange, HTTPInterceptedResponse response);
};

/// One request on its way through the interceptors of its configuration. It has one outcome: the response that the
/// first interceptor returns, or the error of a stop, whichever is first.
class Interception : public std::enable_shared_from_this<Interception> {
 public:
  using Response = HTTPInterceptedResponse;
  using Outcome = velisand::Future<Response>;

  /// Throws where it cannot begin; the exchange then has no outcome yet.
  static void start(Sending::Parts parts, std::unique_ptr<InterceptedKind> kind);

  Interception(Sending::Parts parts, std::unique_ptr<InterceptedKind> kind);
  Interception(const Interception&) = delete;
  Interception& operator=(const Interception&) = delete;

  // For the chain.
  Outcome send(platform::URLRequest request, HTTPInterceptorChain::Position& from);
  HTTPExchangeKind kind() const { return kind_->name(); }
  const std::optional<platform::URL>& bodyFile() const { return parts_.bodyFile; }
  const std::optional<platform::DispatchQueue>& sender() const { return sender_; }
  SendOptions options() const;

  /// A body came, or null. It is discarded with the outcome, unless that is made of it. On the queue of the sessions.
  void received(const std::shared_ptr<InterceptedBody>& body);

 private:
  friend class velisand::detail::WeakStop<Interception>;

  void begin();
  void wasStopped() noexcept;
  void finish(Response response);
  void discardAllBut(const std::shared_ptr<InterceptedBody>& kept);
  void endSends();
  void note(const std::shared_ptr<InterceptedSend>& send);
  void pass(platform::URLRequest request, std::size_t place, const Outcome& outcome);
  void intercept(platform::URLRequest request, std::size_t place, const Outcome& outcome);
  Outcome call(HTTPInterceptor& interceptor, platform::URLRequest request, std::size_t place);
  void goOut(platform::URLRequest request, const Outcome& outcome);
  Response cancelled() const;

  const Sending::Parts parts_;
  const std::unique_ptr<InterceptedKind> kind_;
  const std::optional<platform::DispatchQueue> sender_ = platform::DispatchQueue::current();
  /// Of the first interceptor. Each of the others has one for each call.
  const platform::DispatchQueue queue_;
  const Outcome outcome_;
  std::stop_source stop_;
  std::atomic<int> sends_ = 0;
  std::atomic<bool> isOver_ = false;
  /// Of the queue of the sessions.
  std::vector<std::weak_ptr<InterceptedBody>> bodies_;
  platform::detail::Mutex mutex_;
  /// The exchanges with the network.
  std::vector<std::weak_ptr<InterceptedSend>> exchanges_ CORVANE_GUARDED_BY(mutex_);
  /// Destroyed first.
  velisand::detail::WeakStop<Interception> stopping_;
};

}  // namespace corvane::detail
