#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Networking/Failure.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform::detail {

/// What the network said of a failed exchange, and what else is known about it.
struct TransportFailure {
  /// Finds out what the rest depends on. `host` is that of the URL.
  static TransportFailure of(networking::Failure reason, const std::string& host, bool requestWasSent);

  networking::Failure reason;
  /// Whether a connection was ready for the request, so that the server may have acted on it.
  bool requestWasSent = false;
  /// Whether the host is this machine (`networking::isThisMachine`): then a missing network explains nothing.
  bool isLocal = false;
  /// Whether the machine has no network at all (`isOffline` finds out).
  bool isOffline = false;
};

/// The platform's code for what the network said. The table is in Docs/ErrorMapping.md.
std::int32_t urlErrorCode(const TransportFailure& failure);
/// The platform's code for a chain that is not trusted.
std::int32_t urlErrorCode(SecTrustProblem problem);

/// Whether the exchange failed on a machine without any network. Asks the system, but only where the failure leaves
/// it open: a host that refused was reached, and this machine reaches itself without a network.
bool isOffline(const TransportFailure& failure);

/// Of a body that can be made once, and was (-1021).
inline constexpr const char* exhaustedBodyMessage =
    "the body of the request was sent before, and its producer cannot be rewound";

/// An error of the CFNetwork domain, with what the network said in its user information.
Error transportError(const TransportFailure& failure, const URL& url);
/// An error of the POSIX domain: this process or machine lacks what a connection takes, as a descriptor.
Error resourceError(int systemError, const URL& url);
/// An error of the CFNetwork domain for what we found ourselves.
Error transportError(std::int32_t code, std::string message, const URL& url, bool requestWasSent);
/// -2000, for a request that may not be sent, and for which nothing is stored.
Error notStoredError(const URL& url);
/// -1001, for a request whose idle time-out passed.
Error timeoutError(const URLRequest& request, bool requestWasSent);
/// -1001, for a request that had no connection within its connect time-out.
Error connectTimeoutError(const URLRequest& request, bool requestWasSent);

/// Whether the failure says that no network leads to the host for the moment, rather than that the host
/// refused or does not exist: an unreachable network or host; a name that cannot be resolved while the
/// machine is offline, or for the moment.
bool isConnectivityFailure(const TransportFailure& failure);

}  // namespace platform::detail
