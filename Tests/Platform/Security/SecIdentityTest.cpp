#include "Platform/Security/SecIdentity.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>

#include <memory>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform {
namespace {

using corvane::testkit::Certificate;
using corvane::testkit::CertificateAuthority;
using testing::HasSubstr;

class SecIdentityTest : public testing::Test {
 protected:
  struct Free {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(PKCS12* file) const { PKCS12_free(file); }
  };
  template <class T>
  using Held = std::unique_ptr<T, Free>;

  static Held<BIO> reader(const std::string& text) {
    return Held<BIO>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  }
  static Held<EVP_PKEY> keyOf(const Certificate& from) {
    return Held<EVP_PKEY>(PEM_read_bio_PrivateKey(reader(from.keyPem()).get(), nullptr, nullptr, nullptr));
  }
  static Data contents(BIO* bio) {
    char* bytes = nullptr;
    const long count = BIO_get_mem_data(bio, &bytes);
    return Data(bytes, static_cast<std::size_t>(count));
  }
  /// PEM, or DER in the form of PKCS #8; encrypted where there is a pass phrase.
  static Data key(const Certificate& of, bool isPEM, const char* phrase) {
    const Held<EVP_PKEY> made = keyOf(of);
    const Held<BIO> out(BIO_new(BIO_s_mem()));
    const EVP_CIPHER* const cipher = phrase ? EVP_aes_256_cbc() : nullptr;
    const int length = phrase ? static_cast<int>(std::string(phrase).size()) : 0;
    const auto write = isPEM ? &PEM_write_bio_PKCS8PrivateKey : &i2d_PKCS8PrivateKey_bio;
    EXPECT_EQ(write(out.get(), made.get(), cipher, phrase, length, nullptr, nullptr), 1);
    return contents(out.get());
  }
  static Data pkcs12(const Certificate& of, const char* phrase) {
    const Held<EVP_PKEY> made = keyOf(of);
    const Held<X509> own(PEM_read_bio_X509(reader(of.pem()).get(), nullptr, nullptr, nullptr));
    const Held<PKCS12> file(PKCS12_create(phrase, "client", made.get(), own.get(), nullptr, 0, 0, 0, 0, 0));
    const Held<BIO> out(BIO_new(BIO_s_mem()));
    EXPECT_EQ(i2d_PKCS12_bio(out.get(), file.get()), 1);
    return contents(out.get());
  }
  static SecIdentity::PassPhrase phrase(std::string text) {
    return [text = std::move(text)] { return text; };
  }
  template <class Make>
  static Error failureOf(Make make) {
    try {
      make();
    } catch (const Error& error) {
      return error;
    }
    ADD_FAILURE() << "it was read";
    return {"none", 0, ""};
  }

  const CertificateAuthority root_;
  const CertificateAuthority intermediate_ = root_.intermediate();
  const Certificate client_ = intermediate_.issue({});
};

TEST_F(SecIdentityTest, isReadFromPEM) {
  const SecIdentity identity = SecIdentity::fromPEM(Data(client_.chainPem()), Data(client_.keyPem()));

  ASSERT_EQ(identity.certificates().size(), 2U);
  EXPECT_EQ(identity.certificates().front().data(), Data(client_.der()));
}

TEST_F(SecIdentityTest, isReadFromOneText) {
  const SecIdentity identity = SecIdentity::fromPEM(Data(client_.keyPem() + client_.chainPem()));

  EXPECT_EQ(identity.certificates().size(), 2U);
}

TEST_F(SecIdentityTest, asksForThePassPhraseOfAnEncryptedKeyAlone) {
  int asked = 0;
  const auto ask = [&asked] {
    ++asked;
    return std::string("secret");
  };
  SecIdentity::fromPEM(Data(client_.pem()), Data(client_.keyPem()), ask);
  EXPECT_EQ(asked, 0);

  SecIdentity::fromPEM(Data(client_.pem()), key(client_, true, "secret"), ask);
  EXPECT_EQ(asked, 1);
}

TEST_F(SecIdentityTest, isReadFromDER) {
  EXPECT_NO_THROW(SecIdentity::fromDER(Data(client_.der()), key(client_, false, nullptr)));
  EXPECT_NO_THROW(SecIdentity::fromDER(Data(client_.der()), key(client_, false, "secret"), phrase("secret")));
}

TEST_F(SecIdentityTest, isReadFromPKCS12) {
  const SecIdentity identity = SecIdentity::fromPKCS12(pkcs12(client_, "secret"), phrase("secret"));

  EXPECT_EQ(identity.certificates().front().data(), Data(client_.der()));
  EXPECT_NO_THROW(SecIdentity::fromPKCS12(pkcs12(client_, "")));
}

TEST_F(SecIdentityTest, saysSoWhereThePassPhraseIsWrongOrMissing) {
  for (const char* const given : {"", "wrong"}) {
    const auto give = [&] { return *given ? phrase(given) : SecIdentity::PassPhrase(); };
    for (const Error& error :
         {failureOf([&] { SecIdentity::fromPEM(Data(client_.pem()), key(client_, true, "secret"), give()); }),
          failureOf([&] { SecIdentity::fromDER(Data(client_.der()), key(client_, false, "secret"), give()); }),
          failureOf([&] { SecIdentity::fromPKCS12(pkcs12(client_, "secret"), give()); })}) {
      EXPECT_EQ(error.code(), OSStatus::authFailed) << error.message();
      EXPECT_THAT(error.message(), HasSubstr("pass phrase"));
    }
  }
}

TEST_F(SecIdentityTest, passesOnWhatIsThrownForThePassPhrase) {
  const auto give = []() -> std::string { throw std::runtime_error("nobody is there"); };

  EXPECT_THROW(SecIdentity::fromPEM(Data(client_.pem()), key(client_, true, "secret"), give), std::runtime_error);
}

TEST_F(SecIdentityTest, refusesAKeyOfAnotherCertificate) {
  const Error error = failureOf([&] { SecIdentity::fromPEM(Data(client_.pem()), Data(root_.issue({}).keyPem())); });

  EXPECT_EQ(error.code(), OSStatus::decode);
  EXPECT_THAT(error.message(), HasSubstr("does not belong"));
}

TEST_F(SecIdentityTest, refusesWhatIsNoIdentity) {
  for (const Error& error : {failureOf([] { SecIdentity::fromPEM(Data("nothing")); }),
                             failureOf([&] { SecIdentity::fromPEM(Data(client_.pem())); }),
                             failureOf([&] { SecIdentity::fromPEM(Data(client_.keyPem())); }),
                             failureOf([&] { SecIdentity::fromDER(Data("nothing"), Data("nothing")); }),
                             failureOf([] { SecIdentity::fromPKCS12(Data("nothing")); })}) {
    EXPECT_EQ(error.code(), OSStatus::decode) << error.message();
  }
}

TEST_F(SecIdentityTest, certificatesOfAPEMTextAreReadInItsOrder) {
  const auto list = SecCertificate::listFromPEM(Data("words\n" + client_.chainPem() + "more words\n"));

  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list.front().data(), Data(client_.der()));
  EXPECT_TRUE(SecCertificate::listFromPEM(Data("none")).empty());
  const std::string cut = client_.pem().substr(0, client_.pem().size() / 2) + "\n-----END CERTIFICATE-----\n";
  EXPECT_EQ(failureOf([&] { SecCertificate::listFromPEM(Data(cut)); }).code(), OSStatus::decode);
}

}  // namespace
}  // namespace platform
