#include <memory>
#include <string>

#include "SecurePeer.hpp"

/// Limits of a pool whose connections carry several exchanges.
namespace platform::networking {
namespace {

using namespace std::chrono_literals;

class LimitedSharedConnectionTest : public SecurePoolTest {
 protected:
  void limit(ConnectionOptions options) {
    limited = std::make_unique<ConnectionPool>(
        loop, resolver, TLSContext::make(), [this](const auto& query) { limited->decide(query, std::nullopt); },
        std::move(options));
  }
  void send(PooledGet& get, const Peer& host, bool isSecure, Duration idleTimeout = timeout) {
    limited->submit(get.exchange, {.origin = {.isSecure = isSecure, .host = "127.0.0.1", .port = host.port()}},
                    idleTimeout, 0);
  }

  Peer other;
  std::unique_ptr<ConnectionPool> limited;
};

TEST_F(LimitedSharedConnectionTest, givesItsConnectionUpForAHostThatHasNone) {
  ConnectionOptions options;
  options.maximumConnections = 1;
  limit(std::move(options));
  PooledGet first(*limited);
  PooledGet second(*limited);
  PooledGet third(*limited);
  PooledGet waiting(*limited);
  send(first, peer, true);
  send(second, peer, true);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));
  send(waiting, other, false);

  respond(server, 0, "one");
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));
  send(third, peer, true);
  EXPECT_EQ(other.accept(), nullptr);
  respond(server, 1, "two");
  ASSERT_TRUE(runAll([&] { return second.isOver(); }));
  EXPECT_EQ(second.body, "two");

  std::unique_ptr<PeerConnection> plain;
  ASSERT_TRUE(runAll([&] { return plain || (plain = other.accept()); }));
  EXPECT_TRUE(server.hasEnded());
  EXPECT_EQ(peer.accept(), nullptr);
  ASSERT_TRUE(runAll([&] { return !plain->received().empty(); }));
  plain->write("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfine");
  ASSERT_TRUE(runAll([&] { return waiting.isOver(); }));

  SecurePeer& again = nextPeer();
  ASSERT_TRUE(runAll([&] { return again.requestCount() == 1; }));
  respond(again, 0);
  ASSERT_TRUE(runAll([&] { return third.isOver(); }));
  EXPECT_FALSE(third.problem);
}

TEST_F(LimitedSharedConnectionTest, movesNoMoreBytesThanItMay) {
  ConnectionOptions options;
  options.bytesPerSecond = 1000;
  limit(std::move(options));
  PooledGet get(*limited);
  send(get, peer, true, 30s);
  SecurePeer& server = nextPeer();
  for (int step = 0; step < 1000 && server.requestCount() == 0; ++step) {
    ASSERT_TRUE(runAll([] { return true; }));
    pass(10ms);
  }
  ASSERT_EQ(server.requestCount(), 1U);
  respond(server, 0, std::string(5000, 'x'));
  const TimePoint begun = loop.now();
  while (!get.isOver() && loop.now() - begun < 10s) {
    ASSERT_TRUE(runAll([] { return true; }));
    pass(10ms);
  }

  ASSERT_TRUE(get.isOver());
  EXPECT_FALSE(get.problem);
  EXPECT_EQ(get.body.size(), 5000U);
  EXPECT_GT(loop.now() - begun, 4800ms);
}

}  // namespace
}  // namespace platform::networking
