#include "SecurePeer.hpp"

/// What exchanges tell of HTTP/2 connections.
namespace platform::networking {
namespace {

class ExchangeMetricsTest : public SecurePoolTest {
 protected:
  ~ExchangeMetricsTest() override {
    for (PooledGet* get : {&first, &second}) pool.withdraw(get->exchange);
  }

  PooledGet first{pool};
  PooledGet second{pool};
};

TEST_F(ExchangeMetricsTest, tellOfTheConnectionThatTwoShare) {
  submit(first);
  submit(second);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));
  respond(server, 0, "one");
  respond(server, 1, "two");
  ASSERT_TRUE(runAll([&] { return first.isOver() && second.isOver(); }));

  const ExchangeMetrics& maker = first.exchange.metrics();
  const ExchangeMetrics& sharer = second.exchange.metrics();
  EXPECT_EQ(maker.connection, sharer.connection);
  EXPECT_EQ(maker.connection->protocol, "h2");
  EXPECT_EQ(maker.connection->tlsVersion, "TLSv1.3");
  EXPECT_NE(maker.connecting.secured, TimePoint());
  EXPECT_FALSE(maker.isConnectionReused);
  EXPECT_EQ(sharer.connecting.secured, TimePoint());
  EXPECT_TRUE(sharer.isConnectionReused);
}

TEST_F(ExchangeMetricsTest, countTheBytesOfCompressedHeads) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  respond(server, 0, "one");
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));

  const ExchangeMetrics& metrics = first.exchange.metrics();
  constexpr std::uint64_t frameHeader = 9;
  EXPECT_GT(metrics.headBytesSent, frameHeader);
  EXPECT_GT(metrics.headBytesReceived, frameHeader);
  EXPECT_EQ(metrics.bodyBytesReceived, 3U);
  EXPECT_LE(metrics.begun, metrics.requestBegun);
  EXPECT_LE(metrics.requestBegun, metrics.requestEnded);
  EXPECT_LE(metrics.requestEnded, metrics.headReceived);
  EXPECT_LE(metrics.headReceived, metrics.ended);
}

TEST_F(ExchangeMetricsTest, keepTheAttemptThatTheServerDidNotProcess) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  submit(second);
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));
  server.http().goAway(server.http().request(0).id);
  SecurePeer& other = nextPeer();
  ASSERT_TRUE(runAll([&] { return other.requestCount() == 1; }));
  respond(other, 0);
  ASSERT_TRUE(runAll([&] { return second.isOver(); }));

  ASSERT_EQ(second.exchange.failedAttempts().size(), 1U);
  const FailedAttempt& attempt = second.exchange.failedAttempts().front();
  EXPECT_TRUE(attempt.wasNotProcessed);
  EXPECT_EQ(attempt.metrics.headReceived, TimePoint());
  EXPECT_NE(attempt.metrics.connection, second.exchange.metrics().connection);
  EXPECT_EQ(attempt.metrics.ended, second.exchange.metrics().begun);
}

TEST_F(ExchangeMetricsTest, countTheBytesOfABodyThatNobodyWants) {
  first.disposition = BodyDisposition::discard;
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  respond(server, 0, "moved");
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));

  EXPECT_EQ(first.body, "");
  EXPECT_EQ(first.exchange.metrics().bodyBytesReceived, 5U);
}

TEST_F(ExchangeMetricsTest, stayAsTheyAreWhenAnotherInheritsTheConnection) {
  std::shared_ptr<const TrustQuery> asked;
  challenge = [&](const auto& query) { asked = query; };
  submit(first);
  submit(second);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return asked != nullptr; }));
  pool.withdraw(first.exchange);
  const auto told = first.exchange.metrics().connection;
  ASSERT_TRUE(told);
  const ConnectionMetrics before = *told;

  pool.decide(asked, std::nullopt);
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  respond(server, 0);
  ASSERT_TRUE(runAll([&] { return second.isOver(); }));

  EXPECT_EQ(before.remoteAddress.port, peer.port());
  EXPECT_TRUE(*told == before);
  EXPECT_EQ(second.exchange.metrics().connection->tlsVersion, "TLSv1.3");
}

}  // namespace
}  // namespace platform::networking
