#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform::networking {

/// A server that showed its chain in a handshake, and waits for a verdict. No byte of the application goes out before.
///
/// Shared by the connection and by whoever judges. What is in it never changes; the verdict goes back on the loop side,
/// by `TrustJudge`'s `answer`.
struct TrustQuery {
  /// As received, the server's own first.
  std::vector<SecCertificate> chain;
  /// A name or an address, as in `Origin`.
  std::string host;
  std::uint16_t port = 0;
};

}  // namespace platform::networking
