#include "Platform/Networking/Connecting/SOCKSHandshake.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace platform::networking {
namespace {

using namespace std::string_literals;
using State = ProxyHandshake::State;
using testing::HasSubstr;
using testing::Not;

class SOCKSHandshakeTest : public testing::Test {
 protected:
  /// What is to be written, and was not before.
  static std::string said(ProxyHandshake& handshake) {
    std::string all(handshake.unsent());
    handshake.sent(all.size());
    return all;
  }
  /// Hands over the bytes, as many at a time as are wanted. They end where it does.
  static State hear(ProxyHandshake& handshake, std::string_view bytes) {
    State state = State::talking;
    while (!bytes.empty() && state == State::talking) {
      const std::size_t count = std::min(bytes.size(), handshake.wanted());
      state = handshake.take(bytes.substr(0, count));
      bytes.remove_prefix(count);
    }
    EXPECT_TRUE(bytes.empty()) << bytes.size() << " bytes too many";
    return state;
  }
  /// Of a proxy that wants no credentials, after the request.
  Failure failureAfter(std::string_view reply) {
    SOCKSHandshake handshake(proxy, name);
    EXPECT_EQ(hear(handshake, "\5\0"s), State::talking);
    EXPECT_EQ(hear(handshake, reply), State::failed);
    return handshake.failure();
  }

  Proxy proxy{.kind = Proxy::Kind::socks5, .host = "socks.test", .port = 1080};
  const Origin name{.isSecure = true, .host = "example.test", .port = 0x1234};
};

TEST_F(SOCKSHandshakeTest, hasTheProxyResolveAName) {
  SOCKSHandshake handshake(proxy, name);

  EXPECT_EQ(said(handshake), "\5\1\0"s);
  EXPECT_EQ(hear(handshake, "\5\0"s), State::talking);
  EXPECT_EQ(said(handshake), "\5\1\0\3\x0C"s + "example.test" + "\x12\x34");
  EXPECT_EQ(hear(handshake, "\5\0\0\1\x7F\0\0\1\0\x50"s), State::open);
}

TEST_F(SOCKSHandshakeTest, sendsAddressesAsAddresses) {
  SOCKSHandshake four(proxy, {.isSecure = false, .host = "203.0.113.7", .port = 80});
  hear(four, "\5\0"s);
  SOCKSHandshake six(proxy, {.isSecure = false, .host = "2001:db8::7", .port = 80});
  hear(six, "\5\0"s);

  EXPECT_TRUE(said(four).ends_with("\5\1\0\1\xCB\0\x71\7\0\x50"s));
  EXPECT_TRUE(said(six).ends_with("\5\1\0\4\x20\1\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\7\0\x50"s));
}

TEST_F(SOCKSHandshakeTest, readsRepliesOfEveryTypeToTheByte) {
  for (const std::string& reply : {"\5\0\0\1"s + "4444" + "pp", "\5\0\0\4"s + "6666666666666666" + "pp",
                                   "\5\0\0\3\0"s + "pp", "\5\0\0\3\4"s + "name" + "pp"}) {
    SOCKSHandshake whole(proxy, name);
    SOCKSHandshake pieces(proxy, name);
    hear(whole, "\5\0"s);
    hear(pieces, "\5\0"s);

    EXPECT_EQ(hear(whole, reply), State::open);
    for (std::size_t i = 0; i + 1 < reply.size(); ++i) {
      EXPECT_EQ(pieces.take(reply.substr(i, 1)), State::talking);
      EXPECT_GT(pieces.wanted(), 0U);
    }
    EXPECT_EQ(pieces.take(reply.substr(reply.size() - 1)), State::open);
  }
}

TEST_F(SOCKSHandshakeTest, tellsItsUserWhereTheProxyAsks) {
  proxy.user = "ada";
  proxy.password = "secret";
  SOCKSHandshake handshake(proxy, name);

  EXPECT_EQ(said(handshake), "\5\2\0\2"s);
  EXPECT_EQ(hear(handshake, "\5\2"s), State::talking);
  EXPECT_EQ(said(handshake), "\1\3"s + "ada" + "\6secret");
  EXPECT_EQ(hear(handshake, "\1\0"s), State::talking);
  EXPECT_TRUE(said(handshake).starts_with("\5\1\0\3"s));
}

TEST_F(SOCKSHandshakeTest, tellsNobodyWhereTheProxyDoesNotAsk) {
  proxy.user = "ada";
  proxy.password = "secret";
  SOCKSHandshake handshake(proxy, name);
  said(handshake);

  EXPECT_EQ(hear(handshake, "\5\0"s), State::talking);
  EXPECT_THAT(said(handshake), Not(HasSubstr("secret")));
}

TEST_F(SOCKSHandshakeTest, saysThatTheCredentialsAreRefusedWithoutThePassword) {
  proxy.user = "ada";
  proxy.password = "secret";
  SOCKSHandshake handshake(proxy, name);
  hear(handshake, "\5\2"s);

  EXPECT_EQ(hear(handshake, "\1\1"s), State::failed);
  EXPECT_EQ(handshake.failure().cause, FailureCause::socksCredentialsRefused);
  EXPECT_EQ(handshake.failure().message,
            "the SOCKS proxy \"socks.test\", port 1080, refuses the user name or the password");
}

TEST_F(SOCKSHandshakeTest, failsWhereNoMethodIsLeft) {
  SOCKSHandshake without(proxy, name);
  EXPECT_EQ(hear(without, "\5\xFF"), State::failed);
  EXPECT_EQ(without.failure().cause, FailureCause::socksMethod);

  SOCKSHandshake unasked(proxy, name);
  EXPECT_EQ(hear(unasked, "\5\2"), State::failed);
  EXPECT_EQ(unasked.failure().cause, FailureCause::socksMethodUnknown);
}

TEST_F(SOCKSHandshakeTest, failsWhereTheProxySpeaksSomethingElse) {
  SOCKSHandshake handshake(proxy, name);
  EXPECT_EQ(hear(handshake, "HT"), State::failed);
  EXPECT_EQ(handshake.failure().cause, FailureCause::socksVersion);

  EXPECT_EQ(failureAfter("\4\0\0\1"s).cause, FailureCause::socksVersion);
  EXPECT_EQ(failureAfter("\5\0\0\2"s).cause, FailureCause::socksAddress);
}

TEST_F(SOCKSHandshakeTest, hasASentenceOfItsOwnForEachRefusal) {
  std::set<std::string> sentences;
  for (char reply = 1; reply <= 9; ++reply) {
    const Failure failure = failureAfter("\5"s + reply + "\0\1"s);
    EXPECT_THAT(failure.message, HasSubstr("\"socks.test\", port 1080"));
    sentences.insert(failure.message);
  }
  EXPECT_EQ(sentences.size(), 9U);
  EXPECT_EQ(failureAfter("\5\5\0\1"s).cause, FailureCause::cannotConnect);
  EXPECT_EQ(failureAfter("\5\2\0\1"s).cause, FailureCause::socksFailed);
}

TEST_F(SOCKSHandshakeTest, cannotCarryANameThatIsTooLong) {
  SOCKSHandshake handshake(proxy, {.isSecure = true, .host = std::string(256, 'a'), .port = 443});

  EXPECT_EQ(hear(handshake, "\5\0"s), State::failed);
  EXPECT_EQ(handshake.failure().cause, FailureCause::nameNotFound);
}

}  // namespace
}  // namespace platform::networking
