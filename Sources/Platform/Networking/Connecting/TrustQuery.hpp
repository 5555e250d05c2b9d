#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Security/SecCertificate.hpp"

namespace platform::networking {

/// A server that showed its chain in a handshake, and waits for a verdict. No byte of the application goes out before.
///
/// Shared by the connector and the judge, which may be on any thread. What is in it never changes; the verdict goes
/// back on the loop side, by `Connector::applyVerdict`.
struct TrustQuery {
  /// As received, the server's own first.
  std::vector<SecCertificate> chain;
  /// A name or an address, as in `Origin`.
  std::string host;
  std::uint16_t port = 0;
};

}  // namespace platform::networking
