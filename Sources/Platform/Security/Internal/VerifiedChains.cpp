#include "Platform/Security/Internal/VerifiedChains.hpp"

#include <openssl/asn1.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <optional>
#include <utility>

#include "Platform/Security/Internal/CertificateHandle.hpp"

namespace platform::detail {
namespace {

/// Empty if there is no memory: what has no bytes must not pass for anything else without bytes.
std::vector<Data> encoded(const std::vector<SecCertificate>& chain) {
  std::vector<Data> all;
  all.reserve(chain.size());
  for (const SecCertificate& certificate : chain) {
    all.push_back(certificate.data());
    if (all.back().isEmpty()) return {};
  }
  return all;
}

/// Absent if the time cannot be read, or is beyond what `time_t` counts.
std::optional<std::int64_t> secondsOf(const ASN1_TIME* time) {
  std::tm parts{};
  if (!time || ASN1_TIME_to_tm(time, &parts) != 1) return std::nullopt;
  const std::time_t seconds = timegm(&parts);
  if (seconds == -1) return std::nullopt;
  return seconds;
}

}  // namespace

VerifiedChains& VerifiedChains::shared() {
  static VerifiedChains& chains = *new VerifiedChains;
  return chains;
}

std::vector<SecCertificate> VerifiedChains::find(const TrustQuestion& question, std::int64_t date) {
  const std::vector<Data> chain = encoded(question.chain);
  if (chain.empty()) return {};
  const MutexLock lock(mutex_);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return entry.notBefore <= date && date <= entry.notAfter && entry.host == question.host &&
           entry.alsoSystemAnchors == question.alsoSystemAnchors && entry.chain == chain &&
           entry.anchors == question.anchors;
  });
  if (found == entries_.end()) return {};
  std::rotate(found, found + 1, entries_.end());
  return entries_.back().verified;
}

void VerifiedChains::add(const TrustQuestion& question, std::vector<SecCertificate> verified) {
  Entry entry{.chain = encoded(question.chain),
              .host = question.host,
              .anchors = question.anchors,
              .alsoSystemAnchors = question.alsoSystemAnchors,
              .verified = std::move(verified),
              .notBefore = std::numeric_limits<std::int64_t>::min(),
              .notAfter = std::numeric_limits<std::int64_t>::max()};
  if (entry.chain.empty() || entry.verified.empty()) return;
  for (const SecCertificate& certificate : entry.verified) {
    const auto notBefore = secondsOf(X509_get0_notBefore(certificate.handle()->x509));
    const auto notAfter = secondsOf(X509_get0_notAfter(certificate.handle()->x509));
    if (!notBefore || !notAfter) return;
    entry.notBefore = std::max(entry.notBefore, *notBefore);
    entry.notAfter = std::min(entry.notAfter, *notAfter);
  }
  const MutexLock lock(mutex_);
  if (entries_.size() == mostEntries) entries_.erase(entries_.begin());
  entries_.push_back(std::move(entry));
}

}  // namespace platform::detail
