#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Security/SecTrust.hpp"

namespace platform::detail {

struct TrustQuestion {
  const std::vector<SecCertificate>& chain;
  const std::string& host;
  const std::vector<SecCertificate>& anchors;
  bool alsoSystemAnchors = true;
  std::optional<std::int64_t> verifyDate;
};

struct TrustVerdict {
  SecTrustResult result = SecTrustResult::otherError;
  SecTrustProblem problem = SecTrustProblem::other;
  std::string description;
  /// From the server's own certificate to the anchor; empty unless it is trusted.
  std::vector<SecCertificate> verifiedChain = {};
};

/// Verifies a chain and the host name. The anchors of the question and those of the system that could have issued one
/// of its certificates are handed to OpenSSL as they are: no store is built or copied. A chain that was trusted lately
/// is not verified again (VerifiedChains).
TrustVerdict verifyChain(const TrustQuestion& question);

}  // namespace platform::detail
