#include "Platform/Security/SecCertificate.hpp"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "TestCertificates.hpp"

namespace {

using platform::Data;
using platform::SecCertificate;
using tests::makeCertificate;

TEST(SecCertificateTest, givesBackTheBytesItWasMadeFrom) {
  const Data der = makeCertificate({.commonName = "Ada"}).der();

  const auto certificate = SecCertificate::createWithData(der);

  ASSERT_TRUE(certificate.has_value());
  EXPECT_EQ(certificate->data(), der);
}

TEST(SecCertificateTest, namesSubjectAndIssuerByTheirCommonNames) {
  const auto root = makeCertificate({.commonName = "Würzel", .isAuthority = true});

  const auto certificate = makeCertificate({.commonName = "leaf.test"}, &root).trustCertificate();

  EXPECT_EQ(certificate.subjectSummary(), "leaf.test");
  EXPECT_EQ(certificate.issuerSummary(), "Würzel");
}

TEST(SecCertificateTest, namesASubjectWithoutCommonNameByItsWholeName) {
  const auto made = makeCertificate({.commonName = "x"});
  X509_NAME* name = X509_NAME_new();
  const auto add = [name](const char* field, const char* value) {
    X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(value), -1, -1, 0);
  };
  add("C", "CH");
  add("O", "Zürich Works");
  X509_set_subject_name(made.certificate.get(), name);
  X509_NAME_free(name);
  X509_sign(made.certificate.get(), made.key.get(), EVP_sha256());

  EXPECT_EQ(made.trustCertificate().subjectSummary(), "O=Zürich Works,C=CH");
}

TEST(SecCertificateTest, refusesAnythingButOneCertificateInDER) {
  const auto made = makeCertificate({.commonName = "Ada"});
  Data trailing = made.der();
  trailing.append("\n");
  Data twice = made.der();
  twice.append(made.der().span());
  const Data cut = made.der().subdata(0, made.der().count() - 1);

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
  const auto made = makeCertificate({.commonName = "Ada"});

  EXPECT_EQ(made.trustCertificate(), made.trustCertificate());
  EXPECT_FALSE(made.trustCertificate() == makeCertificate({.commonName = "Ada"}).trustCertificate());
}

TEST(SecCertificateTest, sharesTheCertificatesOfAReceivedChain) {
  const auto root = makeCertificate({.commonName = "Root", .isAuthority = true});
  const auto leaf = makeCertificate({.commonName = "leaf.test"}, &root);
  STACK_OF(X509)* received = sk_X509_new_null();
  sk_X509_push(received, leaf.certificate.get());
  sk_X509_push(received, root.certificate.get());

  const auto chain = platform::detail::certificatesFromChain(received);
  sk_X509_free(received);

  ASSERT_EQ(chain.size(), 2U);
  EXPECT_EQ(chain[0].handle()->x509, leaf.certificate.get());
  EXPECT_EQ(chain[1].subjectSummary(), "Root");
  EXPECT_TRUE(platform::detail::certificatesFromChain(nullptr).empty());
}

}  // namespace
