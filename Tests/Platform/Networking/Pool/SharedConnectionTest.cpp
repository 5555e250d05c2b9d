#include <nghttp2/nghttp2.h>

#include "Platform/Networking/Pool/HostConnections.hpp"
#include "SecurePeer.hpp"

/// Hosts whose connections carry several exchanges.
namespace platform::networking {
namespace {

using namespace std::chrono_literals;

class SharedConnectionTest : public SecurePoolTest {
 protected:
  ~SharedConnectionTest() override {
    for (PooledGet* get : {&first, &second, &third}) pool.withdraw(get->exchange);
  }

  PooledGet first{pool};
  PooledGet second{pool};
  PooledGet third{pool};
};

TEST_F(SharedConnectionTest, oneConnectionServesAll) {
  submit(first);
  submit(second);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));
  respond(server, 0, "one");
  respond(server, 1, "two");

  ASSERT_TRUE(runAll([&] { return first.isOver() && second.isOver(); }));
  EXPECT_EQ(first.body + second.body, "onetwo");
  EXPECT_EQ(peer.accept(), nullptr);
}

TEST_F(SharedConnectionTest, whatAServerThatGoesAwayRefusesGetsAnotherConnectionAtOnce) {
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
  EXPECT_EQ(second.body, "fine");
  EXPECT_FALSE(first.isOver());
}

TEST_F(SharedConnectionTest, whatIsSubmittedAtTheEndOfAnotherIsNotHeldUpByAConnectionThatDrains) {
  submit(first);
  submit(second);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));
  server.http().goAway(server.http().request(1).id);
  first.then = [&] { submit(third); };
  server.turn();
  iterate();

  respond(server, 0);
  SecurePeer& other = nextPeer();
  ASSERT_TRUE(runAll([&] { return other.requestCount() == 1; }));

  EXPECT_TRUE(first.isOver());
  EXPECT_FALSE(second.isOver());
}

TEST_F(SharedConnectionTest, anotherOneIsMadeWhereNoRoomComesForSeconds) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  server.http().announceStreamLimit(0);
  respond(server, 0);
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));

  submit(second);
  submit(third);
  pass(HostConnections::roomPatience - 1ms);
  EXPECT_EQ(peer.accept(), nullptr);
  pass(1ms);

  SecurePeer& other = nextPeer();
  ASSERT_TRUE(runAll([&] { return other.requestCount() == 2; }));
  EXPECT_EQ(peer.accept(), nullptr);
}

TEST_F(SharedConnectionTest, waitingForRoomCountsAgainstNoTimeout) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  server.http().announceStreamLimit(1);
  server.http().begin(server.http().request(0).id, {{":status", "200"}});
  ASSERT_TRUE(runAll([&] { return first.status == 200; }));

  submit(second, 2s);
  pass(4s);
  EXPECT_FALSE(second.isOver());
  server.http().write(server.http().request(0).id, "", true);
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));

  EXPECT_FALSE(second.isOver());
  pass(2s);
  ASSERT_TRUE(second.problem);
  EXPECT_EQ(second.problem->kind, ExchangeProblem::Kind::timedOut);
}

TEST_F(SharedConnectionTest, oneThatIsBeingMadeOutlivesWhoHasTheLeastTimeForIt) {
  first.exchange.setConnectTimeout(HostConnections::patience - 100ms);
  second.exchange.setConnectTimeout(10s);
  submit(first);
  submit(second);
  const std::unique_ptr<PeerConnection> connecting = nextConnection(false);

  pass(HostConnections::patience - 100ms);

  ASSERT_TRUE(first.problem);
  EXPECT_EQ(first.problem->kind, ExchangeProblem::Kind::connectTimedOut);
  EXPECT_FALSE(second.isOver());
  EXPECT_FALSE(connecting->hasEnded());
  pass(10s);
  ASSERT_TRUE(second.problem);
  EXPECT_EQ(second.problem->kind, ExchangeProblem::Kind::connectTimedOut);
}

TEST_F(SharedConnectionTest, aSilentConnectionOnWhichAnExchangeTimedOutIsNotUsedAgain) {
  submit(first);
  SecurePeer& silent = nextPeer();
  ASSERT_TRUE(runAll([&] { return silent.requestCount() == 1; }));
  respond(silent, 0);
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));
  clock.advance(1s);
  submit(second, 10s);
  ASSERT_TRUE(run([&] { return second.exchange.requestWasSent(); }));

  pass(10s);
  EXPECT_TRUE(second.isOver());
  submit(third);
  SecurePeer& other = nextPeer();

  ASSERT_TRUE(runAll([&] { return other.requestCount() == 1; }));
}

TEST_F(SharedConnectionTest, aStreamThatTheServerResetsIsNotRepeated) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  submit(second);
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));

  server.http().reset(server.http().request(1).id, NGHTTP2_INTERNAL_ERROR);
  ASSERT_TRUE(runAll([&] { return second.isOver(); }));

  ASSERT_TRUE(second.problem);
  EXPECT_EQ(second.problem->failure.cause, FailureCause::streamReset);
  EXPECT_EQ(second.exchange.metrics().attempts, 1);
  EXPECT_EQ(peer.accept(), nullptr);
}

TEST_F(SharedConnectionTest, whatABrokenConnectionCarriedSharesTheNextOne) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  respond(server, 0);
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));
  submit(second);
  submit(third);
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 3; }));

  server.drop();
  SecurePeer& other = nextPeer();
  ASSERT_TRUE(runAll([&] { return other.requestCount() == 2; }));
  respond(other, 0);
  respond(other, 1);

  ASSERT_TRUE(runAll([&] { return second.isOver() && third.isOver(); }));
  EXPECT_EQ(second.body + third.body, "finefine");
  EXPECT_EQ(peer.accept(), nullptr);
}

TEST_F(SharedConnectionTest, anIdleConnectionEndsAfterItsLifetime) {
  submit(first);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 1; }));
  server.http().announceStreamLimit(10);
  respond(server, 0);
  ASSERT_TRUE(runAll([&] { return first.isOver(); }));

  pass(ConnectionOptions().idleLifetime - 1ms);
  EXPECT_FALSE(server.hasEnded());
  pass(1ms);

  EXPECT_TRUE(runAll([&] { return server.hasEnded(); }));
}

}  // namespace
}  // namespace platform::networking
