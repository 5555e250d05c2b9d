#include "Platform/Networking/Connecting/TLSContext.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <string>

#include "TestSupport/TemporaryDirectory.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;

/// Sessions that a handshake would leave.
class TLSContextTest : public testing::Test {
 protected:
  static Origin origin(int number) {
    return {.isSecure = true, .host = "host" + std::to_string(number) + ".test", .port = 443};
  }
  /// One that can be resumed: OpenSSL wants a name for it, or a ticket.
  static TLSContext::Session session(int version) {
    TLSContext::Session made(SSL_SESSION_new());
    const unsigned char name[] = "session";
    EXPECT_EQ(SSL_SESSION_set1_id(made.get(), name, sizeof name), 1);
    EXPECT_EQ(SSL_SESSION_set_protocol_version(made.get(), version), 1);
    return made;
  }
  void keep(int number, int version = TLS1_3_VERSION) {
    context->keepSession(origin(number), context->trustEpoch(), session(version), now);
  }

  const std::shared_ptr<TLSContext> context = TLSContext::make();
  const TimePoint now{1h};
};

TEST_F(TLSContextTest, givesASessionOfTLS13Once) {
  keep(1);

  EXPECT_NE(context->takeSession(origin(1), now), nullptr);
  EXPECT_EQ(context->takeSession(origin(1), now), nullptr);
}

TEST_F(TLSContextTest, givesASessionOfTLS12AgainAndAgain) {
  keep(1, TLS1_2_VERSION);

  EXPECT_NE(context->takeSession(origin(1), now), nullptr);
  EXPECT_NE(context->takeSession(origin(1), now), nullptr);
}

TEST_F(TLSContextTest, tellsOriginsApart) {
  keep(1);

  EXPECT_EQ(context->takeSession(origin(2), now), nullptr);
  Origin otherPort = origin(1);
  otherPort.port = 8443;
  EXPECT_EQ(context->takeSession(otherPort, now), nullptr);
}

TEST_F(TLSContextTest, keepsASessionForAnHour) {
  keep(1);
  keep(2);

  EXPECT_NE(context->takeSession(origin(1), now + 59min), nullptr);
  EXPECT_EQ(context->takeSession(origin(2), now + 60min), nullptr);
  EXPECT_EQ(context->sessionCount(), 0U);
}

TEST_F(TLSContextTest, keepsAFewOfEachOrigin) {
  for (int i = 0; i < 20; ++i) keep(1);
  keep(2);

  EXPECT_EQ(context->sessionCount(), TLSContext::mostSessionsOfOrigin + 1);
}

TEST_F(TLSContextTest, keepsABoundedNumberOfWhichTheOldestGoes) {
  for (int i = 0; i <= static_cast<int>(TLSContext::mostSessions); ++i) keep(i);

  EXPECT_EQ(context->sessionCount(), TLSContext::mostSessions);
  EXPECT_EQ(context->takeSession(origin(0), now), nullptr);
  EXPECT_NE(context->takeSession(origin(1), now), nullptr);
}

TEST_F(TLSContextTest, forgetsSessionsAndThoseOfHandshakesUnderWay) {
  keep(1);
  const std::uint64_t before = context->trustEpoch();

  context->forget();
  EXPECT_EQ(context->sessionCount(), 0U);
  context->keepSession(origin(1), before, session(TLS1_3_VERSION), now);

  EXPECT_EQ(context->sessionCount(), 0U);
}

/// The highest version of a context that is made where the environment asks for another; 0 is none.
int highestVersionBesideTheEnvironment() {
  const corvane::testkit::TemporaryDirectory directory;
  const std::string path = directory.write("openssl.cnf",
                                           "openssl_conf = all\n[all]\nssl_conf = ssl\n[ssl]\nsystem_default = tls\n"
                                           "[tls]\nMaxProtocol = TLSv1.2\n");
  setenv("OPENSSL_CONF", path.c_str(), 1);
  const auto made = TLSContext::make();
  return static_cast<int>(SSL_CTX_get_max_proto_version(made->handle()));
}

TEST(TLSConfigurationDeathTest, isNotReadFromWhereTheEnvironmentSays) {
  // In a process that has used OpenSSL for nothing yet.
  EXPECT_EXIT(std::_Exit(highestVersionBesideTheEnvironment() == 0 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(TLSContextTest, speaksTLS12AndLater) {
  EXPECT_EQ(SSL_CTX_get_min_proto_version(context->handle()), TLS1_2_VERSION);
}

}  // namespace
}  // namespace platform::networking
