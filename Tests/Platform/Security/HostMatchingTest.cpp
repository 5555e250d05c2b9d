#include <gtest/gtest.h>

#include "Platform/Security/SecTrust.hpp"
#include "TestCertificates.hpp"

namespace {

using platform::SecTrustProblem;
using platform::SecTrustResult;

/// Whether a self-signed certificate with these names, being the anchor, is accepted for `host`.
bool accepts(const std::string& alternativeNames, const std::string& host, const std::string& commonName = "test") {
  const auto certificate =
      tests::makeCertificate({.commonName = commonName, .alternativeNames = alternativeNames}).trustCertificate();
  platform::SecTrust trust({certificate}, host);
  trust.setAnchorCertificates({certificate});
  if (trust.evaluate() == SecTrustResult::unspecified) return true;
  EXPECT_EQ(trust.problem(), SecTrustProblem::hostMismatch) << trust.problemDescription();
  return false;
}

TEST(HostMatchingTest, comparesNamesWithoutCase) {
  EXPECT_TRUE(accepts("DNS:example.test", "example.test"));
  EXPECT_TRUE(accepts("DNS:example.test", "EXAMPLE.Test"));
  EXPECT_FALSE(accepts("DNS:example.test", "xample.test"));
}

TEST(HostMatchingTest, ignoresTheDotOfAnAbsoluteName) {
  EXPECT_TRUE(accepts("DNS:example.test", "example.test."));
  EXPECT_FALSE(accepts("DNS:example.test", "example.test.."));
}

TEST(HostMatchingTest, letsAWildcardStandForOneWholeLabel) {
  EXPECT_TRUE(accepts("DNS:*.example.test", "www.example.test"));
  EXPECT_FALSE(accepts("DNS:*.example.test", "a.b.example.test"));
  EXPECT_FALSE(accepts("DNS:*.example.test", "example.test"));
}

TEST(HostMatchingTest, refusesWildcardsForPartOfALabelOrForATopLevel) {
  EXPECT_FALSE(accepts("DNS:w*.example.test", "www.example.test"));
  EXPECT_FALSE(accepts("DNS:*w.example.test", "www.example.test"));
  EXPECT_FALSE(accepts("DNS:www.*.test", "www.example.test"));
  EXPECT_FALSE(accepts("DNS:*.test", "example.test"));
}

TEST(HostMatchingTest, looksAtTheCommonNameOnlyWhereThereIsNoAlternativeName) {
  EXPECT_TRUE(accepts("", "example.test", "example.test"));
  EXPECT_FALSE(accepts("DNS:other.test", "example.test", "example.test"));
  EXPECT_FALSE(accepts("IP:127.0.0.1", "example.test", "example.test"));
}

TEST(HostMatchingTest, matchesAnAddressWithAnAddressEntryOnly) {
  EXPECT_TRUE(accepts("IP:127.0.0.1", "127.0.0.1"));
  EXPECT_FALSE(accepts("IP:127.0.0.1", "127.0.0.2"));
  EXPECT_FALSE(accepts("DNS:127.0.0.1", "127.0.0.1"));
  EXPECT_FALSE(accepts("", "127.0.0.1", "127.0.0.1"));
  EXPECT_FALSE(accepts("DNS:*.0.0.1", "127.0.0.1"));
}

TEST(HostMatchingTest, comparesAddressesOfVersionSixByValue) {
  EXPECT_TRUE(accepts("IP:::1", "::1"));
  EXPECT_TRUE(accepts("IP:::1", "0:0:0:0:0:0:0:1"));
  EXPECT_TRUE(accepts("IP:fe80::1", "fe80::1%eth0"));
  EXPECT_FALSE(accepts("IP:::1", "::2"));
}

TEST(HostMatchingTest, refusesHostsThatAreNotNames) {
  EXPECT_FALSE(accepts("DNS:www.example.test", ""));
  EXPECT_FALSE(accepts("DNS:www.example.test", "."));
  EXPECT_FALSE(accepts("DNS:www.example.test", ".example.test"));
  EXPECT_FALSE(accepts("DNS:example.test", std::string("example.test\0.evil.test", 22)));
}

}  // namespace
