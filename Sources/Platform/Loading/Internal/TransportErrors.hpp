#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform::detail {

/// What libcurl said of a failed exchange, and what else is known about it.
struct TransportFailure {
  CURLcode code = CURLE_OK;
  std::string text;     ///< its error buffer; may be empty
  int systemError = 0;  ///< errno, or 0
  /// Whether a connection was ready for the request, so that the server may have acted on it.
  bool requestWasSent = false;
  /// Whether the host is this machine (`isThisMachine`): then a missing network explains nothing.
  bool isLocal = false;
  /// Whether the machine has no network at all (`isOffline` finds out).
  bool isOffline = false;
  /// Whether the TLS handshake was under way.
  bool isSecuring = false;
  /// Why the server's chain was not trusted, where that is what ended the exchange.
  std::optional<SecTrustProblem> trustProblem = std::nullopt;
};

/// The platform's code for what libcurl said. The table is in Docs/ErrorMapping.md.
std::int32_t urlErrorCode(const TransportFailure& failure);
/// The platform's code for a chain that is not trusted.
std::int32_t urlErrorCode(SecTrustProblem problem);

/// Whether the exchange failed on a machine without any network. Asks the system, but only where the failure leaves
/// it open: a host that refused was reached, and this machine reaches itself without a network.
bool isOffline(const TransportFailure& failure);

/// An error of the CFNetwork domain, with what the transport said in its user information.
Error transportError(const TransportFailure& failure, const URL& url);
/// An error of the CFNetwork domain for what we found ourselves.
Error transportError(std::int32_t code, std::string message, const URL& url, bool requestWasSent);
/// -1001, for a request whose idle time-out passed.
Error timeoutError(const URLRequest& request, bool requestWasSent);

/// Whether the failure says that no network leads to the host for the moment, rather than that the host
/// refused or does not exist: an unreachable network or host; a name that cannot be resolved while the
/// machine is offline, or for the moment (`systemError` is then EAI_AGAIN, which libcurl does not report).
bool isConnectivityFailure(const TransportFailure& failure);

}  // namespace platform::detail
