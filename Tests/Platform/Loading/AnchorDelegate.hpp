#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "Platform/Loading/URLSessionDelegate.hpp"
#include "Platform/Security/SecCertificate.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform {

/// Trusts what leads to one anchor, the way an application would.
struct AnchorDelegate : URLSessionDelegate {
  explicit AnchorDelegate(const std::string& der) : anchor(*SecCertificate::createWithData(Data(der))) {}

  void didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge& challenge,
                           ChallengeCompletion completion) override {
    ++challenges;
    lastSpace = challenge.protectionSpace;
    const auto trust = challenge.protectionSpace.serverTrust;
    trust->setAnchorCertificates({anchor});
    trust->setAnchorCertificatesOnly(false);
    if (trust->evaluate() == SecTrustResult::unspecified) {
      completion(AuthChallengeDisposition::useCredential, URLCredential{trust});
    } else {
      completion(AuthChallengeDisposition::performDefaultHandling, std::nullopt);
    }
  }

  SecCertificate anchor;
  std::atomic<int> challenges = 0;
  URLProtectionSpace lastSpace;
};

}  // namespace platform
