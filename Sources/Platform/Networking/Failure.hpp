#pragma once

#include <cstdint>
#include <string>

namespace platform::networking {

/// Why something on the network failed. What the platform's error codes make of it is decided above this room.
enum class FailureCause : std::uint8_t {
  invalidRequest,          ///< the request cannot be sent as it is; nothing was sent
  nameNotFound,            ///< the host's name does not exist (`systemError` is a code of `getaddrinfo`)
  nameLookupFailed,        ///< the name could not be looked up for the moment (as above)
  cannotConnect,           ///< no address of the host could be connected to (`systemError` of the one that tells most)
  outOfDescriptors,        ///< the process or the system has no descriptor left
  secureConnectionFailed,  ///< the TLS handshake failed, or the connection was lost in it
  serverNotTrusted,        ///< the verdict on the server was against it
  clientCertificateRequired,  ///< the server wants a certificate of the client
  clientCertificateRejected,  ///< the server refused the client's certificate
  connectionLost,             ///< the connection broke, or closed where more was due
  streamReset,                ///< the server ended this exchange alone (HTTP/2); the connection goes on
  malformedResponse,          ///< what the server sent breaks the protocol, or a bound
  notProcessed,               ///< the server said that it did not look at the request (HTTP/2); it may be repeated
  requestBody,                ///< the body of the request could not be read
  tunnelRefused,              ///< an HTTP proxy makes no tunnel to the host, or does not speak HTTP
  tunnelUnavailable,          ///< an HTTP proxy says that it can make no tunnel to the host for the moment
  tunnelLost,                 ///< the proxy closed or broke the connection before it led to the host
  proxyCredentialsRefused,    ///< an HTTP proxy wants other credentials, or some
  socksVersion,               ///< the SOCKS proxy speaks another version
  socksFailed,                ///< the SOCKS proxy refuses, or breaks the protocol
  socksAddress,               ///< the SOCKS proxy replies with an unknown type of address
  socksCredentialsRefused,    ///< the SOCKS proxy refuses the user name or the password
  socksMethodUnknown,         ///< the SOCKS proxy chose an authentication that was not offered
  socksMethod,                ///< the SOCKS proxy accepts no authentication that was offered
  outOfMemory,                ///< there was no memory to go on
};

/// Where a failure to reach somebody happened.
enum class Hop : std::uint8_t {
  origin,           ///< on the way to the host of the URL, or nobody was to be reached
  forwardingProxy,  ///< on the way to an HTTP proxy that gets requests itself
  tunnellingProxy,  ///< on the way to an HTTP proxy that is to make a tunnel
  socksProxy        ///< on the way to a SOCKS proxy
};

/// What is known about a failure.
struct Failure {
  FailureCause cause = FailureCause::connectionLost;
  /// One sentence for developers, without a full stop.
  std::string message;
  /// `errno`, or a code of `getaddrinfo` where the cause says so; 0 when there is none.
  int systemError = 0;
  Hop hop = Hop::origin;

  /// Its text is so short that it takes no memory.
  static Failure outOfMemory() { return {FailureCause::outOfMemory, "out of memory", 0}; }
};

}  // namespace platform::networking
