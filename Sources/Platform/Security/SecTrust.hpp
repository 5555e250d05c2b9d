#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform {

/// Result codes of the trust functions.
namespace OSStatus {
inline constexpr std::int32_t success = 0;
inline constexpr std::int32_t param = -50;
}  // namespace OSStatus

/// The outcome of an evaluation. The numbers are the platform's.
enum class SecTrustResult : std::uint32_t {
  invalid = 0,
  proceed = 1,
  deny = 3,
  unspecified = 4,  ///< trusted through an anchor, without an explicit user setting
  recoverableTrustFailure = 5,
  fatalTrustFailure = 6,
  otherError = 7,
};

/// Why an evaluation did not trust the chain.
enum class SecTrustProblem { none, expired, notYetValid, unknownRoot, hostMismatch, other };

/// A chain of certificates to be judged for a host. Safe on any thread.
class CORVANE_API SecTrust {
 public:
  /// `chain` starts with the server's own certificate, in the order in which it was received. `host` is a
  /// DNS name or an IP address without brackets.
  SecTrust(std::vector<SecCertificate> chain, std::string host);

  const std::vector<SecCertificate>& chain() const { return chain_; }
  const std::string& host() const { return host_; }

  /// Replaces the custom anchors, and until `setAnchorCertificatesOnly(false)` makes them the only ones.
  /// Returns `OSStatus::param` for a list that cannot be used (empty is allowed and clears).
  std::int32_t setAnchorCertificates(std::vector<SecCertificate> anchors);
  /// Whether only the custom anchors count. Returns `OSStatus::success`.
  std::int32_t setAnchorCertificatesOnly(bool only);

  /// Verifies the chain up to an anchor, its dates, its use for a server, and always the host name
  /// (RFC 6125; an IP address matches an address entry only). `unspecified` means trusted. An anchor may
  /// itself be the server's self-signed certificate. Blocks for about a millisecond; the system's bundle
  /// is read once per process, on first use.
  SecTrustResult evaluate();
  /// Of the last evaluation.
  SecTrustProblem problem() const;
  /// Of the last evaluation: one sentence, empty when trusted.
  std::string problemDescription() const;

 private:
  std::vector<SecCertificate> chain_;
  std::string host_;
  mutable std::mutex mutex_;
  std::vector<SecCertificate> anchors_;
  bool anchorsOnly_ = false;
  SecTrustProblem problem_ = SecTrustProblem::none;
  std::string problemDescription_;
};

}  // namespace platform
