#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Security/Internal/ChainVerifier.hpp"

namespace platform::detail {

/// Chains that were trusted lately, so that the next connection to a server does not verify the same signatures again:
/// that is a sixth of what a TLS handshake costs its client.
///
/// A chain is found for the same certificates, byte for byte, in the same order, the same host and the same anchors, at
/// a time at which each certificate of the verified chain is valid. Nothing else that the verification depends on
/// changes while the process runs. Failures are not kept. Safe on any thread.
class VerifiedChains {
 public:
  /// Beyond that, the chain that was not used for the longest time is dropped. Each holds its certificates parsed, some
  /// ten kilobytes for each.
  static constexpr std::size_t mostEntries = 32;

  /// Those of the process.
  static VerifiedChains& shared();

  VerifiedChains() = default;
  VerifiedChains(const VerifiedChains&) = delete;
  VerifiedChains& operator=(const VerifiedChains&) = delete;

  /// From the server's own certificate to the anchor; empty if nothing is known. `date` is in seconds since 1970 UTC.
  std::vector<SecCertificate> find(const TrustQuestion& question, std::int64_t date);
  /// Keeps `verified`, what the question was answered with.
  void add(const TrustQuestion& question, std::vector<SecCertificate> verified);

 private:
  struct Entry {
    /// The chain of the question, as DER.
    std::vector<Data> chain;
    std::string host;
    std::vector<SecCertificate> anchors;
    bool alsoSystemAnchors = true;
    std::vector<SecCertificate> verified;
    /// When all of `verified` are valid, both ends included.
    std::int64_t notBefore = 0;
    std::int64_t notAfter = 0;
  };

  Mutex mutex_;
  /// The one that was used last is at the end.
  std::vector<Entry> entries_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace platform::detail
