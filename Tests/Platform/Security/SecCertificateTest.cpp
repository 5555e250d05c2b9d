#include "Platform/Security/SecCertificate.hpp"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "TrustCertificates.hpp"

namespace {

using corvane::testkit::Certificate;
using corvane::testkit::CertificateAuthority;
using corvane::testkit::resigned;
using corvane::testkit::trustCertificate;
using platform::Data;
using platform::SecCertificate;

TEST(SecCertificateTest, givesBackTheBytesItWasMadeFrom) {
  const Data der = CertificateAuthority("Ada").certificate().der();

  const auto certificate = SecCertificate::createWithData(der);

  ASSERT_TRUE(certificate.has_value());
  EXPECT_EQ(certificate->data(), der);
}

TEST(SecCertificateTest, namesSubjectAndIssuerByTheirCommonNames) {
  const CertificateAuthority root("Würzel");

  const auto certificate = trustCertificate(root.issue({.commonName = "leaf.test"}));

  EXPECT_EQ(certificate.subjectSummary(), "leaf.test");
  EXPECT_EQ(certificate.issuerSummary(), "Würzel");
}

TEST(SecCertificateTest, namesASubjectWithoutCommonNameByItsWholeName) {
  const Certificate base = CertificateAuthority::selfSigned({});
  const Data der = resigned(base, base.keyPem(), [](X509* certificate) {
    const std::unique_ptr<X509_NAME, decltype(&X509_NAME_free)> name(X509_NAME_new(), X509_NAME_free);
    const auto add = [&name](const char* field, const char* value) {
      const auto* utf8 = reinterpret_cast<const unsigned char*>(value);
      X509_NAME_add_entry_by_txt(name.get(), field, MBSTRING_UTF8, utf8, -1, -1, 0);
    };
    add("C", "CH");
    add("O", "Zürich Works");
    X509_set_subject_name(certificate, name.get());
  });

  const auto certificate = SecCertificate::createWithData(der);

  ASSERT_TRUE(certificate.has_value());
  EXPECT_EQ(certificate->subjectSummary(), "O=Zürich Works,C=CH");
}

TEST(SecCertificateTest, refusesAnythingButOneCertificateInDER) {
  const Certificate made = CertificateAuthority("Ada").certificate();
  Data trailing = made.der();
  trailing.append("\n");
  Data twice = made.der();
  twice.append(made.der());
  const Data cut = made.der().substr(0, made.der().size() - 1);

  EXPECT_FALSE(SecCertificate::createWithData(Data()).has_value());
  EXPECT_FALSE(SecCertificate::createWithData(made.pem()).has_value());
  EXPECT_FALSE(SecCertificate::createWithData("nonsense").has_value());
  EXPECT_FALSE(SecCertificate::createWithData(trailing).has_value());
  EXPECT_FALSE(SecCertificate::createWithData(twice).has_value());
  EXPECT_FALSE(SecCertificate::createWithData(cut).has_value());
}

TEST(SecCertificateTest, leavesTheErrorQueueOfOpenSSLAsItWas) {
  ERR_clear_error();
  ERR_raise(ERR_LIB_USER, 7);

  SecCertificate::createWithData("nonsense");

  EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
  EXPECT_EQ(ERR_get_error(), 0U);
}

TEST(SecCertificateTest, isEqualByItsBytes) {
  const Certificate made = CertificateAuthority("Ada").certificate();

  EXPECT_EQ(trustCertificate(made), trustCertificate(made));
  EXPECT_FALSE(trustCertificate(made) == trustCertificate(CertificateAuthority("Ada").certificate()));
}

TEST(SecCertificateTest, sharesTheCertificatesOfAReceivedChain) {
  const CertificateAuthority root("Root");
  const auto leaf = trustCertificate(root.issue({.commonName = "leaf.test"}));
  const auto anchor = trustCertificate(root.certificate());
  STACK_OF(X509)* received = sk_X509_new_null();
  sk_X509_push(received, leaf.handle()->x509);
  sk_X509_push(received, anchor.handle()->x509);

  const auto chain = platform::detail::certificatesFromChain(received);
  sk_X509_free(received);

  ASSERT_EQ(chain.size(), 2U);
  EXPECT_EQ(chain[0].handle()->x509, leaf.handle()->x509);
  EXPECT_EQ(chain[1].subjectSummary(), "Root");
  EXPECT_TRUE(platform::detail::certificatesFromChain(nullptr).empty());
}

}  // namespace
