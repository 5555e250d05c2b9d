#include <gtest/gtest.h>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Security/SecTrust.hpp"
#include "TrustCertificates.hpp"

namespace {

using corvane::testkit::CertificateRequest;
using platform::SecTrustProblem;
using platform::SecTrustResult;

/// Whether a self-signed certificate with these names, being the anchor, is accepted for `host`.
bool accepts(const CertificateRequest& request, const std::string& host) {
  const auto certificate =
      corvane::testkit::trustCertificate(corvane::testkit::CertificateAuthority::selfSigned(request));
  platform::SecTrust trust({certificate}, host);
  trust.setAnchorCertificates({certificate});
  if (trust.evaluate() == SecTrustResult::unspecified) return true;
  EXPECT_EQ(trust.problem(), SecTrustProblem::hostMismatch) << trust.problemDescription();
  return false;
}

CertificateRequest named(const std::string& dnsName) { return {.dnsNames = {dnsName}}; }
CertificateRequest addressed(const std::string& address) { return {.ipAddresses = {address}}; }
CertificateRequest called(const std::string& commonName) { return {.commonName = commonName}; }

TEST(HostMatchingTest, comparesNamesWithoutCase) {
  EXPECT_TRUE(accepts(named("example.test"), "example.test"));
  EXPECT_TRUE(accepts(named("example.test"), "EXAMPLE.Test"));
  EXPECT_FALSE(accepts(named("example.test"), "xample.test"));
}

TEST(HostMatchingTest, ignoresTheDotOfAnAbsoluteName) {
  EXPECT_TRUE(accepts(named("example.test"), "example.test."));
  EXPECT_FALSE(accepts(named("example.test"), "example.test.."));
}

TEST(HostMatchingTest, letsAWildcardStandForOneWholeLabel) {
  EXPECT_TRUE(accepts(named("*.example.test"), "www.example.test"));
  EXPECT_FALSE(accepts(named("*.example.test"), "a.b.example.test"));
  EXPECT_FALSE(accepts(named("*.example.test"), "example.test"));
}

TEST(HostMatchingTest, refusesWildcardsForPartOfALabelOrForATopLevel) {
  EXPECT_FALSE(accepts(named("w*.example.test"), "www.example.test"));
  EXPECT_FALSE(accepts(named("*w.example.test"), "www.example.test"));
  EXPECT_FALSE(accepts(named("www.*.test"), "www.example.test"));
  EXPECT_FALSE(accepts(named("*.test"), "example.test"));
}

TEST(HostMatchingTest, looksAtTheCommonNameOnlyWhereThereIsNoAlternativeName) {
  EXPECT_TRUE(accepts(called("example.test"), "example.test"));
  EXPECT_FALSE(accepts({.commonName = "example.test", .dnsNames = {"other.test"}}, "example.test"));
  EXPECT_FALSE(accepts({.commonName = "example.test", .ipAddresses = {"127.0.0.1"}}, "example.test"));
}

TEST(HostMatchingTest, matchesAnAddressWithAnAddressEntryOnly) {
  EXPECT_TRUE(accepts(addressed("127.0.0.1"), "127.0.0.1"));
  EXPECT_FALSE(accepts(addressed("127.0.0.1"), "127.0.0.2"));
  EXPECT_FALSE(accepts(named("127.0.0.1"), "127.0.0.1"));
  EXPECT_FALSE(accepts(called("127.0.0.1"), "127.0.0.1"));
  EXPECT_FALSE(accepts(named("*.0.0.1"), "127.0.0.1"));
}

TEST(HostMatchingTest, comparesAddressesOfVersionSixByValue) {
  EXPECT_TRUE(accepts(addressed("::1"), "::1"));
  EXPECT_TRUE(accepts(addressed("::1"), "0:0:0:0:0:0:0:1"));
  EXPECT_TRUE(accepts(addressed("fe80::1"), "fe80::1%eth0"));
  EXPECT_FALSE(accepts(addressed("::1"), "::2"));
}

TEST(HostMatchingTest, refusesHostsThatAreNotNames) {
  EXPECT_FALSE(accepts(named("www.example.test"), ""));
  EXPECT_FALSE(accepts(named("www.example.test"), "."));
  EXPECT_FALSE(accepts(named("www.example.test"), ".example.test"));
  EXPECT_FALSE(accepts(named("example.test"), std::string("example.test\0.evil.test", 22)));
}

}  // namespace
