#include "Platform/Networking/Connecting/ConnectHandshake.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "Platform/Networking/Authentication/ProxyDigest.hpp"

namespace platform::networking {
namespace {

using State = ProxyHandshake::State;
using testing::HasSubstr;
using testing::Not;

class ConnectHandshakeTest : public testing::Test {
 protected:
  State hear(std::string_view response) {
    handshake.emplace(proxy, origin);
    return handshake->take(response);
  }
  const Failure& failure() const { return handshake->failure(); }

  Proxy proxy{.kind = Proxy::Kind::http, .host = "proxy.test", .port = 3128};
  Origin origin{.isSecure = true, .host = "example.test", .port = 443};
  std::optional<ConnectHandshake> handshake;
};

TEST_F(ConnectHandshakeTest, asksForATunnelToHostAndPort) {
  EXPECT_EQ(ConnectHandshake(proxy, origin).unsent(),
            "CONNECT example.test:443 HTTP/1.1\r\nHost: example.test:443\r\n\r\n");
  origin.host = "2001:db8::7";
  proxy.authorization = "Basic YTpi";
  EXPECT_EQ(ConnectHandshake(proxy, origin).unsent(),
            "CONNECT [2001:db8::7]:443 HTTP/1.1\r\nHost: [2001:db8::7]:443\r\nProxy-Authorization: Basic YTpi\r\n\r\n");
}

TEST_F(ConnectHandshakeTest, isOpenedByAnySuccessWhateverItsFieldsSay) {
  EXPECT_EQ(hear("HTTP/1.1 200 Connection established\r\n\r\n"), State::open);
  EXPECT_EQ(hear("HTTP/1.0 299 x\r\nContent-Length: 12\r\n\r\n"), State::open);
  EXPECT_EQ(hear("HTTP/1.1 200\r\nTransfer-Encoding: chunked\r\n\r\n"), State::open);
  EXPECT_EQ(hear("HTTP/1.1 200\r\nTransfer-Encoding: identity\r\n\r\n"), State::open);
  EXPECT_EQ(hear("HTTP/1.1 200\r\nContent-Length: 1\r\nContent-Length: two\r\n\r\n"), State::open);
  EXPECT_EQ(hear("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n\r\n"), State::open);
}

TEST_F(ConnectHandshakeTest, isOpenedByAResponseThatComesByteByByte) {
  const std::string response = "HTTP/1.1 103 Hints\r\nLink: a\r\n\r\nHTTP/1.1 200 OK\r\nVia: 1.1 p\r\n\r\n";
  handshake.emplace(proxy, origin);
  for (std::size_t i = 0; i + 1 < response.size(); ++i) {
    ASSERT_EQ(handshake->take(response.substr(i, 1)), State::talking) << i;
  }
  EXPECT_EQ(handshake->take(response.substr(response.size() - 1)), State::open);
}

TEST_F(ConnectHandshakeTest, refusesBytesThatNobodyCanHaveAskedFor) {
  EXPECT_EQ(hear("HTTP/1.1 200 OK\r\n\r\nHTTP/1.1 200 OK"), State::failed);
  EXPECT_EQ(failure().cause, FailureCause::tunnelRefused);
  EXPECT_THAT(failure().message, HasSubstr("15 bytes"));
}

TEST_F(ConnectHandshakeTest, leavesTheServersBytesAloneWhereItMaySpeakFirst) {
  origin.isSecure = false;
  EXPECT_EQ(ConnectHandshake(proxy, origin).wanted(), 1U);
}

TEST_F(ConnectHandshakeTest, saysHowTheProxyRefuses) {
  EXPECT_EQ(hear("HTTP/1.1 403 Not \x01this one\r\nContent-Length: 2\r\n\r\nno"), State::failed);
  EXPECT_EQ(failure().cause, FailureCause::tunnelRefused);
  EXPECT_EQ(failure().message,
            "the HTTP proxy \"proxy.test\", port 3128, refuses a tunnel to \"example.test\", port 443: "
            "403 Not \\x01this one");
}

TEST_F(ConnectHandshakeTest, tellsARefusalForTheMomentFromOneThatLasts) {
  for (const char* status : {"408", "429", "502", "503", "504"}) {
    EXPECT_EQ(hear("HTTP/1.1 " + std::string(status) + " x\r\n\r\n"), State::failed);
    EXPECT_EQ(failure().cause, FailureCause::tunnelUnavailable) << status;
    EXPECT_THAT(failure().message, HasSubstr(std::string(status) + " x"));
  }
  for (const char* status : {"302", "403", "404", "500", "501", "505", "600"}) {
    EXPECT_EQ(hear("HTTP/1.1 " + std::string(status) + "\r\nTransfer-Encoding: x\r\n\r\n"), State::failed);
    EXPECT_EQ(failure().cause, FailureCause::tunnelRefused) << status;
    EXPECT_THAT(failure().message, HasSubstr(status));
  }
}

TEST_F(ConnectHandshakeTest, asksForCredentialsOrSaysThatTheyAreRefused) {
  const std::string_view response = "HTTP/1.1 407 Authenticate\r\nProxy-Authenticate: Basic realm=\"p\"\r\n\r\n";
  EXPECT_EQ(hear(response), State::failed);
  EXPECT_EQ(failure().cause, FailureCause::proxyCredentialsRefused);
  EXPECT_THAT(failure().message, HasSubstr("asks for a user name"));

  proxy.authorization = "Basic c2VjcmV0";
  EXPECT_EQ(hear(response), State::failed);
  EXPECT_THAT(failure().message, HasSubstr("refuses the user name or the password"));
  EXPECT_THAT(failure().message, Not(HasSubstr("c2VjcmV0")));
}

TEST_F(ConnectHandshakeTest, saysThatTheProxyTakesNoBasicAuthentication) {
  proxy.authorization = "Basic c2VjcmV0";
  EXPECT_EQ(hear("HTTP/1.1 407 x\r\nProxy-Authenticate: Digest realm=\"p\", nonce=\"n\"\r\n\r\n"), State::failed);
  EXPECT_EQ(failure().cause, FailureCause::proxyCredentialsRefused);
  EXPECT_THAT(failure().message, HasSubstr("does not take Basic authentication, but asks for: digest"));
}

/// A proxy that asks for a digest.
class DigestConnectHandshakeTest : public ConnectHandshakeTest {
 protected:
  DigestConnectHandshakeTest() {
    proxy.digest = std::make_shared<ProxyDigest>(DigestUser{.name = "ada", .password = "secret"});
  }

  State refuse(const std::string& challenge, unsigned challenges = 0) {
    handshake.emplace(proxy, origin, challenges);
    return handshake->take("HTTP/1.1 407 x\r\nProxy-Authenticate: " + challenge + "\r\nContent-Length: 900\r\n\r\n");
  }
};

TEST_F(DigestConnectHandshakeTest, saysNothingOfTheUserBeforeItIsAsked) {
  EXPECT_EQ(ConnectHandshake(proxy, origin).unsent(),
            "CONNECT example.test:443 HTTP/1.1\r\nHost: example.test:443\r\n\r\n");
  EXPECT_EQ(refuse("Basic realm=\"p\""), State::failed);
  EXPECT_EQ(failure().cause, FailureCause::proxyCredentialsRefused);
  EXPECT_THAT(failure().message, HasSubstr("does not ask for a Digest that is supported, but for: basic"));
}

TEST_F(DigestConnectHandshakeTest, isAskedOnceAndCountsFromThenOn) {
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"n\", qop=\"auth\""), State::challenged);
  const std::string first(ConnectHandshake(proxy, origin, 1).unsent());
  EXPECT_THAT(first, testing::AllOf(HasSubstr("Proxy-Authorization: Digest username=\"ada\""), HasSubstr("nc=00000001"),
                                    HasSubstr("uri=\"example.test:443\""), Not(HasSubstr("secret"))));
  handshake.emplace(proxy, origin);
  EXPECT_THAT(std::string(handshake->unsent()), HasSubstr("nc=00000002"));

  EXPECT_EQ(handshake->take("HTTP/1.1 200 OK\r\nProxy-Authentication-Info: nextnonce=\"other\"\r\n\r\n"), State::open);
  EXPECT_THAT(std::string(ConnectHandshake(proxy, origin).unsent()),
              testing::AllOf(HasSubstr("nonce=\"other\""), HasSubstr("nc=00000001")));
}

TEST_F(DigestConnectHandshakeTest, triesAgainWhereTheNonceIsStaleAndNotWithoutEnd) {
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"a\""), State::challenged);
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"b\", stale=true", 1), State::challenged);
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"c\"", 2), State::failed);
  EXPECT_THAT(failure().message, HasSubstr("refuses the user name or the password"));
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"d\", stale=true", ProxyDigest::mostChallenges), State::failed);
}

TEST_F(DigestConnectHandshakeTest, takesTheChallengeToAnOlderNonceForNoRefusal) {
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"a\""), State::challenged);
  handshake.emplace(proxy, origin, 1);  // with "a"
  ConnectHandshake other(proxy, origin);
  EXPECT_EQ(other.take("HTTP/1.1 407 x\r\nProxy-Authenticate: Digest realm=\"p\", nonce=\"b\", stale=true\r\n\r\n"),
            State::challenged);

  EXPECT_EQ(handshake->take("HTTP/1.1 407 x\r\nProxy-Authenticate: Digest realm=\"p\", nonce=\"c\"\r\n\r\n"),
            State::challenged);
}

TEST_F(DigestConnectHandshakeTest, coversTheBodyThatATunnelDoesNotHave) {
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"a\", qop=\"auth-int\""), State::challenged);
  EXPECT_THAT(std::string(ConnectHandshake(proxy, origin, 1).unsent()), HasSubstr("qop=auth-int"));
  EXPECT_EQ(refuse("Digest realm=\"p\", nonce=\"a\", algorithm=SHA-1"), State::failed);
  EXPECT_THAT(failure().message, HasSubstr("but for: digest"));
}

TEST_F(ConnectHandshakeTest, refusesWhatIsNoHTTP) {
  for (const char* response : {"SSH-2.0-x\r\n", "HTTP/2 200\r\n\r\n", "HTTP/1.1 200 OK\r\nA : b\r\n\r\n",
                               "HTTP/1.1 101 Switching\r\n\r\n", "HTTP/1.1 099 x\r\n\r\n"}) {
    EXPECT_EQ(hear(response), State::failed) << response;
    EXPECT_EQ(failure().cause, FailureCause::tunnelRefused);
  }
}

TEST_F(ConnectHandshakeTest, readsNoHeadWithoutEnd) {
  handshake.emplace(proxy, origin);
  State state = handshake->take("HTTP/1.1 200 OK\r\n");
  std::size_t taken = 0;
  for (taken = 0; state == State::talking && taken <= 2 * ConnectHandshake::maximumBytes; taken += 100) {
    state = handshake->take("A: " + std::string(95, 'b') + "\r\n");
  }
  EXPECT_EQ(state, State::failed);
  EXPECT_LE(taken, ConnectHandshake::maximumBytes + 200);
  EXPECT_THAT(failure().message, HasSubstr("without end"));
}

}  // namespace
}  // namespace platform::networking
