#pragma once

#include <cstdint>
#include <memory>

#include "Corvane/Insight/HTTPMetrics.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace corvane {

/// The exchange that an observer is told of.
struct HTTPObservedExchange {
  /// The same in all calls for one exchange, and unique in the process.
  std::uint64_t identifier;
  /// The URL of the request without user name, password and fragment.
  const platform::URL& url;
  /// The request as it was composed, before redirects. Its header fields and its URL may hold secrets.
  const platform::URLRequest& request;
};

/// Is told of exchanges while they happen: for counters, logs and traces. Derive from it, and override what you need.
///
///     struct Counters : HTTPObserver {
///       void exchangeStarted(const HTTPObservedExchange&) override { ++active; }
///       void exchangeEnded(const HTTPObservedExchange&, const std::shared_ptr<const TaskMetrics>&,
///                          const Error*) override { --active; }
///       std::atomic<int> active = 0;
///     };
///     HTTPObserver::setProcessWide(std::make_shared<Counters>());
///
/// An exchange is one task: one attempt of a retry, one request of a batch, with all the redirects that it follows.
/// What does not use the network has none: mocks of request types, file URLs, and requests that are refused before they
/// are sent. What a `MockNetwork` responds to is an exchange.
///
/// All calls are made on one serial queue of the library, in the order in which things happen, and the last one for an
/// exchange before its completion is called; the last one for a stream when its body has arrived or was given up, which
/// its reader may see a moment earlier. They delay the delivery of responses, so they must be quick. What they
/// throw is logged, and changes nothing else. The arguments are valid during the call.
class CORVANE_API HTTPObserver {
 public:
  virtual ~HTTPObserver();

  /// Once for each exchange, first: the request is about to be sent.
  virtual void exchangeStarted(const HTTPObservedExchange& exchange);
  /// For each final head of a response, those of redirects included.
  virtual void responseReceived(const HTTPObservedExchange& exchange, const platform::HTTPURLResponse& response);
  /// Once for each exchange that was started, last. The metrics are never null, and may be kept. The error is that of
  /// the transport, null for a complete response: whether its status is acceptable is for the request to say.
  virtual void exchangeEnded(const HTTPObservedExchange& exchange,
                             const std::shared_ptr<const platform::TaskMetrics>& metrics, const platform::Error* error);

  /// Sets the observer of all exchanges that begin from now on, in addition to those of configurations
  /// (`HTTPClientConfiguration::observer`). Null: none, as at first. Any thread.
  static void setProcessWide(std::shared_ptr<HTTPObserver> observer);
  /// The observer of all exchanges; may be null. Any thread.
  static std::shared_ptr<HTTPObserver> processWide();
};

}  // namespace corvane
