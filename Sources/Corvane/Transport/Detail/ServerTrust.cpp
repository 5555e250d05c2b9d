#include "Corvane/Transport/Detail/ServerTrust.hpp"

#include <algorithm>
#include <utility>

#include "Corvane/Detail/ModuleLogger.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Security/SecTrust.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

using platform::AuthChallengeDisposition;
using platform::Data;
using platform::SecCertificate;
using platform::SecTrust;
using platform::SecTrustResult;
using platform::URL;
using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

// The places that the log records name.
constexpr int lineOfSettingAnchors = 110;
constexpr int lineOfSettingAnchorsOnly = 113;

class LiveTrust final : public TrustOperations {
 public:
  explicit LiveTrust(SecTrust& trust) : trust_(trust) {}
  std::int32_t setAnchorCertificates(std::vector<SecCertificate> anchors) override {
    return trust_.setAnchorCertificates(std::move(anchors));
  }
  std::int32_t setAnchorCertificatesOnly(bool only) override { return trust_.setAnchorCertificatesOnly(only); }
  SecTrustResult evaluate() override { return trust_.evaluate(); }

 private:
  SecTrust& trust_;
};

void logTrustFailure(std::string message, int line) {
  moduleLogger().error(std::move(message), std::nullopt, std::nullopt, "HTTPService",
                       "urlSession(_:didReceive:completionHandler:)", line);
}

// Parsing a certificate costs as much as a third of a handshake, and files hardly ever change.
class ParsedCertificates {
 public:
  std::optional<SecCertificate> parsed(const Data& der) {
    const MutexLock lock(mutex_);
    const auto known =
        std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) { return entry.first == der; });
    if (known != entries_.end()) return known->second;
    if (entries_.size() == mostEntries) entries_.erase(entries_.begin());
    return entries_.emplace_back(der, SecCertificate::createWithData(der)).second;
  }

 private:
  static constexpr std::size_t mostEntries = 16;

  Mutex mutex_;
  std::vector<std::pair<Data, std::optional<SecCertificate>>> entries_ CORVANE_GUARDED_BY(mutex_);
};

// A file that cannot be read is no anchor: the evaluation decides with what is left.
std::optional<SecCertificate> certificateAt(const URL& url) {
  static ParsedCertificates& certificates = *new ParsedCertificates;
  const auto der = platform::FileManager::contentsIfReadable(url.fileSystemPath());
  return der ? certificates.parsed(*der) : std::nullopt;
}

}  // namespace

TrustOperations::~TrustOperations() = default;

bool isTrusted(TrustOperations& trust, const std::vector<URL>& certificates) {
  for (const URL& url : certificates) {
    const auto certificate = certificateAt(url);
    if (!certificate) continue;
    if (trust.setAnchorCertificates({*certificate}) != platform::OSStatus::success) {
      logTrustFailure("Failed loading debug certificate " + url.absoluteString(), lineOfSettingAnchors);
    }
  }
  if (trust.setAnchorCertificatesOnly(false) != platform::OSStatus::success) {
    logTrustFailure("Failed SecTrustSetAnchorCertificatesOnly", lineOfSettingAnchorsOnly);
  }
  return trust.evaluate() == SecTrustResult::unspecified;
}

ChallengeResponse respondToChallenge(const platform::URLAuthenticationChallenge& challenge,
                                     const std::vector<URL>& certificates) {
  ChallengeResponse defaultHandling{AuthChallengeDisposition::performDefaultHandling, std::nullopt};
  const auto& serverTrust = challenge.protectionSpace.serverTrust;
  if (!serverTrust || certificates.empty()) return defaultHandling;
  LiveTrust trust(*serverTrust);
  if (!isTrusted(trust, certificates)) return defaultHandling;
  return {AuthChallengeDisposition::useCredential, platform::URLCredential{serverTrust}};
}

}  // namespace corvane::detail
