#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Corvane/DebugOutput/HTTPRedaction.hpp"
#include "Corvane/Insight/TraceContextSource.hpp"
#include "Platform/Export.hpp"
#include "Platform/Loading/CacheConfiguration.hpp"
#include "Platform/Loading/ConnectionConfiguration.hpp"
#include "Platform/Loading/RedirectConfiguration.hpp"
#include "Platform/Loading/TLSConfiguration.hpp"

namespace platform {
class HTTPCookieStorage;
}  // namespace platform

namespace corvane {

class HTTPInterceptor;
class HTTPObserver;

/// What requests to one service have in common: how they connect, how connections are secured, what is kept. A
/// default-constructed value changes nothing.
///
///     HTTPClientConfiguration payments;
///     payments.tls.identity = SecIdentity::fromPKCS12(file, askForPassPhrase);
///     payments.tls.minimumVersion = TLSVersion::v1_3;
///     HTTPClientConfiguration::set("payments", payments);
///
/// A request finds its configuration by its `sessionConfigurationIdentifier`; one whose identifier has none, or which
/// has no identifier, uses the default. A configuration that is set is not changed any more, only replaced as a whole:
/// requests that are sent afterwards use the new one, with new connections and, unless both have the same storage, no
/// cookies; those under way end with the one that they began with.
struct CORVANE_API HTTPClientConfiguration {
  /// How it connects: versions of HTTP and IP, fixed addresses, a Unix socket, the time that idle connections are kept.
  platform::ConnectionConfiguration connections;
  /// How connections are secured: versions and ciphers, a client certificate, anchors, pins.
  platform::TLSConfiguration tls;
  /// The maximum number of connections to one host; further requests wait in order. 0, the default: limited only by the
  /// number of transfers, which starts at 64 and grows while the servers are the bottleneck.
  int maximumConnectionsPerHost = 0;
  /// The maximum length of a response's body in memory, decoded, in bytes, for requests without a `maximumBodyBytes` of
  /// their own. Default: 1 GiB.
  std::int64_t maximumBodyBytes = std::int64_t{1} << 30;
  /// Whether cookies are stored from responses and sent with later requests. Default: true.
  bool storesCookies = true;
  /// Where they are stored: the application may read and change them there. They outlive the sessions: neither
  /// `Corvane::resetSessions()` nor a new configuration with the same storage discards them. Null, the default: each
  /// session has its own, which goes with the session.
  std::shared_ptr<platform::HTTPCookieStorage> cookies;
  /// How responses are cached. The cache is of the requests with one identifier, ends with `Corvane::resetSessions()`,
  /// and is emptied when the system is short of memory. Default: in up to 4 MiB of memory. `CacheConfiguration::off()`:
  /// every request is sent.
  platform::CacheConfiguration cache;
  /// Which redirects are followed. Default: up to 20 for each request.
  platform::RedirectConfiguration redirects;
  /// Is told of the exchanges of this configuration while they happen (HTTPObserver.hpp). Default: none.
  std::shared_ptr<HTTPObserver> observer;
  /// Gives requests the trace context that they are sent with, unless they have one ("traceparent") of their own.
  /// Default: none.
  TraceContextSource traceContext;
  /// What is left out of debug output about these requests, in addition to `Corvane::redaction()`. Default: nothing.
  HTTPRedaction redaction;
  /// What takes part in every exchange, in this order: changes requests, adds credentials, sends again. Shared with all
  /// requests of the configuration. None is null. Default: none, at no cost.
  std::vector<std::shared_ptr<HTTPInterceptor>> interceptors;

  /// Empty when it can be set, otherwise a sentence that names the fault.
  std::string problem() const;

  /// Sets the configuration for requests with this `sessionConfigurationIdentifier`. Throws an `Error`
  /// ("NSOSStatusErrorDomain", -50) with the sentence of `problem`, and sets nothing then. Any thread.
  static void set(std::string sessionConfigurationIdentifier, HTTPClientConfiguration configuration);
  /// The same for all requests whose identifier has no configuration of its own.
  static void setDefault(HTTPClientConfiguration configuration);
  /// Requests with this identifier use the default again.
  static void remove(const std::string& sessionConfigurationIdentifier);
  /// Removes the default and all others: every request is sent as without configurations.
  static void removeAll();
  /// What a request with this identifier would use now; absent: without one.
  static HTTPClientConfiguration current(const std::optional<std::string>& sessionConfigurationIdentifier = {});
};

}  // namespace corvane
