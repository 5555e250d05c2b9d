#include "Platform/Security/SecTrust.hpp"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <thread>

#include "TestCertificates.hpp"

namespace {

using platform::SecCertificate;
using platform::SecTrust;
using platform::SecTrustProblem;
using platform::SecTrustResult;
using tests::daySeconds;
using tests::Identity;
using tests::makeCertificate;

constexpr auto trusted = SecTrustResult::unspecified;
constexpr auto refused = SecTrustResult::recoverableTrustFailure;

/// A root that a test may make an anchor of, and what it signed.
class SecTrustTest : public testing::Test {
 protected:
  static std::vector<SecCertificate> list(const std::vector<Identity>& identities) {
    std::vector<SecCertificate> certificates;
    for (const Identity& identity : identities) certificates.push_back(identity.trustCertificate());
    return certificates;
  }

  Identity signedByRoot(tests::CertificatePlan plan) const { return makeCertificate(plan, &root); }

  const Identity root = makeCertificate({.commonName = "Test Root", .isAuthority = true});
  const Identity leaf = signedByRoot({.commonName = "leaf", .alternativeNames = "DNS:leaf.test"});
};

TEST_F(SecTrustTest, trustsAChainThatLeadsToACustomAnchor) {
  SecTrust trust(list({leaf}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), trusted);
  EXPECT_EQ(trust.problem(), SecTrustProblem::none);
  EXPECT_EQ(trust.problemDescription(), "");
}

TEST_F(SecTrustTest, doesNotTrustAnUnknownRoot) {
  SecTrust trust(list({leaf, root}), "leaf.test");

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::unknownRoot);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"Test Root\" does not lead to an anchor.");
}

TEST_F(SecTrustTest, doesNotTrustARootThatOnlySharesTheAnchorsName) {
  const Identity namesake = makeCertificate({.commonName = "Test Root", .isAuthority = true});
  SecTrust trust(list({leaf, root}), "leaf.test");

  trust.setAnchorCertificates(list({namesake}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::unknownRoot);
}

TEST_F(SecTrustTest, refusesAnExpiredCertificate) {
  const Identity old = signedByRoot({.commonName = "old", .alternativeNames = "DNS:leaf.test", .validUntil = -60});
  SecTrust trust(list({old}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::expired);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"old\" has expired.");
}

TEST_F(SecTrustTest, refusesACertificateThatIsNotValidYet) {
  const Identity early = signedByRoot({.commonName = "early", .alternativeNames = "DNS:leaf.test", .validFrom = 3600});
  SecTrust trust(list({early}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::notYetValid);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"early\" is not valid yet.");
}

TEST_F(SecTrustTest, judgesTheDatesAsOfTheDateThatWasSet) {
  SecTrust trust(list({leaf}), "leaf.test");
  trust.setAnchorCertificates(list({root}));
  const std::int64_t now = time(nullptr);

  trust.setVerifyDate(now + 31 * daySeconds);
  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::expired);

  trust.setVerifyDate(now - 2 * daySeconds);
  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::notYetValid);

  trust.setVerifyDate(std::nullopt);
  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, refusesTheCertificateOfAnotherHost) {
  SecTrust trust(list({leaf}), "other.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::hostMismatch);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"leaf\" is not for the host \"other.test\".");
}

TEST_F(SecTrustTest, refusesASelfSignedCertificate) {
  const Identity own = makeCertificate({.commonName = "own", .alternativeNames = "DNS:leaf.test"});
  SecTrust trust(list({own}), "leaf.test");

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::unknownRoot);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"own\" is signed by itself and is not an anchor.");
}

TEST_F(SecTrustTest, trustsASelfSignedCertificateThatIsItselfTheAnchor) {
  const Identity own = makeCertificate({.commonName = "own", .alternativeNames = "DNS:leaf.test"});
  SecTrust trust(list({own}), "leaf.test");

  trust.setAnchorCertificates(list({own}));

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, checksTheHostOfASelfSignedAnchorToo) {
  const Identity own = makeCertificate({.commonName = "own", .alternativeNames = "DNS:leaf.test"});
  SecTrust trust(list({own}), "other.test");

  trust.setAnchorCertificates(list({own}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::hostMismatch);
}

TEST_F(SecTrustTest, needsTheIntermediateBetweenLeafAndAnchor) {
  const Identity between = signedByRoot({.commonName = "Between", .isAuthority = true});
  const Identity deep = makeCertificate({.commonName = "deep", .alternativeNames = "DNS:leaf.test"}, &between);
  SecTrust incomplete(list({deep}), "leaf.test");
  SecTrust complete(list({deep, between}), "leaf.test");

  incomplete.setAnchorCertificates(list({root}));
  complete.setAnchorCertificates(list({root}));

  EXPECT_EQ(incomplete.evaluate(), refused);
  EXPECT_EQ(incomplete.problem(), SecTrustProblem::unknownRoot);
  EXPECT_EQ(complete.evaluate(), trusted);
}

TEST_F(SecTrustTest, acceptsAnIntermediateAsAnchor) {
  const Identity between = signedByRoot({.commonName = "Between", .isAuthority = true});
  const Identity deep = makeCertificate({.commonName = "deep", .alternativeNames = "DNS:leaf.test"}, &between);
  SecTrust trust(list({deep}), "leaf.test");

  trust.setAnchorCertificates(list({between}));

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, takesTheOtherCertificatesInAnyOrder) {
  const Identity upper = signedByRoot({.commonName = "Upper", .isAuthority = true});
  const Identity lower = makeCertificate({.commonName = "Lower", .isAuthority = true}, &upper);
  const Identity deep = makeCertificate({.commonName = "deep", .alternativeNames = "DNS:leaf.test"}, &lower);
  SecTrust trust(list({deep, root, upper, lower}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, refusesALeafThatSignedAnother) {
  const Identity forged = makeCertificate({.commonName = "forged", .alternativeNames = "DNS:bank.test"}, &leaf);
  SecTrust trust(list({forged, leaf}), "bank.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), SecTrustResult::fatalTrustFailure);
  EXPECT_EQ(trust.problem(), SecTrustProblem::other);
}

TEST_F(SecTrustTest, refusesACertificateThatIsNotForServers) {
  const Identity client =
      signedByRoot({.commonName = "client", .alternativeNames = "DNS:leaf.test", .extendedKeyUsage = "clientAuth"});
  SecTrust trust(list({client}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::other);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"client\" is not meant for a server.");
}

TEST_F(SecTrustTest, callsABrokenSignatureFatal) {
  platform::Data der = leaf.der();
  der.mutableBytes()[der.count() - 1] ^= std::byte{1};
  SecTrust trust({*SecCertificate::createWithData(der)}, "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), SecTrustResult::fatalTrustFailure);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"leaf\" cannot be trusted: certificate signature failure.");
}

TEST_F(SecTrustTest, cannotEvaluateAnEmptyChain) {
  SecTrust trust({}, "leaf.test");

  EXPECT_EQ(trust.evaluate(), SecTrustResult::otherError);
  EXPECT_EQ(trust.problem(), SecTrustProblem::other);
  EXPECT_EQ(trust.problemDescription(), "The server sent no certificate.");
}

TEST_F(SecTrustTest, letsOnlyTheLastSetOfAnchorsCount) {
  const Identity other = makeCertificate({.commonName = "Other Root", .isAuthority = true});
  SecTrust replaced(list({leaf}), "leaf.test");
  SecTrust restored(list({leaf}), "leaf.test");

  replaced.setAnchorCertificates(list({root}));
  replaced.setAnchorCertificates(list({other}));
  restored.setAnchorCertificates(list({other}));
  restored.setAnchorCertificates(list({root}));

  EXPECT_EQ(replaced.evaluate(), refused);
  EXPECT_EQ(restored.evaluate(), trusted);
}

TEST_F(SecTrustTest, forgetsCustomAnchorsWhenTheListIsCleared) {
  SecTrust trust(list({leaf}), "leaf.test");
  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.setAnchorCertificates({}), platform::OSStatus::success);

  EXPECT_EQ(trust.evaluate(), refused);
}

TEST_F(SecTrustTest, refusesAListThatHoldsACertificateMovedFrom) {
  std::vector<SecCertificate> anchors = list({leaf});
  const SecCertificate taken = std::move(anchors.front());
  SecTrust trust(list({leaf}), "leaf.test");
  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.setAnchorCertificates(std::move(anchors)), platform::OSStatus::param);

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, remembersTheProblemOfTheLastEvaluationOnly) {
  SecTrust trust(list({leaf}), "leaf.test");
  trust.evaluate();

  trust.setAnchorCertificates(list({root}));
  trust.evaluate();

  EXPECT_EQ(trust.problem(), SecTrustProblem::none);
  EXPECT_EQ(trust.problemDescription(), "");
}

TEST_F(SecTrustTest, leavesTheErrorQueueOfOpenSSLAsItWas) {
  ERR_clear_error();
  SecTrust trust(list({leaf}), "leaf.test");

  trust.evaluate();

  EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(SecTrustTest, mayBeAskedByManyThreadsAtOnce) {
  SecTrust trust(list({leaf}), "leaf.test");
  trust.setAnchorCertificates(list({root}));
  trust.setAnchorCertificatesOnly(false);
  std::vector<SecTrustResult> results(8);

  std::vector<std::thread> threads;
  for (SecTrustResult& result : results) {
    threads.emplace_back([&trust, &result, this] {
      SecTrust own(list({leaf}), "leaf.test");
      own.setAnchorCertificates(list({root}));
      own.setAnchorCertificatesOnly(false);
      result = own.evaluate() == trusted ? trust.evaluate() : SecTrustResult::invalid;
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(results, std::vector<SecTrustResult>(8, trusted));
}

}  // namespace
