#include <gtest/gtest.h>
#include <openssl/x509.h>
#include <stdlib.h>

#include <initializer_list>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/SystemAnchors.hpp"
#include "Platform/Security/SecTrust.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "TrustCertificates.hpp"

namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::trustCertificate;
using platform::SecTrust;
using platform::SecTrustResult;
using platform::detail::SystemAnchors;

/// The system's anchors are read once per process, so each test judges in a process of its own: the body of
/// a death test, whose exit status says which expectation failed.
class SystemAnchorsTest : public testing::Test {
 protected:
  void useFile(const std::string& name) const {
    SystemAnchors::usePlaces({.bundle = directory / name, .directories = directory / "none"});
  }

  SecTrust& trust() const {
    static SecTrust trust({trustCertificate(leaf)}, "leaf.test");
    return trust;
  }

  /// Exits with 0 when all steps held, else with the number of the first that did not.
  [[noreturn]] void exitWith(std::initializer_list<bool> steps) const {
    std::filesystem::remove_all(directory.path());
    int number = 0;
    for (const bool held : steps) {
      ++number;
      if (!held) std::_Exit(number);
    }
    std::_Exit(0);
  }

  const corvane::testkit::TemporaryDirectory directory;
  const CertificateAuthority root{"System Root"};
  const CertificateAuthority other{"Other Root"};
  const corvane::testkit::Certificate leaf = root.issue({.dnsNames = {"leaf.test"}});
};
using SystemAnchorsDeathTest = SystemAnchorsTest;

TEST_F(SystemAnchorsDeathTest, trustTheBundle) {
  directory.write("bundle.pem", other.certificate().pem() + root.certificate().pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        exitWith({trust().evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, trustAHashedDirectory) {
  char name[16];
  snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(trustCertificate(root.certificate()).handle()->x509));
  directory.write(name, root.certificate().pem());

  EXPECT_EXIT(
      {
        SystemAnchors::usePlaces({.bundle = directory / "none", .directories = directory.path()});
        exitWith({trust().evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, areIgnoredWhileOnlyCustomAnchorsCount) {
  directory.write("bundle.pem", root.certificate().pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        trust().setAnchorCertificates({trustCertificate(other.certificate())});
        const bool ignored = trust().evaluate() == SecTrustResult::recoverableTrustFailure;
        trust().setAnchorCertificatesOnly(false);
        const bool back = trust().evaluate() == SecTrustResult::unspecified;
        trust().setAnchorCertificatesOnly(true);
        const bool ignoredAgain = trust().evaluate() == SecTrustResult::recoverableTrustFailure;
        trust().setAnchorCertificates({});
        const bool cleared = trust().evaluate() == SecTrustResult::unspecified;
        exitWith({ignored, back, ignoredAgain, cleared});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, comeFromTheFirstOtherBundleThatHasSome) {
  directory.write("empty.pem", "");
  directory.write("bundle.pem", root.certificate().pem());
  directory.write("late.pem", other.certificate().pem());

  EXPECT_EXIT(
      {
        SystemAnchors::usePlaces(
            {.bundle = directory / "missing.pem",
             .otherBundles = {directory / "empty.pem", directory / "bundle.pem", directory / "late.pem"}});
        SecTrust late({trustCertificate(other.issue({.dnsNames = {"leaf.test"}}))}, "leaf.test");
        exitWith({trust().evaluate() == SecTrustResult::unspecified,
                  late.evaluate() == SecTrustResult::recoverableTrustFailure});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, areNotThoseThatTheEnvironmentNames) {
  char name[16];
  snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(trustCertificate(root.certificate()).handle()->x509));
  directory.write(name, root.certificate().pem());
  directory.write("bundle.pem", root.certificate().pem());

  EXPECT_EXIT(
      {
        setenv("SSL_CERT_FILE", (directory / "bundle.pem").c_str(), 1);
        setenv("SSL_CERT_DIR", directory.path().c_str(), 1);
        exitWith({trust().evaluate() == SecTrustResult::recoverableTrustFailure});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, areReadOnce) {
  directory.write("bundle.pem", root.certificate().pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        const bool before = trust().evaluate() == SecTrustResult::unspecified;
        std::filesystem::remove(directory / "bundle.pem");
        exitWith({before, trust().evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, trustAnAnchorThatIsNotARoot) {
  const CertificateAuthority between = root.intermediate();
  const auto deep = trustCertificate(between.issue({.dnsNames = {"deep.test"}}));
  directory.write("bundle.pem", between.certificate().pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        SecTrust trust({deep}, "deep.test");
        exitWith({trust.evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
