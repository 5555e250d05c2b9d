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
/// The operation did what it was to do.
inline constexpr std::int32_t success = 0;
/// A parameter was wrong.
inline constexpr std::int32_t param = -50;
}  // namespace OSStatus

/// The outcome of an evaluation. The numbers are the platform's.
enum class SecTrustResult : std::uint32_t {
  invalid = 0,                  ///< of the platform; evaluation here never gives it
  proceed = 1,                  ///< an explicit user setting; evaluation here never gives it
  deny = 3,                     ///< an explicit user setting; evaluation here never gives it
  unspecified = 4,              ///< trusted through an anchor, without an explicit user setting
  recoverableTrustFailure = 5,  ///< dates, anchors, host name or purpose do not fit
  fatalTrustFailure = 6,        ///< malformed, badly signed, or too weak
  otherError = 7,               ///< not evaluated: no certificate, or no memory
};

/// Why an evaluation did not trust the chain.
enum class SecTrustProblem { none, expired, notYetValid, unknownRoot, hostMismatch, other };

/// A chain of certificates to be judged for a host. Safe on any thread.
///
/// What decides is virtual, so that a test may put an evaluation of its own behind a challenge.
class CORVANE_API SecTrust {
 public:
  /// `chain` starts with the server's own certificate, in the order in which it was received; the others
  /// may come in any order. `host` is a DNS name or an IP address without brackets.
  SecTrust(std::vector<SecCertificate> chain, std::string host);
  virtual ~SecTrust();
  SecTrust(const SecTrust&) = delete;
  SecTrust& operator=(const SecTrust&) = delete;

  /// The certificates that were given, the server's own first.
  const std::vector<SecCertificate>& chain() const { return chain_; }
  /// The name or address that was given.
  const std::string& host() const { return host_; }

  /// Replaces the custom anchors, and until `setAnchorCertificatesOnly(false)` makes them the only ones.
  /// An empty list brings the system's anchors back. Returns `OSStatus::param`, and changes nothing, when
  /// one of them was moved from.
  virtual std::int32_t setAnchorCertificates(std::vector<SecCertificate> anchors);
  /// Whether only the custom anchors count. Returns `OSStatus::success`.
  virtual std::int32_t setAnchorCertificatesOnly(bool only);
  /// Judges the dates as of this moment, in seconds since 1970 UTC; absent, as it starts: now.
  void setVerifyDate(std::optional<std::int64_t> secondsSince1970);

  /// Verifies the chain up to an anchor, its dates, its use for a server, and always the host name
  /// (RFC 6125; an IP address matches an address entry only). `unspecified` means trusted. An anchor may
  /// itself be an intermediate or the server's self-signed certificate. Blocks for well under a
  /// millisecond; the system's bundle is read once per process, on first use, in about 20 ms.
  virtual SecTrustResult evaluate();
  /// Of the last evaluation; the host name is judged last. `none` before the first.
  SecTrustProblem problem() const;
  /// Of the last evaluation: one sentence, empty when trusted.
  std::string problemDescription() const;

 private:
  struct State;

  const std::vector<SecCertificate> chain_;
  const std::string host_;
  const std::unique_ptr<State> state_;
};

}  // namespace platform
