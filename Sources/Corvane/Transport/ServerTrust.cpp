#include "Corvane/Transport/ServerTrust.hpp"

#include "Corvane/ModuleLogger.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Security/SecTrust.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

using platform::AuthChallengeDisposition;
using platform::SecCertificate;
using platform::SecTrust;
using platform::SecTrustResult;
using platform::URL;

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

// A file that cannot be read is no anchor: the evaluation decides with what is left.
std::optional<SecCertificate> certificateAt(const URL& url) {
  const auto der = platform::FileManager::contentsIfReadable(url.fileSystemPath());
  return der ? SecCertificate::createWithData(*der) : std::nullopt;
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

ChallengeAnswer answerToChallenge(const platform::URLAuthenticationChallenge& challenge,
                                  const std::vector<URL>& certificates) {
  const ChallengeAnswer defaultHandling{AuthChallengeDisposition::performDefaultHandling, std::nullopt};
  const auto& serverTrust = challenge.protectionSpace.serverTrust;
  if (!serverTrust || certificates.empty()) return defaultHandling;
  LiveTrust trust(*serverTrust);
  if (!isTrusted(trust, certificates)) return defaultHandling;
  return {AuthChallengeDisposition::useCredential, platform::URLCredential{serverTrust}};
}

}  // namespace corvane::detail
