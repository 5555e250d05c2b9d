#include "Platform/Networking/Authentication/AuthenticationChallenge.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform::networking {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<AuthenticationChallenge> parsed(std::string_view field) { return AuthenticationChallenge::parse(field); }

TEST(AuthenticationChallengeTest, readsASchemeWithParameters) {
  const auto found = parsed(R"(Digest realm="a \"b\", c", Nonce=abc , stale = FALSE)");

  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].scheme, "digest");
  EXPECT_THAT(found[0].parameters,
              ElementsAre(Pair("realm", "a \"b\", c"), Pair("nonce", "abc"), Pair("stale", "FALSE")));
}

TEST(AuthenticationChallengeTest, readsSeveralChallengesInOneField) {
  const auto found = parsed(R"(Basic realm="one", , Digest realm=two,nonce="n", Negotiate, Bearer)");

  ASSERT_EQ(found.size(), 4u);
  EXPECT_EQ(found[0].scheme, "basic");
  EXPECT_EQ(*found[0].parameter("realm"), "one");
  EXPECT_EQ(*found[1].parameter("nonce"), "n");
  EXPECT_EQ(found[2].scheme, "negotiate");
  EXPECT_EQ(found[3].scheme, "bearer");
}

TEST(AuthenticationChallengeTest, passesOverCredentialsInOneWord) {
  const auto found = parsed(R"(NTLM TlRMTVNTUAAC+/A==, Negotiate abc=, Digest realm="r", nonce="n")");

  ASSERT_EQ(found.size(), 3u);
  EXPECT_THAT(found[0].parameters, IsEmpty());
  EXPECT_THAT(found[1].parameters, IsEmpty());
  EXPECT_EQ(*found[2].parameter("realm"), "r");
}

TEST(AuthenticationChallengeTest, leavesOutAStringWithoutAnEnd) {
  EXPECT_THAT(parsed(R"(Digest realm="never ends, nonce=n)"), IsEmpty());
  EXPECT_THAT(parsed(R"(Digest realm="ends in an escape\)"), IsEmpty());
}

TEST(AuthenticationChallengeTest, readsOnAfterWhatItCannotRead) {
  const auto found = parsed(R"(=, ;;;, Digest realm=, @@ "a, b" , nonce="n", Basic realm="x")");

  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(*found[0].parameter("nonce"), "n");
  EXPECT_EQ(found[0].parameter("realm"), nullptr);
  EXPECT_EQ(*found[1].parameter("realm"), "x");
}

TEST(AuthenticationChallengeTest, beginsWithASchemeOnlyAfterAComma) {
  const auto found = parsed(R"(Digest realm="x" foo, nonce="y")");

  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(*found[0].parameter("nonce"), "y");
}

TEST(AuthenticationChallengeTest, findsNothingInNothing) {
  EXPECT_THAT(parsed(""), IsEmpty());
  EXPECT_THAT(parsed(" ,, "), IsEmpty());
  EXPECT_THAT(parsed("realm=\"without a scheme\""), IsEmpty());
}

TEST(AuthenticationChallengeTest, endsForEveryBeginningOfAField) {
  const std::string field = R"(Digest realm="a\"b", nonce=n, x="y", NTLM abc==, Basic realm="c")";

  for (std::size_t length = 0; length <= field.size(); ++length)
    EXPECT_LE(parsed(field.substr(0, length)).size(), 3u) << length;
}

TEST(AuthenticationChallengeTest, readsParametersWithoutAScheme) {
  const auto found = AuthenticationChallenge::ofParameters(R"(nextnonce="n2", qop=auth)");

  EXPECT_EQ(*found.parameter("nextnonce"), "n2");
  EXPECT_EQ(*found.parameter("qop"), "auth");
}

}  // namespace
}  // namespace platform::networking
