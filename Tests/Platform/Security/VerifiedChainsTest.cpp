#include "Platform/Security/Internal/VerifiedChains.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>
#include <vector>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/SecTrust.hpp"
#include "TrustCertificates.hpp"

namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::CertificateRequest;
using corvane::testkit::trustCertificate;
using platform::SecCertificate;
using platform::SecTrust;
using platform::SecTrustProblem;
using platform::SecTrustResult;
using platform::detail::TrustQuestion;
using platform::detail::VerifiedChains;

constexpr std::int64_t minute = 60;

/// A chain that was verified for "leaf.test" with the root as the only anchor.
class VerifiedChainsTest : public testing::Test {
 protected:
  VerifiedChainsTest() { chains.add(question(), {leaf, root}); }

  TrustQuestion question() const { return {chain, host, anchors, false, std::nullopt}; }
  /// As often as asked: each has a host of its own.
  void addOthers(std::size_t count) {
    for (std::size_t number = 0; number < count; ++number) {
      const std::string other = "host" + std::to_string(number) + ".test";
      chains.add({chain, other, anchors, false, std::nullopt}, {leaf, root});
    }
  }

  const CertificateAuthority authority{"Root"};
  const SecCertificate root = trustCertificate(authority.certificate());
  const SecCertificate leaf = trustCertificate(authority.issue({.commonName = "leaf", .dnsNames = {"leaf.test"}}));
  const SecCertificate otherLeaf = trustCertificate(authority.issue({.commonName = "leaf", .dnsNames = {"leaf.test"}}));
  const std::vector<SecCertificate> chain{leaf};
  const std::vector<SecCertificate> anchors{root};
  const std::string host = "leaf.test";
  const std::int64_t now = std::time(nullptr);
  VerifiedChains chains;
};

TEST_F(VerifiedChainsTest, findsWhatWasVerified) { EXPECT_EQ(chains.find(question(), now), (std::vector{leaf, root})); }

TEST_F(VerifiedChainsTest, knowsCertificatesByTheirBytes) {
  const std::vector<SecCertificate> read{*SecCertificate::createWithData(leaf.data())};
  const std::vector<SecCertificate> readAnchors{*SecCertificate::createWithData(root.data())};
  ASSERT_NE(read.front().handle(), leaf.handle());

  EXPECT_EQ(chains.find({read, host, readAnchors, false, std::nullopt}, now).size(), 2u);
}

TEST_F(VerifiedChainsTest, tellsQuestionsApart) {
  const std::vector<SecCertificate> otherChain{otherLeaf};
  const std::vector<SecCertificate> longerChain{leaf, root};
  const std::vector<SecCertificate> none;
  const std::vector<SecCertificate> otherAnchors{otherLeaf};
  const std::vector<SecCertificate> moreAnchors{root, otherLeaf};
  const std::string otherHost = "other.test";

  EXPECT_TRUE(chains.find({otherChain, host, anchors, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({longerChain, host, anchors, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({none, host, anchors, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({chain, otherHost, anchors, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({chain, host, otherAnchors, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({chain, host, moreAnchors, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({chain, host, none, false, std::nullopt}, now).empty());
  EXPECT_TRUE(chains.find({chain, host, anchors, true, std::nullopt}, now).empty());
}

TEST_F(VerifiedChainsTest, findsNothingWhereOneOfTheCertificatesIsNotValid) {
  const CertificateRequest shortLived{.validity = {-std::chrono::minutes(10), std::chrono::hours(2)}};
  const SecCertificate intermediate = trustCertificate(authority.issue(shortLived));
  const std::string other = "other.test";
  const TrustQuestion question{chain, other, anchors, false, std::nullopt};

  chains.add(question, {leaf, intermediate, root});

  EXPECT_TRUE(chains.find(question, now - 30 * minute).empty());
  EXPECT_FALSE(chains.find(question, now).empty());
  EXPECT_TRUE(chains.find(question, now + 180 * minute).empty());
}

TEST_F(VerifiedChainsTest, dropsTheOneThatWasNotUsedForTheLongestTime) {
  addOthers(VerifiedChains::mostEntries - 1);
  ASSERT_FALSE(chains.find(question(), now).empty());

  chains.add({chain, "one more.test", anchors, false, std::nullopt}, {leaf, root});

  EXPECT_FALSE(chains.find(question(), now).empty());
  EXPECT_TRUE(chains.find({chain, "host0.test", anchors, false, std::nullopt}, now).empty());
  EXPECT_FALSE(chains.find({chain, "host1.test", anchors, false, std::nullopt}, now).empty());
}

/// What the evaluation makes of it, for the whole process.
class RepeatedTrustTest : public testing::Test {
 protected:
  SecTrustResult evaluate(SecTrust& trust) const {
    trust.setAnchorCertificates(anchors);
    return trust.evaluate();
  }

  const CertificateAuthority authority{"Repeated Root"};
  const std::vector<SecCertificate> anchors{trustCertificate(authority.certificate())};
  const std::vector<SecCertificate> chain{
      trustCertificate(authority.issue({.commonName = "leaf", .dnsNames = {"leaf.test"}}))};
};

TEST_F(RepeatedTrustTest, tellsTheSameOfAChainThatWasVerifiedBefore) {
  SecTrust first(chain, "leaf.test");
  SecTrust second(chain, "leaf.test");

  ASSERT_EQ(evaluate(first), SecTrustResult::unspecified);

  EXPECT_EQ(evaluate(second), SecTrustResult::unspecified);
  EXPECT_EQ(second.verifiedChain(), first.verifiedChain());
  EXPECT_EQ(second.problem(), SecTrustProblem::none);
  EXPECT_EQ(second.problemDescription(), "");
}

TEST_F(RepeatedTrustTest, doesNotTrustForAnotherHostOrWithoutTheAnchor) {
  SecTrust first(chain, "leaf.test");
  SecTrust elsewhere(chain, "other.test");
  SecTrust withoutAnchor(chain, "leaf.test");

  ASSERT_EQ(evaluate(first), SecTrustResult::unspecified);

  EXPECT_EQ(evaluate(elsewhere), SecTrustResult::recoverableTrustFailure);
  EXPECT_EQ(elsewhere.problem(), SecTrustProblem::hostMismatch);
  EXPECT_EQ(withoutAnchor.evaluate(), SecTrustResult::recoverableTrustFailure);
  EXPECT_EQ(withoutAnchor.problem(), SecTrustProblem::unknownRoot);
}

TEST_F(RepeatedTrustTest, doesNotTrustOnADayOnWhichTheChainIsNotValid) {
  SecTrust trust(chain, "leaf.test");

  ASSERT_EQ(evaluate(trust), SecTrustResult::unspecified);
  trust.setVerifyDate(std::time(nullptr) + 100'000 * minute);

  EXPECT_EQ(evaluate(trust), SecTrustResult::recoverableTrustFailure);
  EXPECT_EQ(trust.problem(), SecTrustProblem::expired);
  EXPECT_TRUE(trust.verifiedChain().empty());
}

}  // namespace
