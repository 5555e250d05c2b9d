#include <gtest/gtest.h>
#include <openssl/x509.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>

#include "Platform/Security/SecTrust.hpp"
#include "TestCertificates.hpp"

namespace {

using platform::SecTrust;
using platform::SecTrustResult;
using tests::Identity;
using tests::makeCertificate;

/// The system's anchors are read once per process, so each test judges in a process of its own: the body of
/// a death test, whose exit status says which expectation failed.
class SystemAnchorsTest : public testing::Test {
 protected:
  SystemAnchorsTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::string pattern = (std::filesystem::temp_directory_path() / "anchors-XXXXXX").string();
    folder = mkdtemp(pattern.data());
  }
  ~SystemAnchorsTest() override { std::filesystem::remove_all(folder); }

  void write(const std::string& name, const std::string& text) const { std::ofstream(folder / name) << text; }

  void useFile(const std::string& name) const {
    setenv("SSL_CERT_FILE", (folder / name).c_str(), 1);
    setenv("SSL_CERT_DIR", (folder / "none").c_str(), 1);
  }

  SecTrust& trust() const {
    static SecTrust trust({leaf.trustCertificate()}, "leaf.test");
    return trust;
  }

  /// Exits with 0 when all steps held, else with the number of the first that did not.
  [[noreturn]] void exitWith(std::initializer_list<bool> steps) const {
    std::filesystem::remove_all(folder);
    int number = 0;
    for (const bool held : steps) {
      ++number;
      if (!held) std::_Exit(number);
    }
    std::_Exit(0);
  }

  std::filesystem::path folder;
  const Identity root = makeCertificate({.commonName = "System Root", .isAuthority = true});
  const Identity other = makeCertificate({.commonName = "Other Root", .isAuthority = true});
  const Identity leaf = makeCertificate({.commonName = "leaf", .alternativeNames = "DNS:leaf.test"}, &root);
};
using SystemAnchorsDeathTest = SystemAnchorsTest;

TEST_F(SystemAnchorsDeathTest, trustTheBundleNamedByTheEnvironment) {
  write("bundle.pem", other.pem() + root.pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        exitWith({trust().evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, trustAHashedDirectoryNamedByTheEnvironment) {
  char name[16];
  snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(root.certificate.get()));
  write(name, root.pem());

  EXPECT_EXIT(
      {
        setenv("SSL_CERT_FILE", (folder / "none").c_str(), 1);
        setenv("SSL_CERT_DIR", folder.c_str(), 1);
        exitWith({trust().evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, areIgnoredWhileOnlyCustomAnchorsCount) {
  write("bundle.pem", root.pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        trust().setAnchorCertificates({other.trustCertificate()});
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

TEST_F(SystemAnchorsDeathTest, areNotReplacedByOthersWhenTheNamedBundleIsMissing) {
  EXPECT_EXIT(
      {
        useFile("missing.pem");
        exitWith({trust().evaluate() == SecTrustResult::recoverableTrustFailure});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, areReadOnce) {
  write("bundle.pem", root.pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        const bool before = trust().evaluate() == SecTrustResult::unspecified;
        std::filesystem::remove(folder / "bundle.pem");
        exitWith({before, trust().evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SystemAnchorsDeathTest, trustAnAnchorThatIsNotARoot) {
  const Identity between = makeCertificate({.commonName = "Between", .isAuthority = true}, &root);
  const Identity deep = makeCertificate({.commonName = "deep", .alternativeNames = "DNS:deep.test"}, &between);
  write("bundle.pem", between.pem());

  EXPECT_EXIT(
      {
        useFile("bundle.pem");
        SecTrust trust({deep.trustCertificate()}, "deep.test");
        exitWith({trust.evaluate() == SecTrustResult::unspecified});
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
