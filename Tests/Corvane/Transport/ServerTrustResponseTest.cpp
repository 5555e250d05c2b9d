#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "Corvane/Transport/Detail/ServerTrust.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane::detail {
namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::CertificateRequest;
using platform::AuthChallengeDisposition;
using platform::SecCertificate;
using platform::SecTrust;
using platform::SecTrustResult;
using platform::URL;

/// Answers as it is told and keeps what it was asked.
class ScriptedTrust final : public TrustOperations {
 public:
  std::int32_t setAnchorCertificates(std::vector<SecCertificate> anchors) override {
    anchorSets.push_back(std::move(anchors));
    return statusOfSettingAnchors;
  }
  std::int32_t setAnchorCertificatesOnly(bool only) override {
    anchorsOnly.push_back(only);
    return statusOfSettingAnchorsOnly;
  }
  SecTrustResult evaluate() override { return result; }

  std::int32_t statusOfSettingAnchors = platform::OSStatus::success;
  std::int32_t statusOfSettingAnchorsOnly = platform::OSStatus::success;
  SecTrustResult result = SecTrustResult::unspecified;
  std::vector<std::vector<SecCertificate>> anchorSets;
  std::vector<bool> anchorsOnly;
};

class ServerTrustResponseTest : public ::testing::Test {
 protected:
  URL file(const std::string& name, const std::string& bytes) {
    const std::string path = directory_.path().string() + "/" + name;
    platform::FileManager::write(platform::Data(bytes), path);
    return URL::file(path);
  }
  URL certificateFile(const std::string& name, const CertificateAuthority& authority) {
    return file(name, authority.certificate().der());
  }
  static SecCertificate certificateOf(const CertificateAuthority& authority) {
    return *SecCertificate::createWithData(platform::Data(authority.certificate().der()));
  }
  static platform::URLAuthenticationChallenge challenge(const CertificateAuthority& issuer) {
    const auto leaf = issuer.issue(CertificateRequest::localhost());
    platform::URLAuthenticationChallenge challenge;
    challenge.protectionSpace.serverTrust = std::make_shared<SecTrust>(
        std::vector<SecCertificate>{*SecCertificate::createWithData(platform::Data(leaf.der()))}, "localhost");
    return challenge;
  }

  testkit::TemporaryDirectory directory_;
  ScriptedTrust trust_;
  const CertificateAuthority root_;
  const CertificateAuthority otherRoot_{"Other Root"};
};

TEST_F(ServerTrustResponseTest, leavesAChallengeWithoutServerTrustToDefaultHandling) {
  const auto response = respondToChallenge({}, {certificateFile("root.der", root_)});

  EXPECT_EQ(response.first, AuthChallengeDisposition::performDefaultHandling);
  EXPECT_FALSE(response.second);
}

TEST_F(ServerTrustResponseTest, leavesEveryChallengeToDefaultHandlingWithoutCertificates) {
  const auto response = respondToChallenge(challenge(root_), {});

  EXPECT_EQ(response.first, AuthChallengeDisposition::performDefaultHandling);
  EXPECT_FALSE(response.second);
}

TEST_F(ServerTrustResponseTest, acceptsAServerThroughARegisteredCertificate) {
  const auto asked = challenge(root_);

  const auto response = respondToChallenge(asked, {certificateFile("root.der", root_)});

  EXPECT_EQ(response.first, AuthChallengeDisposition::useCredential);
  ASSERT_TRUE(response.second);
  EXPECT_EQ(response.second->trust, asked.protectionSpace.serverTrust);
}

TEST_F(ServerTrustResponseTest, leavesAnUntrustedServerToDefaultHandling) {
  const auto response = respondToChallenge(challenge(otherRoot_), {certificateFile("root.der", root_)});

  EXPECT_EQ(response.first, AuthChallengeDisposition::performDefaultHandling);
  EXPECT_FALSE(response.second);
}

TEST_F(ServerTrustResponseTest, letsOnlyTheLastCertificateCount) {
  const URL root = certificateFile("root.der", root_);
  const URL other = certificateFile("other.der", otherRoot_);

  EXPECT_EQ(respondToChallenge(challenge(root_), {root, other}).first,
            AuthChallengeDisposition::performDefaultHandling);
  EXPECT_EQ(respondToChallenge(challenge(root_), {other, root}).first, AuthChallengeDisposition::useCredential);
}

TEST_F(ServerTrustResponseTest, setsEachCertificateAloneAndKeepsTheSystemsAnchors) {
  EXPECT_TRUE(isTrusted(trust_, {certificateFile("root.der", root_), certificateFile("other.der", otherRoot_)}));

  EXPECT_EQ(trust_.anchorSets,
            (std::vector<std::vector<SecCertificate>>{{certificateOf(root_)}, {certificateOf(otherRoot_)}}));
  EXPECT_EQ(trust_.anchorsOnly, std::vector<bool>{false});
}

TEST_F(ServerTrustResponseTest, skipsUnreadableFilesAndWhatIsNoCertificateSilently) {
  const corvane::testkit::LogCapture log;

  isTrusted(trust_, {URL::file(directory_.path().string() + "/missing.der"), file("text.der", "no certificate"),
                     file("root.pem", root_.certificate().pem()), certificateFile("root.der", root_)});

  EXPECT_EQ(trust_.anchorSets, (std::vector<std::vector<SecCertificate>>{{certificateOf(root_)}}));
  EXPECT_TRUE(log->records().empty());
}

TEST_F(ServerTrustResponseTest, trustsOnlyTheUnspecifiedResult) {
  const URL root = certificateFile("root.der", root_);
  for (const auto result :
       {SecTrustResult::invalid, SecTrustResult::proceed, SecTrustResult::deny, SecTrustResult::recoverableTrustFailure,
        SecTrustResult::fatalTrustFailure, SecTrustResult::otherError}) {
    trust_.result = result;
    EXPECT_FALSE(isTrusted(trust_, {root}));
  }
  trust_.result = SecTrustResult::unspecified;
  EXPECT_TRUE(isTrusted(trust_, {root}));
}

TEST_F(ServerTrustResponseTest, logsAnchorsThatCannotBeSetAndCarriesOn) {
  const corvane::testkit::LogCapture log;
  const URL root = certificateFile("root.der", root_);
  trust_.statusOfSettingAnchors = platform::OSStatus::param;
  trust_.statusOfSettingAnchorsOnly = platform::OSStatus::param;

  EXPECT_TRUE(isTrusted(trust_, {root}));

  const auto records = log->records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].message, "Failed loading debug certificate " + root.absoluteString());
  EXPECT_EQ(records[0].line, 110);
  EXPECT_EQ(records[1].message, "Failed SecTrustSetAnchorCertificatesOnly");
  EXPECT_EQ(records[1].line, 113);
  for (const auto& record : records) {
    EXPECT_EQ(record.level, vantorel::LogLevel::error);
    EXPECT_EQ(record.function, "urlSession(_:didReceive:completionHandler:)");
    EXPECT_EQ(record.file, "HTTPService");
  }
}

TEST_F(ServerTrustResponseTest, registersEachCertificateFileOnce) {
  Corvane::removeTrustedCertificates();
  Corvane::addTrustedCertificates({"file:///a.der", "file:///b.der"});
  Corvane::addTrustedCertificate("file:///a.der");

  EXPECT_EQ(Corvane::trustedCertificates(), (std::vector<URL>{"file:///a.der", "file:///b.der"}));
  Corvane::removeTrustedCertificates();
}

}  // namespace
}  // namespace corvane::detail
