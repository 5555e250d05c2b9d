#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLSessionDelegate.hpp"

namespace corvane::detail {

using ChallengeResponse = std::pair<platform::AuthChallengeDisposition, std::optional<platform::URLCredential>>;

/// The operations on a trust object that judging a server takes.
class CORVANE_API TrustOperations {
 public:
  virtual ~TrustOperations();
  virtual std::int32_t setAnchorCertificates(std::vector<platform::SecCertificate> anchors) = 0;
  virtual std::int32_t setAnchorCertificatesOnly(bool only) = 0;
  virtual platform::SecTrustResult evaluate() = 0;
};

/// Whether the server is trusted through the certificate files or the system's anchors. Files that cannot be
/// read and bytes that are no certificate are skipped; each certificate that is set takes the place of the
/// one before, so the last one counts.
CORVANE_API bool isTrusted(TrustOperations& trust, const std::vector<platform::URL>& certificates);

/// Default handling, unless there are certificate files and they (or the system's anchors) lead to trust.
CORVANE_API ChallengeResponse respondToChallenge(const platform::URLAuthenticationChallenge& challenge,
                                                 const std::vector<platform::URL>& certificates);

}  // namespace corvane::detail
