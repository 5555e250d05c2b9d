#include "Platform/Security/SecTrust.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include <ctime>
#include <thread>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "TrustCertificates.hpp"

namespace {

using corvane::testkit::Certificate;
using corvane::testkit::CertificateAuthority;
using corvane::testkit::CertificateRequest;
using corvane::testkit::Validity;
using platform::SecCertificate;
using platform::SecTrust;
using platform::SecTrustProblem;
using platform::SecTrustResult;

constexpr auto trusted = SecTrustResult::unspecified;
constexpr auto refused = SecTrustResult::recoverableTrustFailure;

/// A root that a test may make an anchor of, and what it signed.
class SecTrustTest : public testing::Test {
 protected:
  static std::vector<SecCertificate> list(const std::vector<Certificate>& certificates) {
    std::vector<SecCertificate> made;
    for (const Certificate& certificate : certificates) made.push_back(trustCertificate(certificate));
    return made;
  }

  static CertificateRequest request(const std::string& commonName, Validity validity = {}) {
    return {.commonName = commonName, .dnsNames = {"leaf.test"}, .validity = validity};
  }

  const CertificateAuthority authority{"Test Root"};
  const Certificate root = authority.certificate();
  const Certificate leaf = authority.issue(request("leaf"));
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
  EXPECT_EQ(trust.problemDescription(), "The certificate \"Test Root\" is a root that is not trusted here.");
}

TEST_F(SecTrustTest, namesTheIssuerThatIsNotTrusted) {
  SecTrust trust(list({leaf}), "leaf.test");

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::unknownRoot);
  EXPECT_EQ(trust.problemDescription(),
            "The certificate \"leaf\" was issued by \"Test Root\", which is not trusted here.");
}

TEST_F(SecTrustTest, doesNotTrustARootThatOnlySharesTheAnchorsName) {
  const CertificateAuthority namesake("Test Root");
  SecTrust trust(list({leaf, root}), "leaf.test");

  trust.setAnchorCertificates(list({namesake.certificate()}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::unknownRoot);
}

TEST_F(SecTrustTest, refusesAnExpiredCertificate) {
  const Certificate old = authority.issue(request("old", Validity::expired()));
  SecTrust trust(list({old}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::expired);
  EXPECT_THAT(trust.problemDescription(),
              ::testing::MatchesRegex("The certificate \"old\" expired on [0-9]{4}-[0-9]{2}-[0-9]{2}\\."));
}

TEST_F(SecTrustTest, refusesACertificateThatIsNotValidYet) {
  const Certificate early = authority.issue(request("early", Validity::notYet()));
  SecTrust trust(list({early}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::notYetValid);
  EXPECT_THAT(trust.problemDescription(),
              ::testing::MatchesRegex("The certificate \"early\" is not valid before [0-9]{4}-[0-9]{2}-[0-9]{2}\\."));
}

TEST_F(SecTrustTest, judgesTheDatesAsOfTheDateThatWasSet) {
  SecTrust trust(list({leaf}), "leaf.test");
  trust.setAnchorCertificates(list({root}));
  const std::int64_t now = std::time(nullptr);
  constexpr std::int64_t daySeconds = 24 * 60 * 60;

  trust.setVerifyDate(now + 2 * daySeconds);
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
  const Certificate own = CertificateAuthority::selfSigned(request("own"));
  SecTrust trust(list({own}), "leaf.test");

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::unknownRoot);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"own\" is signed by itself and is not trusted here.");
}

TEST_F(SecTrustTest, trustsASelfSignedCertificateThatIsItselfTheAnchor) {
  const Certificate own = CertificateAuthority::selfSigned(request("own"));
  SecTrust trust(list({own}), "leaf.test");

  trust.setAnchorCertificates(list({own}));

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, checksTheHostOfASelfSignedAnchorToo) {
  const Certificate own = CertificateAuthority::selfSigned(request("own"));
  SecTrust trust(list({own}), "other.test");

  trust.setAnchorCertificates(list({own}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::hostMismatch);
}

TEST_F(SecTrustTest, needsTheIntermediateBetweenLeafAndAnchor) {
  const CertificateAuthority between = authority.intermediate();
  const Certificate deep = between.issue(request("deep"));
  SecTrust incomplete(list({deep}), "leaf.test");
  SecTrust complete(list({deep, between.certificate()}), "leaf.test");

  incomplete.setAnchorCertificates(list({root}));
  complete.setAnchorCertificates(list({root}));

  EXPECT_EQ(incomplete.evaluate(), refused);
  EXPECT_EQ(incomplete.problem(), SecTrustProblem::unknownRoot);
  EXPECT_EQ(complete.evaluate(), trusted);
}

TEST_F(SecTrustTest, acceptsAnIntermediateAsAnchor) {
  const CertificateAuthority between = authority.intermediate();
  const Certificate deep = between.issue(request("deep"));
  SecTrust trust(list({deep}), "leaf.test");

  trust.setAnchorCertificates(list({between.certificate()}));

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, takesTheOtherCertificatesInAnyOrder) {
  const CertificateAuthority upper = authority.intermediate("Upper");
  const CertificateAuthority lower = upper.intermediate("Lower");
  const Certificate deep = lower.issue(request("deep"));
  SecTrust trust(list({deep, root, upper.certificate(), lower.certificate()}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), trusted);
}

TEST_F(SecTrustTest, refusesALeafThatSignedAnother) {
  const auto leafCertificate = trustCertificate(leaf);
  const platform::Data forged = resigned(
      CertificateAuthority::selfSigned(request("forged")), leaf.keyPem(), [&leafCertificate](X509* certificate) {
        X509_set_issuer_name(certificate, X509_get_subject_name(leafCertificate.handle()->x509));
        const int identifier = X509_get_ext_by_NID(certificate, NID_authority_key_identifier, -1);
        X509_EXTENSION_free(X509_delete_ext(certificate, identifier));
      });
  SecTrust trust({*SecCertificate::createWithData(forged), leafCertificate}, "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), SecTrustResult::fatalTrustFailure);
  EXPECT_EQ(trust.problem(), SecTrustProblem::other);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"leaf\" cannot be trusted: invalid CA certificate.");
}

TEST_F(SecTrustTest, refusesAnAuthorityBelowOneThatMayHaveNone) {
  const CertificateAuthority last = authority.intermediate("Last", {}, 0);
  const CertificateAuthority tooDeep = last.intermediate("Too Deep");
  const Certificate deep = tooDeep.issue(request("deep"));
  SecTrust trust(list({deep, tooDeep.certificate(), last.certificate()}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), SecTrustResult::fatalTrustFailure);
  EXPECT_EQ(trust.problem(), SecTrustProblem::other);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"Last\" cannot be trusted: path length constraint exceeded.");
}

TEST_F(SecTrustTest, refusesACertificateThatIsNotForServers) {
  CertificateRequest forClients = request("client");
  forClients.extendedKeyUsage = "clientAuth";
  const Certificate client = authority.issue(forClients);
  SecTrust trust(list({client}), "leaf.test");

  trust.setAnchorCertificates(list({root}));

  EXPECT_EQ(trust.evaluate(), refused);
  EXPECT_EQ(trust.problem(), SecTrustProblem::other);
  EXPECT_EQ(trust.problemDescription(), "The certificate \"client\" is not meant for a server.");
}

TEST_F(SecTrustTest, callsABrokenSignatureFatal) {
  std::string der = leaf.der();
  der.back() ^= 1;
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
  const CertificateAuthority other("Other Root");
  SecTrust replaced(list({leaf}), "leaf.test");
  SecTrust restored(list({leaf}), "leaf.test");

  replaced.setAnchorCertificates(list({root}));
  replaced.setAnchorCertificates(list({other.certificate()}));
  restored.setAnchorCertificates(list({other.certificate()}));
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
