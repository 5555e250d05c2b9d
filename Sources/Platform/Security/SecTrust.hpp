#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform {

/// Result codes of the trust functions.
namespace OSStatus {
/// The operation succeeded.
inline constexpr std::int32_t success = 0;
/// A parameter was wrong.
inline constexpr std::int32_t param = -50;
/// Bytes cannot be read as what they should be.
inline constexpr std::int32_t decode = -26275;
/// A pass phrase is wrong or missing.
inline constexpr std::int32_t authFailed = -25293;
}  // namespace OSStatus

/// The outcome of an evaluation. The numbers are the platform's.
///
///     const bool isTrusted = trust.evaluate() == SecTrustResult::unspecified;
enum class SecTrustResult : std::uint32_t {
  invalid = 0,                  ///< a code of the platform; never the result of an evaluation here
  proceed = 1,                  ///< an explicit user setting; never the result of an evaluation here
  deny = 3,                     ///< an explicit user setting; never the result of an evaluation here
  unspecified = 4,              ///< trusted through an anchor, without an explicit user setting
  recoverableTrustFailure = 5,  ///< wrong dates, anchor, host name or purpose
  fatalTrustFailure = 6,        ///< malformed, badly signed, or too weak
  otherError = 7,               ///< not evaluated: no certificate, or no memory
};

/// The reason why an evaluation did not trust the chain.
///
///     if (trust.problem() == SecTrustProblem::expired) report("the certificate has expired");
enum class SecTrustProblem { none, expired, notYetValid, unknownRoot, hostMismatch, other };

/// A chain of certificates to be evaluated for a host. Safe on any thread.
///
/// The anchor setters and `evaluate` are virtual, so that a test can substitute its own evaluation.
///
///     SecTrust trust(chain, "example.com");
///     trust.setAnchorCertificates(SecCertificate::listFromPEM(pem));
///     if (trust.evaluate() != SecTrustResult::unspecified) report(trust.problemDescription());
class CORVANE_API SecTrust {
 public:
  /// `chain` starts with the server's own certificate, in the order in which it was received; the others
  /// may come in any order. `host` is a DNS name or an IP address without brackets.
  SecTrust(std::vector<SecCertificate> chain, std::string host);
  virtual ~SecTrust();
  SecTrust(const SecTrust&) = delete;
  SecTrust& operator=(const SecTrust&) = delete;

  /// The certificates passed to the constructor, the server's own first.
  const std::vector<SecCertificate>& chain() const { return chain_; }
  /// The name or address passed to the constructor.
  const std::string& host() const { return host_; }

  /// Replaces the custom anchors. They are then the only anchors, until `setAnchorCertificatesOnly(false)`. An empty
  /// list restores the system's anchors. Returns `OSStatus::success`; or `OSStatus::param`, and changes nothing, if a
  /// certificate is a moved-from value.
  virtual std::int32_t setAnchorCertificates(std::vector<SecCertificate> anchors);
  /// Sets whether only the custom anchors count, without the system's. Returns `OSStatus::success`.
  virtual std::int32_t setAnchorCertificatesOnly(bool only);
  /// Sets the time for which dates are checked, in seconds since 1970 UTC; absent, the default: now.
  void setVerifyDate(std::optional<std::int64_t> secondsSince1970);

  /// Verifies the chain up to an anchor, its dates, its purpose, and always the host name (RFC 6125; an IP address
  /// matches an address entry only). `unspecified` means trusted. An anchor may itself be an intermediate or the
  /// server's self-signed certificate. Blocks for well under a millisecond; the first use reads the system's bundle,
  /// once per process, in about 20 ms. The last 32 chains that were trusted are remembered: signatures are not verified
  /// again while the certificates, the host and the anchors are the same and all certificates are valid.
  virtual SecTrustResult evaluate();
  /// The certificates from the server's own to the anchor, as the last evaluation followed them; empty unless it
  /// trusted.
  std::vector<SecCertificate> verifiedChain() const;
  /// The problem found by the last evaluation; the host name is checked last. `none` before the first evaluation.
  SecTrustProblem problem() const;
  /// One sentence about the problem found by the last evaluation; empty when trusted.
  std::string problemDescription() const;

 private:
  struct State;

  const std::vector<SecCertificate> chain_;
  const std::string host_;
  const std::unique_ptr<State> state_;
};

}  // namespace platform
