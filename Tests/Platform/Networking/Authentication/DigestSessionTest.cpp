#include "Platform/Networking/Authentication/DigestSession.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform::networking {
namespace {

using detail::HashFunction;
using detail::MessageDigest;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The example of RFC 7616, 3.9.1.
constexpr const char* exampleNonce = "7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v";
constexpr const char* exampleClientNonce = "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ";

DigestUser exampleUser() { return {.name = "Mufasa", .password = "Circle of Life"}; }
DigestSubject exampleSubject() { return {.method = "GET", .target = "/dir/index.html"}; }

DigestChallenge challenge(const std::string& more) {
  const auto found =
      DigestChallenge::strongest({R"(Digest realm="http-auth@example.org", nonce=")" + std::string(exampleNonce) +
                                  R"(", opaque="FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS", )" + more});
  EXPECT_TRUE(found);
  return found.value_or(DigestChallenge());
}

std::string authorization(const std::string& more, DigestSubject subject = exampleSubject()) {
  return DigestSession(exampleUser(), challenge(more), exampleClientNonce).authorization(subject);
}

TEST(DigestSessionTest, respondsAsTheExampleForMD5) {
  const std::string value = authorization(R"(qop="auth, auth-int", algorithm=MD5)");

  EXPECT_EQ(value,
            "Digest username=\"Mufasa\", realm=\"http-auth@example.org\", uri=\"/dir/index.html\", algorithm=MD5, "
            "nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", nc=00000001, "
            "cnonce=\"f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ\", qop=auth, "
            "response=\"8ca523f5e9506fed4657c9700eebdbec\", "
            "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"");
}

TEST(DigestSessionTest, respondsAsTheExampleForSHA256) {
  EXPECT_THAT(authorization(R"(qop="auth, auth-int", algorithm=SHA-256)"),
              AllOf(HasSubstr("algorithm=SHA-256"),
                    HasSubstr("response=\"753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1\"")));
}

TEST(DigestSessionTest, respondsAsTheExampleOfRFC2617WithoutAnAlgorithm) {
  const auto found = DigestChallenge::strongest(
      {R"(Digest realm="testrealm@host.com", qop="auth,auth-int", nonce="dcd98b7102dd2f0e8b11d0f600bfb0c093")"});
  ASSERT_TRUE(found);
  DigestSession session({.name = "Mufasa", .password = "Circle Of Life"}, *found, "0a4f113b");

  const std::string value = session.authorization(exampleSubject());

  EXPECT_THAT(value, HasSubstr("response=\"6629fae49393a05397450978507c4ef1\""));
  EXPECT_THAT(value, Not(HasSubstr("algorithm")));
}

/// What the rules of RFC 7616, 3.4, come to, step by step.
std::string expected(HashFunction function, const std::string& secret, const std::string& covered,
                     const std::string& protection) {
  const auto h = [&](const std::string& text) { return MessageDigest::hexOf(function, text); };
  return "response=\"" +
         h(secret + ":" + exampleNonce + ":00000001:" + exampleClientNonce + ":" + protection + ":" + h(covered)) +
         "\"";
}

TEST(DigestSessionTest, mixesTheNoncesIntoTheSecretOfASession) {
  for (const auto& [name, function] :
       {std::pair("MD5-sess", HashFunction::md5), std::pair("SHA-256-sess", HashFunction::sha256)}) {
    const std::string plain = MessageDigest::hexOf(function, "Mufasa:http-auth@example.org:Circle of Life");
    const std::string secret = MessageDigest::hexOf(function, plain + ":" + exampleNonce + ":" + exampleClientNonce);

    EXPECT_THAT(authorization(std::string("qop=auth, algorithm=") + name),
                AllOf(HasSubstr(std::string("algorithm=") + name),
                      HasSubstr(expected(function, secret, "GET:/dir/index.html", "auth"))));
  }
}

TEST(DigestSessionTest, coversTheBodyWhereNothingElseIsOffered) {
  const auto function = HashFunction::sha256;
  const std::string secret = MessageDigest::hexOf(function, "Mufasa:http-auth@example.org:Circle of Life");
  DigestSubject subject = exampleSubject();
  subject.bodyHash = MessageDigest::hexOf(function, "body");

  EXPECT_THAT(authorization("qop=\"auth-int\", algorithm=SHA-256", subject),
              AllOf(HasSubstr("qop=auth-int"),
                    HasSubstr(expected(function, secret, "GET:/dir/index.html:" + subject.bodyHash, "auth-int"))));
}

TEST(DigestSessionTest, countsTheUsesOfANonce) {
  DigestSession session(exampleUser(), challenge("qop=auth"), "c");

  EXPECT_THAT(session.authorization(exampleSubject()), HasSubstr("nc=00000001"));
  EXPECT_THAT(session.authorization(exampleSubject()), HasSubstr("nc=00000002"));
  session.useNonce("next");
  EXPECT_THAT(session.authorization(exampleSubject()), AllOf(HasSubstr("nonce=\"next\""), HasSubstr("nc=00000001")));
  session.useNonce("next");
  EXPECT_THAT(session.authorization(exampleSubject()), HasSubstr("nc=00000002"));
}

TEST(DigestSessionTest, hashesTheNameOfTheUserWhereTheServerWantsThat) {
  const std::string hash = MessageDigest::hexOf(HashFunction::sha256, "Mufasa:http-auth@example.org");

  EXPECT_THAT(
      authorization("qop=auth, algorithm=SHA-256, userhash=true"),
      AllOf(StartsWith("Digest username=\"" + hash + "\""), HasSubstr("userhash=true"), Not(HasSubstr("Mufasa"))));
}

TEST(DigestSessionTest, writesNamesOfAllLanguages) {
  const DigestUser user{.name = "J\u00E4s\u00F8n", .password = "p"};

  EXPECT_THAT(DigestSession(user, challenge("qop=auth, charset=UTF-8"), "c").authorization(exampleSubject()),
              StartsWith("Digest username*=UTF-8''J%C3%A4s%C3%B8n, "));
  EXPECT_THAT(DigestSession(user, challenge("qop=auth"), "c").authorization(exampleSubject()),
              StartsWith("Digest username=\"J\u00E4s\u00F8n\", "));
}

TEST(DigestSessionTest, escapesQuotationMarks) {
  const DigestUser user{.name = R"(a"b\c)", .password = "p"};

  EXPECT_THAT(DigestSession(user, challenge("qop=auth"), "c").authorization(exampleSubject()),
              StartsWith(R"(Digest username="a\"b\\c", )"));
}

TEST(DigestChallengeTest, isTheStrongestOfThoseOffered) {
  const auto best = DigestChallenge::strongest({R"(Digest realm=r, nonce=1, algorithm=MD5, Basic realm=r)",
                                                R"(Digest realm=r, nonce=2, algorithm=SHA-256)",
                                                R"(Digest realm=r, nonce=3, qop=auth, algorithm=SHA-256-sess)"});

  ASSERT_TRUE(best);
  EXPECT_EQ(best->nonce, "2");
}

TEST(DigestChallengeTest, leavesTheBodyAloneWhereThatCannotBeCovered) {
  const std::vector<std::string> fields = {R"(Digest realm=r, nonce=1, qop="auth-int", algorithm=SHA-256)",
                                           R"(Digest realm=r, nonce=2, qop="auth", algorithm=MD5)"};

  EXPECT_EQ(DigestChallenge::strongest(fields)->nonce, "1");
  EXPECT_EQ(DigestChallenge::strongest(fields, false)->nonce, "2");
  EXPECT_FALSE(DigestChallenge::strongest({fields[0]}, false));
}

TEST(DigestChallengeTest, isNoneOfThoseThatAreNotKnown) {
  EXPECT_FALSE(DigestChallenge::strongest({"Digest realm=r, nonce=n, algorithm=SHA-3"}));
  EXPECT_FALSE(DigestChallenge::strongest({"Digest realm=r, nonce=n, qop=token"}));
  EXPECT_FALSE(DigestChallenge::strongest({"Digest realm=r, nonce=n, algorithm=SHA-256-sess"}));
  EXPECT_FALSE(DigestChallenge::strongest({"Digest realm=r"}));
  EXPECT_FALSE(DigestChallenge::strongest({"Digest nonce=n"}));
  EXPECT_FALSE(DigestChallenge::strongest({"Basic realm=r", "Negotiate"}));
}

}  // namespace
}  // namespace platform::networking
