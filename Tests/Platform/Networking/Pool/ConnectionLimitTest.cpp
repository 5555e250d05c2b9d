#include <algorithm>
#include <memory>
#include <vector>

#include "PoolHarness.hpp"

/// A limit of connections in all, which several hosts share.
namespace platform::networking {
namespace {

using namespace std::chrono_literals;

/// A host that responds to every request, at once or when it is told to.
class Host {
 public:
  std::uint16_t port() const { return peer_.port(); }

  /// Takes what came. How many connections are open.
  std::size_t look() {
    while (auto next = peer_.accept()) {
      connections_.push_back({.peer = std::move(next)});
      ++accepted;
    }
    std::erase_if(connections_, [](Connection& each) { return each.peer->hasEnded(); });
    return connections_.size();
  }
  /// Responds to what was asked. How many requests that were.
  int respond() {
    int count = 0;
    for (Connection& each : connections_) {
      for (const int asked = requests(each.peer->received()); each.responses < asked; ++each.responses, ++count) {
        each.peer->write("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfine");
      }
    }
    return count;
  }
  /// The requests that have no response yet.
  int unanswered() {
    int count = 0;
    for (Connection& each : connections_) count += requests(each.peer->received()) - each.responses;
    return count;
  }

  int accepted = 0;

 private:
  struct Connection {
    std::unique_ptr<PeerConnection> peer;
    int responses = 0;
  };

  static int requests(const std::string& received) {
    int count = 0;
    for (std::size_t at = 0; (at = received.find("\r\n\r\n", at)) != std::string::npos; at += 4) ++count;
    return count;
  }

  Peer peer_;
  std::vector<Connection> connections_;
};

class ConnectionLimitTest : public ConnectionPoolTest {
 protected:
  void limit(std::size_t connections) {
    ConnectionOptions options;
    options.maximumConnections = connections;
    limited =
        std::make_unique<ConnectionPool>(loop, resolver, TLSContext::make(), [](const auto&) {}, std::move(options));
  }
  PooledGet& get(Host& host, Duration idleTimeout = timeout) {
    PooledGet& made = *gets.emplace_back(std::make_unique<PooledGet>(*limited));
    limited->submit(made.exchange, {.origin = {.isSecure = false, .host = "127.0.0.1", .port = host.port()}},
                    idleTimeout, 0);
    return made;
  }
  std::size_t look() {
    const std::size_t open = one.look() + two.look() + three.look();
    most = std::max(most, open);
    return open;
  }
  bool awaitRequest(Host& host) {
    return run([&] { return look() > 0 && host.unanswered() > 0; });
  }
  bool awaitEnd(const PooledGet& get) {
    return run([&] { return look() < 1000 && get.isOver(); });
  }

  Host one;
  Host two;
  Host three;
  std::size_t most = 0;
  std::unique_ptr<ConnectionPool> limited;
  std::vector<std::unique_ptr<PooledGet>> gets;
};

TEST_F(ConnectionLimitTest, holdsForManyRequestsToSeveralHosts) {
  limit(4);
  for (int count = 0; count < 200; ++count) get(count % 4 == 0 ? one : count % 4 == 1 ? two : three);

  ASSERT_TRUE(run([&] {
    look();
    one.respond();
    two.respond();
    three.respond();
    return std::all_of(gets.begin(), gets.end(), [](const auto& each) { return each->isOver(); });
  }));

  EXPECT_EQ(most, 4U);
  EXPECT_TRUE(std::none_of(gets.begin(), gets.end(), [](const auto& each) { return each->problem.has_value(); }));
  EXPECT_LE(limited->budget().taken(), 4U);
}

TEST_F(ConnectionLimitTest, closesAnIdleConnectionForAnotherHost) {
  limit(2);
  PooledGet& first = get(one);
  PooledGet& second = get(two);
  ASSERT_TRUE(awaitRequest(one));
  one.respond();
  ASSERT_TRUE(awaitEnd(first));
  ASSERT_TRUE(awaitRequest(two));
  two.respond();
  ASSERT_TRUE(awaitEnd(second));

  get(three);

  ASSERT_TRUE(awaitRequest(three));
  EXPECT_EQ(one.look(), 0U);
  EXPECT_EQ(two.look(), 1U);
  three.respond();
  ASSERT_TRUE(awaitEnd(*gets.back()));
}

TEST_F(ConnectionLimitTest, givesEachHostItsTurnAndKeepsTheOrderWithinAHost) {
  limit(1);
  std::vector<int> order;
  int next = 0;
  for (Host* const host : {&one, &one, &one, &two, &two}) {
    get(*host).then = [&order, number = next++] { order.push_back(number); };
  }

  ASSERT_TRUE(run([&] {
    look();
    one.respond();
    two.respond();
    return order.size() == 5;
  }));

  EXPECT_EQ(order, (std::vector<int>{0, 3, 1, 4, 2}));
  EXPECT_EQ(most, 1U);
}

TEST_F(ConnectionLimitTest, keepsConnectionsWhereHostsHaveTheirShare) {
  limit(2);
  for (int count = 0; count < 50; ++count) get(count % 2 == 0 ? one : two);

  ASSERT_TRUE(run([&] {
    look();
    one.respond();
    two.respond();
    return std::all_of(gets.begin(), gets.end(), [](const auto& each) { return each->isOver(); });
  }));

  // At first both connections were for the one that came first.
  EXPECT_LE(one.accepted, 2);
  EXPECT_LE(two.accepted, 2);
}

TEST_F(ConnectionLimitTest, letsARequestThatWaitsBeWithdrawn) {
  limit(1);
  PooledGet& first = get(one);
  PooledGet& waiting = get(two);
  ASSERT_TRUE(awaitRequest(one));

  limited->withdraw(waiting.exchange);
  one.respond();
  ASSERT_TRUE(awaitEnd(first));
  PooledGet& again = get(one);
  ASSERT_TRUE(awaitRequest(one));
  one.respond();
  ASSERT_TRUE(awaitEnd(again));

  EXPECT_FALSE(waiting.isOver());
  EXPECT_EQ(two.accepted, 0);
  EXPECT_EQ(one.accepted, 1);
}

TEST_F(ConnectionLimitTest, letsNoTimePassForARequestThatWaits) {
  limit(1);
  PooledGet& first = get(one, 10 * timeout);
  PooledGet& waiting = get(two);
  ASSERT_TRUE(awaitRequest(one));

  pass(2 * timeout);
  EXPECT_FALSE(waiting.isOver());
  one.respond();
  ASSERT_TRUE(awaitEnd(first));
  ASSERT_TRUE(awaitRequest(two));

  pass(timeout);
  ASSERT_TRUE(waiting.isOver());
  EXPECT_EQ(waiting.problem->kind, ExchangeProblem::Kind::timedOut);
}

TEST_F(ConnectionLimitTest, handsOnTheTurnOfOneThatFails) {
  limit(1);
  const std::uint16_t closedPort = [] { return Peer().port(); }();
  PooledGet& failing = *gets.emplace_back(std::make_unique<PooledGet>(*limited));
  limited->submit(failing.exchange, {.origin = {.isSecure = false, .host = "127.0.0.1", .port = closedPort}}, timeout,
                  0);
  get(two);

  ASSERT_TRUE(awaitRequest(two));
  EXPECT_TRUE(failing.problem);
  two.respond();
  ASSERT_TRUE(awaitEnd(*gets.back()));
}

}  // namespace
}  // namespace platform::networking
